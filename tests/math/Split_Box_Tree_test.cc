#include "math/Split_Box_Tree.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "math/Homogeneous.h"
#include "tests/Bits.h"

using Tree = Split_Box_Tree<int>;

static const Bbox bounds(Point(-8, -8, -8), Point(8, 8, 8));

// What a walk reports, in order.
static std::vector<int> visited;

static bool note(SUniv*, SUniv* item, const Bbox&) {
    visited.push_back(Conv<int>::from_univ(item));
    return false;
}

static std::vector<int> all_in(const Tree& tree) {
    visited.clear();
    tree.apply(nullptr, note);
    return visited;
}

static Bbox cube_at(float x, float y, float z, float half = .5f) {
    return Bbox(Point(x - half, y - half, z - half), Point(x + half, y + half, z + half));
}

// Random puts, moves and removals: every query gives each item once that a loop over all boxes
// gives, and no other.
TEST(Split_Box_Tree, agrees_with_a_loop_over_all_boxes) {
    std::mt19937 random(21);
    const auto place = [&] { return std::uniform_real_distribution<float>(-8, 8)(random); };
    for (int split : {2, 8})
        for (int limit : {1, 4, 9}) {
            Tree tree(split, 7, limit, bounds);
            std::map<int, Bbox> boxes;
            for (int step = 0; step < 1500; ++step) {
                const int item = static_cast<int>(random() % 300) + 1;
                if (random() % 4 == 0) {
                    tree.remove(item);
                    boxes.erase(item);
                } else {
                    const Bbox box = cube_at(place() * .9f, place() * .9f, place() * .9f, .4f);
                    tree.put(item, box);
                    boxes[item] = box;
                }
                ASSERT_EQ(tree.count(), static_cast<int>(boxes.size()));
                if (step % 50 != 0) continue;
                const Bbox query(Point(-5, place(), -6), Point(4, place() + 9, 3));
                const HFrame m1(Frame::scaling(.2f) * Frame::translation(.1f, 0, 0));
                const Matrix4 m2 = Matrix4::perspective(1, 1, 10);
                const Point p(place(), place(), place()), q(place(), place(), place());
                const struct {
                    const char* row;
                    std::function<bool()> walk;
                    std::function<bool(const Bbox&)> takes;
                } rows[] = {
                    {"all", [&] { return tree.apply(nullptr, note); },
                     [](const Bbox&) { return true; }},
                    {"box", [&] { return tree.apply(nullptr, query, note); },
                     [&](const Bbox& b) { return b.is_overlapping(query); }},
                    {"view", [&] { return tree.apply(nullptr, m2, note); },
                     [&](const Bbox& b) { return b.is_visible(m2); }},
                    {"two views", [&] { return tree.apply(nullptr, m1, m2, note); },
                     [&](const Bbox& b) { return b.is_visible(m1) || b.is_visible(m2); }},
                    {"segment", [&] { return tree.apply(nullptr, p, q, note); },
                     [&](const Bbox& b) { return b.bounds_line_intersection(p, q) <= 1; }},
                };
                for (const auto& r : rows) {
                    std::set<int> should;
                    for (const auto& [i, box] : boxes)
                        if (r.takes(box)) should.insert(i);
                    visited.clear();
                    EXPECT_FALSE(r.walk());
                    EXPECT_EQ(std::set<int>(visited.begin(), visited.end()), should)
                        << r.row << " at step " << step;
                    EXPECT_EQ(visited.size(), should.size()) << r.row << ": each once";
                }
            }
        }
}

// The order of a walk tells which cells there are: items of child 0 come before those of child 1.
TEST(Split_Box_Tree, splits_along_the_longest_axis) {
    const struct {
        const char* row;
        Point size;
        int axis;
    } rows[] = {{"cube", {2, 2, 2}, 2},    {"x", {3, 2, 2}, 0},       {"x and y", {2, 2, 1}, 1},
                {"x and z", {2, 1, 2}, 2}, {"y and z", {1, 2, 2}, 2}, {"y", {1, 3, 2}, 1},
                {"z", {1, 2, 3}, 2}};
    for (const auto& r : rows)
        for (int axis = 0; axis < 3; ++axis) {
            Tree tree(2, 1, 4, Bbox(Point(0, 0, 0), r.size));
            // Put from the high end of the axis down: only a split along it turns the order.
            for (int i = 5; i >= 1; --i) {
                Point p(r.size.x * .1f, r.size.y * .1f, r.size.z * .1f);
                p[axis] = r.size[axis] * (static_cast<float>(i) / 6 + .01f);
                tree.put(i, Bbox(p, p));
                if (i == 2) {
                    EXPECT_EQ(all_in(tree), std::vector<int>({5, 4, 3, 2})) << "not split yet";
                }
            }
            const std::vector<int> turned = {2, 1, 5, 4, 3}, kept = {5, 4, 3, 2, 1};
            EXPECT_EQ(all_in(tree), axis == r.axis ? turned : kept) << r.row << axis;
        }
}

TEST(Split_Box_Tree, octants_in_corner_order) {
    Tree tree(8, 4, 4, bounds);
    for (int i = 7; i >= 0; --i)
        tree.put(i + 1, cube_at(i & 1 ? 4 : -4, i & 2 ? 4 : -4, i & 4 ? 4 : -4));
    EXPECT_EQ(all_in(tree), std::vector<int>({1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(Split_Box_Tree, same_boxes_stay_together_and_straddlers_come_once) {
    Tree tree(2, 16, 4, bounds);
    for (int i = 1; i <= 5; ++i) tree.put(i, cube_at(1, 1, 1, .001f));
    for (int i = 6; i <= 9; ++i) tree.put(i, cube_at(0, 0, 0));
    std::vector<int> seen = all_in(tree);
    EXPECT_EQ(seen.size(), 9u);
    EXPECT_EQ(std::set<int>(seen.begin(), seen.end()).size(), 9u);
    EXPECT_EQ(bits_of(tree.get_contents_bbox()),
              bits_of(Bbox(Point(-.5f, -.5f, -.5f), Point(1.001f, 1.001f, 1.001f))));
    tree.put(9, cube_at(7, 7, 7));
    visited.clear();
    tree.apply(nullptr, cube_at(0, 0, 0, .1f), note);
    EXPECT_EQ(std::set<int>(visited.begin(), visited.end()), std::set<int>({6, 7, 8}));
    EXPECT_EQ(tree.count(), 9);
}

TEST(Split_Box_Tree, outside_the_bounds) {
    Tree tree(2, 16, 4, bounds);
    const auto put = [&](int item, const Bbox& box) {
        ::testing::internal::CaptureStderr();
        tree.put(item, box);
        return ::testing::internal::GetCapturedStderr();
    };
    const std::string report = "INFO   : BSplit_box_tree put: element out of bounds\n";
    EXPECT_EQ(put(1, cube_at(20, 0, 0)), report);
    EXPECT_EQ(put(2, cube_at(8, 0, 0)), report);
    EXPECT_EQ(put(3, cube_at(7.5f, 0, 0)), "");
    EXPECT_EQ(all_in(tree), std::vector<int>({2, 3}));
    EXPECT_EQ(bits_of(tree.get_contents_bbox().max), bits_of(Point(8, .5f, .5f)));
    EXPECT_TRUE(tree.has(1));
    tree.remove(1);
    tree.remove(77);
    EXPECT_FALSE(tree.has(1));
    EXPECT_EQ(tree.count(), 2);
}

TEST(Split_Box_Tree, stops_wipes_and_aborts) {
    Tree tree(2, 16, 4, bounds);
    const auto stop = [](SUniv* user, SUniv*, const Bbox&) { return Conv<bool>::from_univ(user); };
    EXPECT_FALSE(tree.apply(Conv<bool>::to_univ(true), stop));
    Bbox empty;
    empty.clear();
    EXPECT_EQ(bits_of(tree.get_contents_bbox()), bits_of(empty));
    for (int i = 1; i < 40; ++i) tree.put(i, cube_at(static_cast<float>(i % 7), 0, 0));
    EXPECT_TRUE(tree.apply(Conv<bool>::to_univ(true), stop));
    EXPECT_FALSE(tree.apply(Conv<bool>::to_univ(false), stop));
    tree.wipe_out();
    EXPECT_EQ(tree.count(), 0);
    EXPECT_EQ(bits_of(tree.get_bbox()), bits_of(bounds));
    tree.put(1, cube_at(1, 1, 1));
    EXPECT_EQ(all_in(tree), std::vector<int>({1}));
    EXPECT_STREQ(tree.get_dynamic_class_name(), "Split_Box_Tree<T>");
    EXPECT_TRUE(BSplit_Box_Tree::is_instance(&tree));
    Tree odd(3, 16, 0, bounds);
    EXPECT_EXIT(odd.put(1, cube_at(0, 0, 0)), ::testing::KilledBySignal(SIGABRT), "");
}
