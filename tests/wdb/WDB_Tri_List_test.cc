#include "wdb/WDB_Tri_List.h"

#include "tests/wdb/support.h"

static const Point p0(0, 0, 0), p1(2, 0, 0), p2(0, 2, 0), t0(.1f, 0, 0), t1(.2f, 0, 0),
    t2(.3f, 0, 0);
static const Vector n0(1, 0, 0), n1(0, 1, 0), n2(0, 0, -1);
static const Color c0(1, 2, 3), c1(4, 5, 6), c2(7, 8, 9);

TEST(WDB_Triangle, what_a_constructor_is_not_given) {
    using T = WDB_Triangle;
    const float floats[36] = {0, 0, 0, 2, 0, 0, 0, 2, 0, 1,   0, 0, 0,   1, 0, 0,   0, -1,
                              1, 2, 3, 4, 5, 6, 7, 8, 9, .1f, 0, 0, .2f, 0, 0, .3f, 0, 0};
    const T whole(p0, p1, p2, n0, n1, n2, c0, c1, c2, t0, t1, t2);
    EXPECT_EQ(std::memcmp(whole.p0.to_c(), floats, sizeof floats), 0);
    check_given<T>(whole,
                   {{"nct", T(p0, p1, p2, n0, n1, n2, c1, t0, t1, t2)},
                    {"nt", T(p0, p1, p2, n0, n1, n2, t0, t1, t2)},
                    {"nC", T(p0, p1, p2, n0, n1, n2, c0, c1, c2)},
                    {"nc", T(p0, p1, p2, n0, n1, n2, c1)},
                    {"n", T(p0, p1, p2, n0, n1, n2)},
                    {"Ct", T(p0, p1, p2, c0, c1, c2, t0, t1, t2)},
                    {"ct", T(p0, p1, p2, c1, t0, t1, t2)},
                    {"t", T(p0, p1, p2, t0, t1, t2)},
                    {"C", T(p0, p1, p2, c0, c1, c2)},
                    {"c", T(p0, p1, p2, c1)},
                    {"", T(p0, p1, p2)}},
                   Vector(0, 0, 1));
    EXPECT_TRUE(T(p0, p1, p1) == T(p0, p1, p1));
    EXPECT_TRUE(T(p0, p1, p1).n2.iszero()) << "a line has no face";
    EXPECT_EQ(printed(whole), "TRIANGLE{\n"
                              "  p0 = Point(0,0,0)\n  p1 = Point(2,0,0)\n  p2 = Point(0,2,0)\n"
                              "  n0 = Vector(1,0,0)\n  n1 = Vector(0,1,0)\n  n2 = Vector(0,0,-1)\n"
                              "  c0 = Color(1,2,3)\n  c1 = Color(4,5,6)\n  c2 = Color(7,8,9)\n}\n");
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
        {"in its plane", {-1, .5f, 0}, {1, .5f, 0}, FLT_MAX},
        {"nearly parallel", {.5f, .5f, .00001f}, {.6f, .5f, -.00001f}, FLT_MAX},
        {"no length", {.5f, .5f, 0}, {.5f, .5f, 0}, FLT_MAX},
    };
    const auto turn = [](const Point& p, int by) {
        return Point(p[(3 - by) % 3], p[(4 - by) % 3], p[(5 - by) % 3]);
    };
    for (int by = 0; by < 3; ++by) {
        const Point a = turn(p0, by), b = turn(p1, by), c = turn(p2, by);
        for (const auto& [row, p, q, should] : rows)
            for (const auto& triangle : {WDB_Triangle(a, b, c), WDB_Triangle(a, c, b)})
                EXPECT_EQ(triangle.line_intersection(turn(p, by), turn(q, by), 100), should)
                    << row << ", turned by " << by;
    }
    EXPECT_EQ(WDB_Triangle(p0, p1, p1).line_intersection({1, 0, 1}, {1, 0, -1}, 0), FLT_MAX);
}

TEST(WDB_Tri_List, nearest_of_many) {
    WDB_Tri_List& list = *new WDB_Tri_List(3);
    const auto hit = [&](float from, float to) {
        return list.line_intersection({.5f, .5f, from}, {.5f, .5f, to}, 0);
    };
    list.begin_editing();
    for (int i = 0; i < 3; ++i) {
        const Vector up(0, 0, static_cast<float>(2 * i % 3));
        list.put(WDB_Triangle(p0 + up, p1 + up, p2 + up), i);
    }
    EXPECT_EQ(hit(4, -4), FLT_MAX) << "stale box";
    EXPECT_TRUE(list.is_editing());
    list.end_editing();
    EXPECT_EQ(shown(hit(4, -4), hit(1.5f, -.5f), list.count()), "0.25 0.25 3 ");
    EXPECT_TRUE(list[2] == WDB_Triangle(Point(0, 0, 1), Point(2, 0, 1), Point(0, 2, 1)));
    EXPECT_TRUE(list.begin() == &list[0] && list.end() == &list[2] + 1);
    EXPECT_EXIT(new WDB_Tri_List(-1), ::testing::ExitedWithCode(1),
                "FATAL  : A list of -1 triangles");
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

TEST(WDB_Tri_List, box_follows_the_stamp) {
    WDB_Tri_List& list = *new WDB_Tri_List(0);
    const auto state = [&] {
        return shown(list.get_stamp(), list.is_bbox_up_to_date(), list.get_with_colors());
    };
    EXPECT_EQ(list.begin(), list.end());
    EXPECT_EQ(state(), "0 1 0 ");
    list.begin_editing();
    list.end_editing();
    EXPECT_EQ(list.get_bbox(), Bbox(Point(1e30f, 1e30f, 1e30f), Point(-1e30f, -1e30f, -1e30f)));
    list.set_with_colors(false);
    EXPECT_EQ(state(), "0 1 0 ");
    list.set_with_colors(true);
    EXPECT_EQ(state(), "1 1 1 ");
    list.touch();
    list.end_editing();
    EXPECT_EQ(list.get_bbox(), Bbox(Point(0, 0, 0), Point(0, 0, 0)));
    EXPECT_FALSE(list.is_editing());
    list.touch();
    list.set_with_colors(false);
    EXPECT_EQ(state(), "4 0 0 ");
    EXPECT_EQ(list_in({-1, 2, 3}, {4, 5, 6})->get_bbox(), Bbox(Point(-1, 2, 3), Point(4, 5, 6)));
}
