#include "wdb/WDB_Tri_List.h"

#include <cstring>
#include <gtest/gtest.h>

#include "support.h"

static const Point p0(0, 0, 0), p1(2, 0, 0), p2(0, 2, 0);
static const Vector n0(1, 0, 0), n1(0, 1, 0), n2(0, 0, -1);
static const Color c0(1, 2, 3), c1(4, 5, 6), c2(7, 8, 9);
static const Point t0(.1f, 0, 0), t1(.2f, 0, 0), t2(.3f, 0, 0);

TEST(WDB_Triangle, what_a_constructor_is_not_given) {
    const struct {
        const char* given;
        WDB_Triangle does;
    } rows[] = {
        {"nCt", {p0, p1, p2, n0, n1, n2, c0, c1, c2, t0, t1, t2}},
        {"nct", {p0, p1, p2, n0, n1, n2, c1, t0, t1, t2}},
        {"nt", {p0, p1, p2, n0, n1, n2, t0, t1, t2}},
        {"nC", {p0, p1, p2, n0, n1, n2, c0, c1, c2}},
        {"nc", {p0, p1, p2, n0, n1, n2, c1}},
        {"n", {p0, p1, p2, n0, n1, n2}},
        {"Ct", {p0, p1, p2, c0, c1, c2, t0, t1, t2}},
        {"ct", {p0, p1, p2, c1, t0, t1, t2}},
        {"t", {p0, p1, p2, t0, t1, t2}},
        {"C", {p0, p1, p2, c0, c1, c2}},
        {"c", {p0, p1, p2, c1}},
        {"", {p0, p1, p2}},
    };
    for (const auto& r : rows) {
        const auto has = [&](char part) { return std::strchr(r.given, part) != nullptr; };
        const Vector face(0, 0, 1);
        const Color plain = has('c') ? c1 : Color(.5f, .5f, .5f);
        float should[36];
        const auto set = [&](int row, const auto& a, const auto& b, const auto& c) {
            for (int i = 0; i < 3; ++i)
                should[row + i] = a[i], should[row + 3 + i] = b[i], should[row + 6 + i] = c[i];
        };
        set(0, p0, p1, p2);
        for (int row : {9, 27}) has('n') ? set(row, n0, n1, n2) : set(row, face, face, face);
        has('C') ? set(18, c0, c1, c2) : set(18, plain, plain, plain);
        if (has('t')) set(27, t0, t1, t2);
        for (int i = 0; i < 36; ++i) {
            EXPECT_EQ(r.does.p0.to_c()[i], should[i]) << r.given << ", float " << i;
            WDB_Triangle other = r.does;
            other.p0.to_c()[i] += 1;
            EXPECT_FALSE(other == r.does) << i;
        }
    }
    EXPECT_TRUE(WDB_Triangle(p0, p1, p1) == WDB_Triangle(p0, p1, p1));
    EXPECT_TRUE(WDB_Triangle(p0, p1, p1).n2.iszero()) << "a line has no face";
}

TEST(WDB_Triangle, print) {
    EXPECT_EQ(printed(WDB_Triangle(p0, p1, p2, n0, n1, n2, c0, c1, c2)),
              "TRIANGLE{\n"
              "  p0 = Point(0,0,0)\n  p1 = Point(2,0,0)\n  p2 = Point(0,2,0)\n"
              "  n0 = Vector(1,0,0)\n  n1 = Vector(0,1,0)\n  n2 = Vector(0,0,-1)\n"
              "  c0 = Color(1,2,3)\n  c1 = Color(4,5,6)\n  c2 = Color(7,8,9)\n}\n");
}

// Told for a triangle in the plane z = 0; the loop turns each row to all three planes, and winds
// the triangle both ways.
TEST(WDB_Triangle, line_intersection) {
    const struct {
        const char* row;
        Point p, q;
        float should;
    } rows[] = {
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
        for (const auto& r : rows)
            for (const auto& triangle : {WDB_Triangle(a, b, c), WDB_Triangle(a, c, b)})
                EXPECT_EQ(triangle.line_intersection(turn(r.p, by), turn(r.q, by), 100), r.should)
                    << r.row << ", turned by " << by;
    }
    EXPECT_EQ(WDB_Triangle(p0, p1, p1).line_intersection({1, 0, 1}, {1, 0, -1}, 0), FLT_MAX);
}

TEST(WDB_Tri_List, nearest_of_many) {
    WDB_Tri_List* const list = new WDB_Tri_List(3);
    const float heights[] = {0, 2, 1};
    list->begin_editing();
    for (int i = 0; i < 3; ++i) {
        const Vector up(0, 0, heights[i]);
        list->put(WDB_Triangle(p0 + up, p1 + up, p2 + up), i);
    }
    EXPECT_EQ(list->line_intersection({.5f, .5f, 4}, {.5f, .5f, -4}, 0), FLT_MAX) << "stale box";
    EXPECT_TRUE(list->is_editing());
    list->end_editing();
    EXPECT_EQ(list->line_intersection({.5f, .5f, 4}, {.5f, .5f, -4}, 0), .25f);
    EXPECT_EQ(list->line_intersection({.5f, .5f, 1.5f}, {.5f, .5f, -.5f}, 0), .25f)
        << "from within";
    EXPECT_EQ(list->count(), 3);
    EXPECT_TRUE((*list)[2] == WDB_Triangle(Point(0, 0, 1), Point(2, 0, 1), Point(0, 2, 1)));
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
    WDB_Tri_List* const list = new WDB_Tri_List(0);
    EXPECT_TRUE(list->is_bbox_up_to_date());
    list->begin_editing();
    list->end_editing();
    EXPECT_EQ(bits_of(list->get_bbox().min.x).words[0], 0x7149F2CAu);
    EXPECT_EQ(bits_of(list->get_bbox().max.z).words[0], 0xF149F2CAu);
    list->touch();
    list->end_editing();
    EXPECT_EQ(list->get_bbox(), Bbox(Point(0, 0, 0), Point(0, 0, 0)));
    EXPECT_FALSE(list->is_editing());

    list->set_with_colors(false);
    EXPECT_EQ(list->get_stamp(), 1);
    list->set_with_colors(true);
    EXPECT_TRUE(list->get_with_colors());
    EXPECT_EQ(list->get_stamp(), 2);
    EXPECT_TRUE(list->is_bbox_up_to_date());
    list->touch();
    list->set_with_colors(false);
    EXPECT_FALSE(list->is_bbox_up_to_date());
    EXPECT_EQ(list_in({-1, 2, 3}, {4, 5, 6})->get_bbox(), Bbox(Point(-1, 2, 3), Point(4, 5, 6)));
}

TEST(WDB_Tri_List_death, no_such_length) {
    EXPECT_EXIT(new WDB_Tri_List(-1), ::testing::ExitedWithCode(1),
                "FATAL  : A list of -1 triangles");
}
