#include "wdb/WDB_Line_List.h"

#include <gtest/gtest.h>

#include "support.h"

static const Point p0(0, 0, 0), p1(2, 0, 0), t0(.1f, 0, 0), t1(.2f, 0, 0);
static const Vector n0(1, 0, 0), n1(0, 1, 0), down(0, 0, -1);
static const Color c0(1, 2, 3), c1(4, 5, 6), grey(.5f, .5f, .5f);

TEST(WDB_Line, what_a_constructor_is_not_given) {
    using L = WDB_Line;
    const Point tn0(1, 0, 0), tn1(0, 1, 0), td(0, 0, -1);
    const struct {
        const char* row;
        L does, should;
    } rows[] = {
        {"n cc t", L(p0, p1, n0, n1, c0, c1, t0, t1), L(p0, p1, n0, n1, c0, c1, t0, t1)},
        {"n c t", L(p0, p1, n0, n1, c1, t0, t1), L(p0, p1, n0, n1, c1, c1, t0, t1)},
        {"n t", L(p0, p1, n0, n1, t0, t1), L(p0, p1, n0, n1, grey, grey, t0, t1)},
        {"n cc", L(p0, p1, n0, n1, c0, c1), L(p0, p1, n0, n1, c0, c1, tn0, tn1)},
        {"n c", L(p0, p1, n0, n1, c1), L(p0, p1, n0, n1, c1, c1, tn0, tn1)},
        {"n", L(p0, p1, n0, n1), L(p0, p1, n0, n1, grey, grey, tn0, tn1)},
        {"cc t", L(p0, p1, c0, c1, t0, t1), L(p0, p1, down, down, c0, c1, t0, t1)},
        {"c t", L(p0, p1, c1, t0, t1), L(p0, p1, down, down, c1, c1, t0, t1)},
        {"t", L(p0, p1, t0, t1), L(p0, p1, down, down, grey, grey, t0, t1)},
        {"cc", L(p0, p1, c0, c1), L(p0, p1, down, down, c0, c1, td, td)},
        {"c", L(p0, p1, c1), L(p0, p1, down, down, c1, c1, td, td)},
        {"nothing", L(p0, p1), L(p0, p1, down, down, grey, grey, td, td)},
    };
    for (const auto& r : rows) EXPECT_TRUE(r.does == r.should) << r.row;
    // The full form stores each argument in its own place, and equality looks at all of them.
    const float should[24] = {0, 0, 0, 2, 0, 0, 1,   0, 0, 0,   1, 0,
                              1, 2, 3, 4, 5, 6, .1f, 0, 0, .2f, 0, 0};
    for (int i = 0; i < 24; ++i) {
        EXPECT_EQ(rows[0].does.p0.to_c()[i], should[i]) << i;
        WDB_Line other = rows[0].does;
        other.p0.to_c()[i] += 1;
        EXPECT_FALSE(other == rows[0].does) << i;
    }
    EXPECT_EQ(printed(rows[0].does),
              "Line{\n  p0 = Point(0,0,0)\n  p1 = Point(2,0,0)\n  n0 = Vector(1,0,0)\n"
              "  n1 = Vector(0,1,0)\n  c0 = Color(1,2,3)\n  c1 = Color(4,5,6)\n}\n");
}

// The line runs from (0,0,0) to (2,0,0).
TEST(WDB_Line, line_intersection) {
    const struct {
        const char* row;
        Point p, q;
        float tolerance, should;
    } rows[] = {
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
    for (const auto& r : rows)
        EXPECT_EQ(WDB_Line(p0, p1).line_intersection(r.p, r.q, r.tolerance), r.should) << r.row;
}

TEST(WDB_Line_List, flags_box_and_nearest) {
    auto* const list = new WDB_Line_List(2);
    EXPECT_FALSE(list->get_with_colors() || list->get_with_normals() || list->get_with_textures());
    list->begin_editing();
    list->put(WDB_Line(p0, p1), 0);
    list->put(WDB_Line(Point(0, 0, 1), Point(2, 1, 1)), 1);
    list->end_editing();
    EXPECT_EQ(list->get_bbox(), Bbox(p0, Point(2, 1, 1)));
    EXPECT_EQ(list->line_intersection({1, .25f, 5}, {1, .25f, -5}, .5f), .4f);
    // The box is not widened by the tolerance.
    EXPECT_EQ(list->line_intersection({1, 1.1f, 5}, {1, 1.1f, -5}, 9), FLT_MAX);

    const int stamp = list->get_stamp();
    list->set_with_colors(true);
    list->set_with_textures(true);
    list->set_with_textures(true);
    EXPECT_TRUE(list->get_with_colors() && list->get_with_textures());
    EXPECT_FALSE(list->get_with_normals());
    EXPECT_EQ(list->get_stamp(), stamp + 2);
    EXPECT_TRUE(list->is_bbox_up_to_date());
    list->touch();
    list->set_with_normals(true);
    EXPECT_FALSE(list->is_bbox_up_to_date());
}
