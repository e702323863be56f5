#include "wdb/WDB_Item_List.h"

#include "tests/wdb/support.h"

static const Point ps[] = {{0, 0, 0}, {2, 0, 0}, {0, 2, 0}};
static const Vector ns[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, -1}};
static const Color cs[] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
static const Point ts[] = {{.1f, 0, 0}, {.2f, 0, 0}, {.3f, 0, 0}};

// Of an item with these corners; `normal` stands for those that are not given.
template<class Item, std::size_t... i>
static void check_constructors(const Vector& normal, std::index_sequence<i...>) {
    const std::vector<Vector> face(3, normal);
    const std::vector<Color> one(3, cs[1]), grey(3, Color(.5f, .5f, .5f));
    const std::vector<Point> of_face(3, toPoint(normal)),
        of_n = {toPoint(ns[0]), toPoint(ns[1]), toPoint(ns[2])};
    const auto whole = [](const auto& normals, const auto& colors, const auto& textures) {
        return Item(ps[i]..., normals[i]..., colors[i]..., textures[i]...);
    };
    const std::pair<Item, Item> rows[] = {
        {Item(ps[i]..., ns[i]..., cs[1], ts[i]...), whole(ns, one, ts)},
        {Item(ps[i]..., ns[i]..., ts[i]...), whole(ns, grey, ts)},
        {Item(ps[i]..., ns[i]..., cs[i]...), whole(ns, cs, of_n)},
        {Item(ps[i]..., ns[i]..., cs[1]), whole(ns, one, of_n)},
        {Item(ps[i]..., ns[i]...), whole(ns, grey, of_n)},
        {Item(ps[i]..., cs[i]..., ts[i]...), whole(face, cs, ts)},
        {Item(ps[i]..., cs[1], ts[i]...), whole(face, one, ts)},
        {Item(ps[i]..., ts[i]...), whole(face, grey, ts)},
        {Item(ps[i]..., cs[i]...), whole(face, cs, of_face)},
        {Item(ps[i]..., cs[1]), whole(face, one, of_face)},
        {Item(ps[i]...), whole(face, grey, of_face)},
    };
    for (const auto& [does, should] : rows) EXPECT_TRUE(does == should) << does << should;
    const Item item = whole(ns, cs, ts);
    const float* const floats = item.p0.to_c();
    constexpr int third = 3 * sizeof...(i);
    for (int k = 0; k < 4 * third; ++k) {
        const float* const parts[] = {ps[0].to_c(), ns[0].to_c(), &cs[0].r, ts[0].to_c()};
        EXPECT_EQ(floats[k], parts[k / third][k % third]) << k;
        Item other = item;
        other.p0.to_c()[k] += 1;
        EXPECT_FALSE(other == item) << k;
    }
}

TEST(WDB_Item_List, what_the_constructors_of_items_are_not_given) {
    check_constructors<WDB_Triangle>(Vector(0, 0, 1), std::make_index_sequence<3>());
    check_constructors<WDB_Line>(Vector(0, 0, -1), std::make_index_sequence<2>());
    EXPECT_TRUE(WDB_Triangle(ps[0], ps[1], ps[1]).n2.iszero()) << "a line has no face";
    EXPECT_EQ(printed(WDB_Triangle(ps[0], ps[1], ps[2], ns[0], ns[1], ns[2], cs[0], cs[1], cs[2])),
              "TRIANGLE{\n"
              "  p0 = Point(0,0,0)\n  p1 = Point(2,0,0)\n  p2 = Point(0,2,0)\n"
              "  n0 = Vector(1,0,0)\n  n1 = Vector(0,1,0)\n  n2 = Vector(0,0,-1)\n"
              "  c0 = Color(1,2,3)\n  c1 = Color(4,5,6)\n  c2 = Color(7,8,9)\n}\n");
    EXPECT_EQ(printed(WDB_Line(ps[0], ps[1], ns[0], ns[1], cs[0], cs[1])),
              "Line{\n  p0 = Point(0,0,0)\n  p1 = Point(2,0,0)\n  n0 = Vector(1,0,0)\n"
              "  n1 = Vector(0,1,0)\n  c0 = Color(1,2,3)\n  c1 = Color(4,5,6)\n}\n");
}

// Told for a triangle in the plane z = 0; the loop turns each row to all three planes, and winds
// the triangle both ways.
TEST(WDB_Triangle, line_intersection) {
    const std::tuple<const char*, Point, Point, float> rows[] = {
        {"through the inside", {.5f, .5f, 1}, {.5f, .5f, -3}, .25f},
        {"from below", {.5f, .5f, -1}, {.5f, .5f, 1}, .5f},
        {"on the first corner", {0, 0, 1}, {0, 0, -1}, .5f},
        {"on an edge", {1, 0, 1}, {1, 0, -1}, .5f},
        {"on the long edge", {1, 1, 1}, {1, 1, -1}, .5f},
        {"beyond the long edge", {1.25f, 1, 1}, {1.25f, 1, -1}, FLT_MAX},
        {"beyond a short edge", {-.25f, 1, 1}, {-.25f, 1, -1}, FLT_MAX},
        {"ends on it", {.5f, .5f, 1}, {.5f, .5f, 0}, 1},
        {"starts on it", {.5f, .5f, 0}, {.5f, .5f, 1}, 0},
        {"ends before it", {.5f, .5f, 2}, {.5f, .5f, 1}, FLT_MAX},
        {"nearly parallel", {.5f, .5f, .00001f}, {.6f, .5f, -.00001f}, FLT_MAX},
        {"no length", {.5f, .5f, 0}, {.5f, .5f, 0}, FLT_MAX},
    };
    const auto turn = [](const Point& a, int by) {
        return Point(a[(3 - by) % 3], a[(4 - by) % 3], a[(5 - by) % 3]);
    };
    for (int by = 0; by < 3; ++by) {
        const Point a = turn(ps[0], by), b = turn(ps[1], by), d = turn(ps[2], by);
        for (const auto& [row, from, to, should] : rows)
            for (const auto& triangle : {WDB_Triangle(a, b, d), WDB_Triangle(a, d, b)})
                EXPECT_EQ(triangle.line_intersection(turn(from, by), turn(to, by), 100), should)
                    << row << ", turned by " << by;
    }
}

// The line runs from (0,0,0) to (2,0,0).
TEST(WDB_Line, line_intersection) {
    const std::tuple<const char*, Point, Point, float, float> rows[] = {
        {"crosses", {1, -1, 0}, {1, 3, 0}, 0, .25f},
        {"middle, at the tolerance", {1, -1, .5f}, {1, 1, .5f}, .5f, .5f},
        {"beyond the tolerance", {1, -1, .5f}, {1, 1, .5f}, .499f, FLT_MAX},
        {"at the line's end", {2, -1, 0}, {2, 1, 0}, 0, .5f},
        {"past the line's end", {2.1f, -1, 0}, {2.1f, 1, 0}, 1, FLT_MAX},
        {"ends on it", {1, -1, 0}, {1, 0, 0}, 0, 1},
        {"ends before it", {1, -2, 0}, {1, -.1f, 0}, 1, FLT_MAX},
        {"parallel and close", {0, .001f, 0}, {2, .001f, 0}, 1, FLT_MAX},
    };
    for (const auto& [row, from, to, tolerance, should] : rows)
        EXPECT_EQ(WDB_Line(ps[0], ps[1]).line_intersection(from, to, tolerance), should) << row;
}

TEST(WDB_Item_List, nearest_of_many) {
    WDB_Tri_List& list = *new WDB_Tri_List(3);
    const auto hit = [&](float from, float to) {
        return list.line_intersection({.5f, .5f, from}, {.5f, .5f, to}, 0);
    };
    list.begin_editing();
    for (int i = 0; i < 3; ++i) {
        const Vector up(0, 0, static_cast<float>(2 * i % 3));
        list.put(WDB_Triangle(ps[0] + up, ps[1] + up, ps[2] + up), i);
    }
    EXPECT_EQ(hit(4, -4), FLT_MAX) << "stale box";
    EXPECT_TRUE(list.is_editing());
    list.end_editing();
    EXPECT_EQ(shown(hit(4, -4), hit(1.5f, -.5f), list.count()), "0.25 0.25 3 ");
    EXPECT_TRUE(list[2] == WDB_Triangle(Point(0, 0, 1), Point(2, 0, 1), Point(0, 2, 1)));
    EXPECT_TRUE(list.begin() == &list[0] && list.end() == &list[2] + 1);
    EXPECT_FATAL(new WDB_Tri_List(-1), "FATAL  : A list of -1 triangles");
}

TEST(WDB_Geometry, box_in_front_of_the_query) {
    Odd_Geometry* const odd = new Odd_Geometry;
    odd->touch();
    odd->end_editing();
    odd->end_editing();
    EXPECT_EQ(odd->updates, 1);
    EXPECT_EQ(odd->line_intersection({2, .5f, .5f}, {.5f, .5f, .5f}, .7f), .7f);
    EXPECT_EQ(odd->line_intersection({2, .5f, .5f}, {1.5f, .5f, .5f}, .7f), FLT_MAX);
}

TEST(WDB_Item_List, box_follows_the_stamp_and_flags_leave_it) {
    WDB_Line_List& list = *new WDB_Line_List(0);
    const auto state = [&] {
        return shown(list.get_stamp(), list.is_bbox_up_to_date(), list.get_with_colors(),
                     list.get_with_normals(), list.get_with_textures());
    };
    EXPECT_EQ(list.begin(), list.end());
    list.begin_editing();
    list.end_editing();
    EXPECT_EQ(list.get_bbox(), Bbox(Point(1e30f, 1e30f, 1e30f), Point(-1e30f, -1e30f, -1e30f)));
    list.set_with_colors(false);
    EXPECT_EQ(state(), "0 1 0 0 0 ");
    list.set_with_colors(true);
    EXPECT_EQ(state(), "1 1 1 0 0 ");
    list.touch();
    list.end_editing();
    EXPECT_EQ(list.get_bbox(), Bbox(Point(0, 0, 0), Point(0, 0, 0)));
    EXPECT_FALSE(list.is_editing());
    list.set_with_textures(true);
    EXPECT_EQ(state(), "3 1 1 0 1 ");
    list.touch();
    list.set_with_normals(true);
    EXPECT_EQ(state(), "5 0 1 1 1 ");
    EXPECT_EQ(list_of({WDB_Triangle({-1, 5, 3}, {4, 2, 3}, {0, 3, 6})})->get_bbox(),
              Bbox(Point(-1, 2, 3), Point(4, 5, 6)));
}
