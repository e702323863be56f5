// A folder for scenes, and what a load made of them, as text.
#ifndef TESTS_WDB_SCENE_SUPPORT_H
#define TESTS_WDB_SCENE_SUPPORT_H

#include "std/Std_Limits.h"
#include "std/Std_URL.h"
#include "tests/Blocks.h"
#include "tests/Scratch_Folder.h"
#include "tests/wdb/support.h"
#include "wdb/wdb_load.h"
#include "wdb/wdb_save.h"

inline const std::string mesh = "trianglelist g {\n triangle p 0 0 0 1 0 0 0 1 0\n}\n";

class Scene_Test : public Scratch_Folder_Test {
protected:
    ~Scene_Test() override { std_limits = Std_Limits(); }
    WDB_Database* load(const std::string& url, const char* base = nullptr) {
        const Report_Catcher catcher;
        world = wdb_load(url.c_str(), base);
        reports = catcher.text;
        return world;
    }
    WDB_Database* load_text(const std::string& text) {
        put_file("t", unfolded(text));
        return load("t");
    }
    // All reports but those on progress; errors in t as "3 message |line|" or "3 `near' message".
    std::string errors() const {
        std::string text;
        std::istringstream lines(reports);
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("End of parsing") || line.starts_with("Loaded scene with ") ||
                line.find(" nodes, ") != std::string::npos)
                continue;
            const size_t mark = line.find("]: ");
            if (!line.starts_with("[t-") || mark == std::string::npos) {
                text += line + "\n";
                continue;
            }
            const std::string number = line.substr(3, mark - 3), message = line.substr(mark + 3);
            const size_t near = message.find("' - ");
            std::string cause;
            if (message.starts_with("Error near `") && near != std::string::npos)
                text += number + message.substr(10, near - 9) + " " + message.substr(near + 4);
            else if (message.starts_with("Error - ") && std::getline(lines, cause) &&
                     cause.starts_with("[t-" + number + "]:         |") && cause.ends_with("|"))
                text += number + " " + message.substr(8) + " " + cause.substr(mark + 11);
            else
                text += cause.empty() ? line : line + "\n" + cause;
            text += "\n";
        }
        return text;
    }
    // "node:material,texture,geometries url " for each, in the order of the names.
    std::string nodes() const {
        std::vector<std::string> names;
        world->apply(Conv<std::vector<std::string>*>::to_univ(&names), describe);
        std::sort(names.begin(), names.end());
        std::string text;
        for (const auto& name : names) text += name + " ";
        return text;
    }
    WDB_Node* node(const std::string& name) const {
        std::pair<std::string, WDB_Node*> search(name, nullptr);
        world->apply(Conv<decltype(search)*>::to_univ(&search), find);
        if (!search.second) std::abort();
        return search.second;
    }
    WDB_Tri_List* triangles(const std::string& name) const {
        return WDB_Tri_List::castdown(node(name)->get_geometry());
    }
    std::string saved(WDB_Database* database) {
        const Report_Catcher catcher;
        EXPECT_EQ(wdb_save(*database, "saved"), loss);
        reports = catcher.text;
        return file("saved");
    }

    WDB_Database* world = nullptr;
    std::string reports; // of the load or save
    int loss = 0;        // that the save tells

private:
    static bool describe(SUniv* user, const WDB_Node* n, const Bbox&) {
        std::ostringstream text;
        text << n->get_name() << ":" << (n->get_material() ? n->get_material()->get_name() : "-")
             << "," << (n->get_texture() ? n->get_texture()->get_name() : "-");
        for (int i = 0; i < n->lod_count(); ++i) text << "," << n->lod_item(i)->get_name();
        if (n->get_url()) text << "@" << n->get_url()->get_url_string().chars();
        Conv<std::vector<std::string>*>::from_univ(user)->push_back(text.str());
        return false;
    }
    static bool find(SUniv* user, const WDB_Node* n, const Bbox&) {
        auto* const search = Conv<std::pair<std::string, WDB_Node*>*>::from_univ(user);
        if (search->first != n->get_name()) return false;
        search->second = const_cast<WDB_Node*>(n);
        return true;
    }
};

#endif
