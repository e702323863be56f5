// What several tests of the world layer need.
#ifndef TESTS_WDB_SUPPORT_H
#define TESTS_WDB_SUPPORT_H

#include "images/PX_Map.h"
#include "std/Std_Common.h"
#include "std/Std_Messager.h"
#include "tests/Test.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Light.h"
#include "wdb/WDB_Line_List.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Texture.h"
#include "wdb/WDB_Tri_List.h"

inline bool operator==(const Bbox& a, const Bbox& b) {
    return a.min == b.min && a.max == b.max;
}

template<class List, class Item>
List* filled(const std::vector<Item>& items) {
    auto* const list = new List(static_cast<int>(items.size()));
    for (int i = 0; i < list->count(); ++i) list->put(items[static_cast<std::size_t>(i)], i);
    list->end_editing();
    return list;
}
inline WDB_Tri_List* list_of(const std::vector<WDB_Triangle>& triangles) {
    return filled<WDB_Tri_List>(triangles);
}
inline WDB_Line_List* lines_of(const std::vector<WDB_Line>& lines) {
    return filled<WDB_Line_List>(lines);
}
inline WDB_Node* textured(const char* name, PX_Map* map) {
    auto* const texture = new WDB_Texture(map);
    texture->set_name(name);
    return new WDB_Node("textured", HFrame::identity(), nullptr, nullptr, texture);
}

// One triangle across the box lo..hi, which becomes the box of the list.
inline WDB_Tri_List* list_in(const Point& lo, const Point& hi) {
    return list_of({WDB_Triangle(lo, Point(hi.x, lo.y, lo.z), hi)});
}

inline WDB_Node* node_with(const WDB_Geometry* geometry, const Frame& frame = Frame::identity(),
                           const char* name = "n") {
    return new WDB_Node(name, HFrame(frame), geometry, nullptr, nullptr);
}

// A geometry of no known kind, hit everywhere behind its box.
class Odd_Geometry : public WDB_Geometry {
    STD_OBJ_CLASS(Odd_Geometry, WDB_Geometry)

    bool get_with_colors() const override { return false; }
    bool get_with_normals() const override { return false; }
    bool get_with_textures() const override { return false; }
    float detailed_line_intersection(const Point&, const Point&, float tolerance) const override {
        return tolerance;
    }
    void update_bbox() override {
        set_bbox(Bbox(Point(0, 0, 0), Point(1, 1, 1)));
        ++updates;
    }
    int updates = 0;
};

// Takes the place of the default messager while it lives, and keeps what it is told.
class Report_Catcher {
public:
    Report_Catcher() { std_set_current_messager(&messager_); }
    ~Report_Catcher() { std_set_current_messager(nullptr); }
    std::string text;

private:
    class Messager : public Std_Messager {
        STD_OBJ_CLASS(Messager, Std_Messager)
        explicit Messager(std::string* into) : Std_Messager(1, 1), into_(into) {}
        // Being asked to show again, without a line, is no report.
        void refresh(const char* line) override {
            if (line) *into_ += line + std::string("\n");
        }

    private:
        std::string* into_;
    };
    Messager messager_{&text};
};

#endif
