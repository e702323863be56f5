#include "wdb/WDB_Tri_List.h"

#include "tests/wdb/support.h"
#include "wdb/WDB_Line_List.h"

static const Point p0(0, 0, 0), p1(2, 0, 0), p2(0, 2, 0);
static const Vector n0(1, 0, 0), n1(0, 1, 0), n2(0, 0, -1);
static const Color c0(1, 2, 3), c1(4, 5, 6), c2(7, 8, 9);
static const Point t0(.1f, 0, 0), t1(.2f, 0, 0), t2(.3f, 0, 0);

// Each float in its place: three or two of each part, what is not given as told. A capital C are
// colours of their own, c is one for all.
template<class T>
static void check_parts(const char* given, const T& does, const Vector& normal) {
    const int corners = sizeof(T) / sizeof(float) / 12;
    const float parts[][9] = {{0, 0, 0, 2, 0, 0, 0, 2, 0},
                              {1, 0, 0, 0, 1, 0, 0, 0, -1},
                              {1, 2, 3, 4, 5, 6, 7, 8, 9},
                              {.1f, 0, 0, .2f, 0, 0, .3f, 0, 0}};
    const auto has = [&](char part) { return std::strchr(given, part) != nullptr; };
    for (int i = 0; i < 12 * corners; ++i) {
        const int part = i / (3 * corners), at = i % (3 * corners), axis = at % 3;
        const bool is_normal = part == 1 || (part == 3 && !has('t'));
        const float should = is_normal               ? has('n') ? parts[1][at] : normal[axis]
                                           : part != 2 || has('C') ? parts[part][at]
                             : has('c')              ? parts[2][3 + axis]
                                                     : .5f;
        EXPECT_EQ(does.p0.to_c()[i], should) << given << ", float " << i;
        T other = does;
        other.p0.to_c()[i] += 1;
        EXPECT_FALSE(other == does) << i;
    }
}

TEST(WDB_Triangle, what_a_constructor_is_not_given) {
    using T = WDB_Triangle;
    const std::pair<const char*, T> rows[] = {
        {"nCt", T(p0, p1, p2, n0, n1, n2, c0, c1, c2, t0, t1, t2)},
        {"nct", T(p0, p1, p2, n0, n1, n2, c1, t0, t1, t2)},
        {"nt", T(p0, p1, p2, n0, n1, n2, t0, t1, t2)},
        {"nC", T(p0, p1, p2, n0, n1, n2, c0, c1, c2)},
        {"nc", T(p0, p1, p2, n0, n1, n2, c1)},
        {"n", T(p0, p1, p2, n0, n1, n2)},
        {"Ct", T(p0, p1, p2, c0, c1, c2, t0, t1, t2)},
        {"ct", T(p0, p1, p2, c1, t0, t1, t2)},
        {"t", T(p0, p1, p2, t0, t1, t2)},
        {"C", T(p0, p1, p2, c0, c1, c2)},
        {"c", T(p0, p1, p2, c1)},
        {"", T(p0, p1, p2)},
    };
    for (const auto& [given, does] : rows) check_parts(given, does, Vector(0, 0, 1));
    EXPECT_TRUE(T(p0, p1, p1) == T(p0, p1, p1));
    EXPECT_TRUE(T(p0, p1, p1).n2.iszero()) << "a line has no face";
}

TEST(WDB_Line, what_a_constructor_is_not_given) {
    using L = WDB_Line;
    const std::pair<const char*, L> rows[] = {
        {"nCt", L(p0, p1, n0, n1, c0, c1, t0, t1)},
        {"nct", L(p0, p1, n0, n1, c1, t0, t1)},
        {"nt", L(p0, p1, n0, n1, t0, t1)},
        {"nC", L(p0, p1, n0, n1, c0, c1)},
        {"nc", L(p0, p1, n0, n1, c1)},
        {"n", L(p0, p1, n0, n1)},
        {"Ct", L(p0, p1, c0, c1, t0, t1)},
        {"ct", L(p0, p1, c1, t0, t1)},
        {"t", L(p0, p1, t0, t1)},
        {"C", L(p0, p1, c0, c1)},
        {"c", L(p0, p1, c1)},
        {"", L(p0, p1)},
    };
    for (const auto& [given, does] : rows) check_parts(given, does, Vector(0, 0, -1));
}

TEST(WDB_Triangle, print) {
    EXPECT_EQ(printed(WDB_Triangle(p0, p1, p2, n0, n1, n2, c0, c1, c2)),
              "TRIANGLE{\n"
              "  p0 = Point(0,0,0)\n  p1 = Point(2,0,0)\n  p2 = Point(0,2,0)\n"
              "  n0 = Vector(1,0,0)\n  n1 = Vector(0,1,0)\n  n2 = Vector(0,0,-1)\n"
              "  c0 = Color(1,2,3)\n  c1 = Color(4,5,6)\n  c2 = Color(7,8,9)\n}\n");
    EXPECT_EQ(printed(WDB_Line(p0, p1, n0, n1, c0, c1)),
              "Line{\n  p0 = Point(0,0,0)\n  p1 = Point(2,0,0)\n  n0 = Vector(1,0,0)\n"
              "  n1 = Vector(0,1,0)\n  c0 = Color(1,2,3)\n  c1 = Color(4,5,6)\n}\n");
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

TEST(WDB_Tri_List, loops_see_the_slots_themselves) {
    const WDB_Tri_List* const list = list_of({WDB_Triangle(p0, p1, p2), WDB_Triangle(p1, p2, p0)});
    int slot = 0;
    for (const WDB_Triangle& triangle : *list) EXPECT_EQ(&triangle, &(*list)[slot++]);
    EXPECT_EQ(slot, 2);
    WDB_Line_List lines(3);
    EXPECT_EQ(lines.begin(), &lines[0]);
    EXPECT_EQ(lines.end() - lines.begin(), 3);
    const WDB_Tri_List none(0);
    EXPECT_EQ(none.begin(), none.end());
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

TEST(WDB_Tri_List_death, no_such_length) {
    EXPECT_EXIT(new WDB_Tri_List(-1), ::testing::ExitedWithCode(1),
                "FATAL  : A list of -1 triangles");
}
