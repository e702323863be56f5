#include "wdb/WDB_Line_List.h"

#include "tests/wdb/support.h"

static const Point p0(0, 0, 0), p1(2, 0, 0), t0(.1f, 0, 0), t1(.2f, 0, 0);
static const Vector n0(1, 0, 0), n1(0, 1, 0);
static const Color c0(1, 2, 3), c1(4, 5, 6);

TEST(WDB_Line, what_a_constructor_is_not_given) {
    using L = WDB_Line;
    const float floats[24] = {0, 0, 0, 2, 0, 0, 1,   0, 0, 0,   1, 0,
                              1, 2, 3, 4, 5, 6, .1f, 0, 0, .2f, 0, 0};
    const L whole(p0, p1, n0, n1, c0, c1, t0, t1);
    EXPECT_EQ(std::memcmp(whole.p0.to_c(), floats, sizeof floats), 0);
    check_given<L>(whole,
                   {{"nct", L(p0, p1, n0, n1, c1, t0, t1)},
                    {"nt", L(p0, p1, n0, n1, t0, t1)},
                    {"nC", L(p0, p1, n0, n1, c0, c1)},
                    {"nc", L(p0, p1, n0, n1, c1)},
                    {"n", L(p0, p1, n0, n1)},
                    {"Ct", L(p0, p1, c0, c1, t0, t1)},
                    {"ct", L(p0, p1, c1, t0, t1)},
                    {"t", L(p0, p1, t0, t1)},
                    {"C", L(p0, p1, c0, c1)},
                    {"c", L(p0, p1, c1)},
                    {"", L(p0, p1)}},
                   Vector(0, 0, -1));
    EXPECT_EQ(printed(whole),
              "Line{\n  p0 = Point(0,0,0)\n  p1 = Point(2,0,0)\n  n0 = Vector(1,0,0)\n"
              "  n1 = Vector(0,1,0)\n  c0 = Color(1,2,3)\n  c1 = Color(4,5,6)\n}\n");
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
        {"no length", {1, 0, 0}, {1, 0, 0}, 1, FLT_MAX},
    };
    for (const auto& [row, p, q, tolerance, should] : rows)
        EXPECT_EQ(WDB_Line(p0, p1).line_intersection(p, q, tolerance), should) << row;
}

TEST(WDB_Line_List, flags_box_and_nearest) {
    WDB_Line_List& list = *new WDB_Line_List(2);
    const auto state = [&] {
        return shown(list.get_stamp(), list.is_bbox_up_to_date(), list.get_with_colors(),
                     list.get_with_normals(), list.get_with_textures());
    };
    list.begin_editing();
    list.put(WDB_Line(p0, p1), 0);
    list.put(WDB_Line(Point(0, 0, 1), Point(2, 1, 1)), 1);
    list.end_editing();
    EXPECT_TRUE(list.begin() == &list[0] && list.end() - list.begin() == 2);
    EXPECT_EQ(list.get_bbox(), Bbox(p0, Point(2, 1, 1)));
    EXPECT_EQ(list.line_intersection({1, .25f, 5}, {1, .25f, -5}, .5f), .4f);
    // The box is not widened by the tolerance.
    EXPECT_EQ(list.line_intersection({1, 1.1f, 5}, {1, 1.1f, -5}, 9), FLT_MAX);
    const int stamp = list.get_stamp();
    EXPECT_EQ(state(), shown(stamp, 1, 0, 0, 0));
    list.set_with_colors(true);
    list.set_with_textures(true);
    list.set_with_textures(true);
    EXPECT_EQ(state(), shown(stamp + 2, 1, 1, 0, 1));
    list.touch();
    list.set_with_normals(true);
    EXPECT_EQ(state(), shown(stamp + 4, 0, 1, 1, 1));
}
