#include "wdb/Scene_Pictures.h"

#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>
#include <vector>

#include "images/PX_Map.h"
#include "std/Std_Common.h"
#include "std/Std_Path.h"
#include "std/Std_Report.h"
#include "std/Std_URL.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Texture.h"

static std::string folder_of(const std::string& path) {
    return path.substr(0, std_folder_length(path.c_str()));
}

// Without links and dots; empty, if there is no such file.
static std::string resolved(const std::string& path) {
    char* const text = realpath(path.c_str(), nullptr);
    std::string result = text ? text : "";
    std::free(text);
    return result;
}

// Also as a link that leads nowhere.
static bool is_there(const std::string& file) {
    struct stat status;
    return lstat(file.c_str(), &status) == 0;
}

// Of a file that need not exist, and whose own link, if it is one, is the file.
static std::string place_of(const std::string& path) {
    const std::string folder = folder_of(path);
    return resolved(folder.empty() ? "." : folder) + "/" + path.substr(folder.size());
}

// Judged by where folders lie: a name that was read from a scene must not choose another place, nor
// lead there by a link. A folder that is missing leads nowhere.
static bool leads_out(const std::string& file) {
    const std::string named = folder_of(file), folder = resolved(named.empty() ? "." : named);
    const std::string here = resolved(".");
    return !folder.empty() && here != "/" && !(folder + "/").starts_with(here + "/");
}

Scene_Pictures::Scene_Pictures(const WDB_Database& world, const char* scene)
    : world_(world), folder_(folder_of(scene)), scene_(place_of(scene)),
      is_here_(folder_.empty() || folder_of(scene_) == resolved(".") + "/") {}

std::string Scene_Pictures::name_below(const char* source) const {
    const std::string text = source;
    const bool is_below = !folder_.empty() && text.starts_with(folder_) && text != folder_;
    return is_below ? text.substr(folder_.size()) : text;
}

std::string Scene_Pictures::name_of(const char* source) const {
    const Std_URL url(source);
    const std::string path = url.get_path().chars();
    if (!url.is_valid() || url.get_protocol() != URL_LOCAL_PROTOCOL || path.empty()) return source;
    const std::string below = name_below(path.c_str());
    // Bare, it would be appended to the folder of the scene when that is read.
    if (path[0] == '/') return below != path ? below : "file:" + path;
    return is_here_ || below != path ? below : "file:" + resolved(".") + "/" + path;
}

// Textures of the world whose picture was not read as a whole: their files are still to be mended.
void Scene_Pictures::find_kept() {
    const WDB_Apply_Callback note = [](SUniv* user, const WDB_Node* node, const Bbox&) {
        const WDB_Texture* const texture = node->get_texture();
        const PX_Map* const image = texture ? texture->get_image() : nullptr;
        if (!image || image->is_complete()) return false;
        const Std_URL url(image->get_source());
        if (!url.is_valid() || !url.is_local()) return false;
        const std::string path = url.get_path().chars();
        auto* const kept = Conv<std::set<std::string>*>::from_univ(user);
        kept->insert(place_of(path));
        kept->insert(resolved(path));
        return false;
    };
    SUniv* const kept = Conv<std::set<std::string>*>::to_univ(&kept_);
    world_.apply(kept, note);
    world_.apply_to_shapes_outside(kept, note); // which may be saved as well
    knows_kept_ = true;
}

bool Scene_Pictures::is_kept(const std::string& file) {
    const std::string place = place_of(file);
    if (place == scene_ || resolved(file) == scene_) return true;
    // Only now, since it costs a walk. What is missing counts as well: another picture in its place
    // would be taken for it.
    if (!knows_kept_) find_kept();
    return kept_.contains(place);
}

std::string Scene_Pictures::free_name(const PX_Map* image, const std::string& name) {
    const Std_URL source(image->get_source());
    const bool is_foreign = image->get_source()[0] != '\0' && !source.is_local();
    std::string file = name + ".rgb";
    for (int i = 1;
         taken_.contains(place_of(file)) || is_kept(file) || (is_foreign && is_there(file)); ++i)
        file = name + "_" + std::to_string(i) + ".rgb";
    if (file != name + ".rgb")
        std_tell(str_format("Image %s.rgb stays as it is, saving %s", name.c_str(), file.c_str()));
    return file;
}

std::string Scene_Pictures::add(PX_Map* image, const char* name) {
    std::string file = std::string(name) + ".rgb";
    if (leads_out(file)) {
        std_warn(str_format("Image %s would lie outside of this folder", file.c_str()));
        are_inside_ = false;
        return file;
    }
    const std::string free = free_name(image, name);
    taken_.insert(place_of(free));
    files_.emplace_back();
    if (!image->save(free.c_str(), files_.back())) are_written_ = false;
    return name_of(free.c_str());
}

bool Scene_Pictures::commit_with(Std_Output_File& scene) {
    if (!are_written_) {
        errno = ECANCELED;
        return false;
    }
    std::vector<Std_Output_File*, std_allocator<Std_Output_File*>> all;
    for (Std_Output_File& file : files_) all.push_back(&file);
    all.push_back(&scene);
    return Std_Output_File::commit_all(all.data(), static_cast<int>(all.size()));
}
