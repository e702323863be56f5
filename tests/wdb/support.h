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

// What an item is that was not given all. Parts: n, t; a capital C are colours of their own, c is
// the second for all. `normal` stands for those that are not given.
template<class Item>
void check_given(const Item& whole, const std::vector<std::pair<std::string, Item>>& rows,
                 const Vector& normal) {
    constexpr int corners = sizeof(Item) / sizeof(Point) / 4;
    const auto part = [](auto& item, int which) { return item.p0.to_c() + 3 * corners * which; };
    for (const auto& [given, does] : rows) {
        Item should = whole;
        const auto is_given = [&, parts = given](char which) {
            return parts.find(which) != std::string::npos;
        };
        for (int i = 0; i < 3 * corners; ++i) {
            if (!is_given('n')) part(should, 1)[i] = normal[i % 3];
            if (!is_given('C')) part(should, 2)[i] = is_given('c') ? (&whole.c1.r)[i % 3] : .5f;
            if (!is_given('t')) part(should, 3)[i] = part(should, 1)[i];
        }
        EXPECT_TRUE(does == should) << given << does;
    }
    for (int i = 0; i < 12 * corners; ++i) {
        Item other = whole;
        other.p0.to_c()[i] += 1;
        EXPECT_FALSE(other == whole) << i;
    }
}

inline WDB_Tri_List* list_of(const std::vector<WDB_Triangle>& triangles) {
    auto* const list = new WDB_Tri_List(static_cast<int>(triangles.size()));
    for (int i = 0; i < list->count(); ++i) list->put(triangles[static_cast<std::size_t>(i)], i);
    list->end_editing();
    return list;
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
