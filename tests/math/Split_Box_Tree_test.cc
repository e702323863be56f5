#include "math/Split_Box_Tree.h"

#include "math/Box_Probes.h"
#include "math/Box_Queries.h"
#include "math/Homogeneous.h"
#include "tests/Test.h"
#include "tests/math/plain_tree.h"

using Tree = Split_Box_Tree<int>;

static const float inf = std::numeric_limits<float>::infinity();
static const float no_number = std::numeric_limits<float>::quiet_NaN();
static const Bbox bounds(Point(-8, -8, -8), Point(8, 8, 8));

// What a walk reports, in order, and after how many reports it stops.
static std::vector<std::pair<int, Bits>> visited;
static std::size_t stop_after;

static bool note(SUniv*, SUniv* item, const Bbox& box) {
    visited.emplace_back(Conv<int>::from_univ(item), bits_of(box));
    return visited.size() == stop_after;
}

static Bbox cube_at(float x, float y, float z, float half = .5f) {
    return Bbox(Point(x - half, y - half, z - half), Point(x + half, y + half, z + half));
}

// A NaN is as good as another.
static Bits comparable(Bbox box) {
    for (int i = 0; i < 6; ++i)
        if (std::isnan(box[i / 3][i % 3])) box[i / 3][i % 3] = no_number;
    return bits_of(box);
}

namespace {
// Boxes and places from all over the bounds and a little beyond, half of them on a grid on which
// sides and middles of cells coincide.
struct Chance {
    std::mt19937 random;
    bool on_grid;

    unsigned int below(unsigned int n) { return random() % n; }
    int index(unsigned int n) { return static_cast<int>(below(n)); }
    float within(float low, float high) {
        return std::uniform_real_distribution<float>(low, high)(random);
    }
    float coordinate(float most = 9) {
        const float x = within(-most, most);
        return on_grid ? std::round(x * 2) / 2 : x; // which may be -0
    }
    Point point() { return Point(coordinate(), coordinate(), coordinate()); }

    // Small; large, ragged or infinite if `is_large`; inverted or with a NaN if `is_odd`.
    Bbox box(bool is_large, bool is_odd) {
        const Point low = point();
        const float size = below(5) == 0 ? 0 : is_large && below(4) == 0 ? 16 : 1.5f;
        Bbox b(low, low + Vector(within(0, size), within(0, size), within(0, size)));
        const unsigned int what = is_large ? below(16) : 16;
        if (what == 0) b = cube_at(within(0, .3f), within(0, .3f), within(0, .3f), 7.8f);
        if (what == 1) b.infinite();
        if (what == 2) b.min[index(3)] = -inf;
        if (what == 3) b = Bbox(Point(-inf, -inf, -inf), Point(inf, inf, inf));
        const unsigned int oddity = is_odd ? below(10) : 10;
        if (oddity == 0) b.clear();
        if (oddity == 1) b[index(2)][index(3)] = no_number;
        if (oddity == 2) std::swap(b.min[0], b.max[0]);
        if (oddity == 3) b.min = b.max = Point(no_number, no_number, no_number);
        return b;
    }
    Matrix4 view() {
        Matrix4 m =
            below(2) == 0
                ? toMatrix4(Frame::scaling(within(.1f, .25f)) *
                            Frame::translation(coordinate(1), 0, 0))
                : toMatrix4(Frame::translation(coordinate(3), coordinate(3), coordinate(6))) *
                      Matrix4::perspective(within(.2f, 2), within(.1f, 2), within(3, 20));
        if (below(30) == 0) m[index(4)][index(4)] = no_number;
        return m;
    }
};
} // namespace

// Whether a box takes part, or one that is larger by a rounding of the world's size.
static bool nearly(const Bbox& box, const Bbox&, const Bbox& query) {
    return box.is_overlapping(query);
}
static bool nearly(const Bbox& box, const Bbox& world, const Matrix4& m) {
    const Vector more = world.size() * .001f;
    float sum = 0;
    for (int i = 0; i < 16; ++i) sum += m[i / 4][i % 4];
    return std::isnan(sum) || Bbox(box.min - more, box.max + more).is_visible(m);
}
static bool nearly(const Bbox& box, const Bbox&, const Point& p, const Point& q) {
    return On_Segment{p, q}.accepts(box);
}

// Random puts, moves and removals: each of the five walks reports what the plain tree reports, in
// its order and with its end, also when a callback stops it, and the contents have the same bits.
TEST(Split_Box_Tree, answers_as_the_plain_tree_of_cells) {
    const Bbox worlds[] = {bounds,
                           cube_at(0, 0, 0, 8.1f),
                           cube_at(0, 0, 0, 10000),
                           Bbox(Point(0, -3, 0), Point(8, 8, 1)),
                           Bbox(Point(-8, 0, -8), Point(8, 0, 8)),
                           Bbox(Point(8, -8, -8), Point(-8, 8, 8)),
                           Bbox(Point(-inf, -8, -8), Point(inf, 8, 8)),
                           Bbox(Point(no_number, -8, -8), Point(8, 8, 8)),
                           Bbox(Point(2e38f, -8, -8), Point(3e38f, 8, 8)),
                           Bbox(Point(-3e38f, -8, -8), Point(-2e38f, 8, 8))};
    for (unsigned int seed = 0; seed < 140; ++seed) {
        SCOPED_TRACE(seed);
        Chance chance{std::mt19937(seed), seed % 2 == 0};
        const Bbox& world = worlds[seed % std::size(worlds)];
        const int split = seed / 10 % 2 == 0 ? 2 : 8;
        const bool is_large = seed % 3 == 0, is_odd = seed % 4 == 1;
        // Large boxes fill the plain tree: they get fewer levels.
        const bool fills = is_large || is_odd || seed % std::size(worlds) >= 5;
        const int most_levels = split == 8 ? 3 : fills ? 9 : 16;
        const bool is_deep = seed % 10 == 0; // more levels than keys have bits, and points alone
        const int levels =
            is_deep ? 40
                    : static_cast<int>(chance.below(static_cast<unsigned int>(most_levels + 1)));
        const int limit = static_cast<int>(chance.below(9));
        const bool is_many = !fills && seed % 7 == 3;
        const unsigned int items = is_many ? 300 : 60;
        const int steps = is_many ? 800 : is_odd ? 400 : 200;
        Split_Box_Tree<int> tree(split, levels, limit, world);
        Plain_Tree plain(split, levels, limit, world);
        const auto same = [&](const char* walk, const auto&... query) {
            stop_after = chance.below(4);
            visited.clear();
            const bool is_stopped = plain.apply(nullptr, query..., &note);
            const auto should = visited;
            visited.clear();
            EXPECT_EQ(tree.apply(nullptr, query..., &note), is_stopped) << walk;
            EXPECT_EQ(visited, should) << walk;
            if constexpr (requires { nearly(world, world, query...); }) {
                visited.clear();
                const bool stops = tree.apply_unordered(nullptr, query..., &note);
                EXPECT_EQ(stops, stop_after > 0 && visited.size() == stop_after) << walk;
                EXPECT_TRUE(stops || !is_stopped) << walk;
                std::set<int> all;
                for (const auto& [item, bits] : visited) {
                    EXPECT_TRUE(all.insert(item).second) << walk;
                    Bbox box;
                    std::memcpy(static_cast<void*>(&box), bits.words.data(), sizeof box);
                    EXPECT_TRUE(nearly(box, world, query...) || fills) << walk;
                }
                for (const auto& [item, bits] : should) EXPECT_TRUE(stops || all.contains(item));
            }
        };
        ::testing::internal::CaptureStderr();
        for (int step = 0; step < steps && !::testing::Test::HasFailure(); ++step) {
            const int item = 1 + static_cast<int>(chance.below(items));
            if (chance.below(4) == 0) {
                tree.remove(item);
                plain.remove(Conv<int>::to_univ(item));
            } else {
                const float x = chance.within(0, .05f);
                const Point point(3 + (split == 2 ? std::floor(x * 80) / 80 : x), 0, 3);
                const float size = split == 2 ? .001f * static_cast<float>(chance.below(4)) : 0;
                const Bbox box = is_deep ? Bbox(point, point + Vector(size, size, size))
                                         : chance.box(is_large, is_odd);
                tree.put(item, box);
                plain.put(Conv<int>::to_univ(item), box);
            }
            if (step == 150 && seed % 7 == 0) tree.wipe_out(), plain.wipe_out();
            for (int i = 1; step == 120 && seed % 7 == 1 && i <= 60; ++i)
                tree.remove(i), plain.remove(Conv<int>::to_univ(i)); // cells stay divided
            ASSERT_EQ(shown(tree.count(), tree.has(item)),
                      shown(plain.count(), plain.has(Conv<int>::to_univ(item))));
            if (step % 10 != 0 || chance.below(seed % 4 + 1) != 0) continue; // what is put waits
            const unsigned int first = chance.below(5); // any walk files what waits
            if (first == 0) same("box first", chance.box(is_large, is_odd));
            if (first == 1) same("view first", chance.view());
            if (first == 2) same("two views first", chance.view(), chance.view());
            if (first == 3) same("segment first", chance.point(), chance.point());
            same("all");
            if (chance.below(4) == 0) continue; // with no look at places
            EXPECT_EQ(comparable(tree.get_contents_bbox()), comparable(plain.get_contents_bbox()));
            same("box", chance.box(is_large, is_odd));
            same("larger box", cube_at(chance.coordinate(), chance.coordinate(), 0, 3));
            same("view", chance.view());
            same("two views", chance.view(), chance.view());
            const Point p = chance.point(), q = chance.point();
            same("segment", p, q);
            same("along an axis", p, Point(p.x, p.y, q.z));
            same("a point", p, p);
            same("too long", p, Point(1e30f, q.y, no_number));
        }
        ::testing::internal::GetCapturedStderr();
    }
}

// Segments that graze corners, planes through corners, and numbers below the normal ones.
TEST(Split_Box_Tree, probes_let_pass_what_the_exact_tests_let_pass) {
    Chance chance{std::mt19937(1), false};
    for (int i = 0; i < 100000 && !::testing::Test::HasFailure(); ++i) {
        const float unit = i % 2 == 0 ? 1 : 1e-44f;
        const auto place = [&] {
            const Point p = chance.point();
            return Point(p.x * unit, p.y * unit, p.z * unit);
        };
        Point p = place(), low = place();
        if (i % 4 == 2) p.x = low.x = 0;
        const Bbox box(low, low + Vector(chance.within(0, 1), chance.within(0, 1), 0) * unit);
        Point q = p + (Point(box.min.x, box.max.y, low.z) - p) * chance.within(1, 2);
        if (i % 4 == 2) q = Point(1e-40f, low.y, low.z);
        Matrix4 m = Matrix4::identity();
        for (int k = 0; k < 16; ++k) m[k / 4][k % 4] = chance.within(-1, 1);
        m[3] = Vector4(0, 0, 0, 0);
        if (unit == 1)
            m[3][3] = -((low.x * (m[0][0] + m[0][3]) + low.y * (m[1][0] + m[1][3])) +
                        low.z * (m[2][0] + m[2][3]));
        Box_Lanes lanes = {};
        lanes.set(0, box);
        if (On_Segment{p, q}.accepts(box)) {
            EXPECT_TRUE(Segment_Probe(p, q).meets(lanes) & 1) << i;
        }
        if (box.is_visible(m)) {
            EXPECT_TRUE(View_Probe(m, box).meets(lanes) & 1) << i;
        }
    }
}

// Among the cells of this world are such that lie between -0 and 0; the last one tells.
TEST(Split_Box_Tree, contents_between_two_zeros) {
    Tree tree(8, 3, 2, Bbox(Point(0, -0.0f, 0), Point(1, 4e-45f, 1)));
    Bbox box(Point(0, -0.0f, 0), Point(1, 1, 1));
    box.max.x = no_number;
    reports_of([&] {
        for (int i = 1; i <= 3; ++i) tree.put(i, box);
    });
    EXPECT_EQ(bits_of(tree.get_contents_bbox()),
              bits_of(Bbox(Point(0, 0, 0), Point(1, 4e-45f, 1))));
}

// In the plain tree each of these would stand in 65536 leaves.
TEST(Split_Box_Tree, many_boxes_that_fill_the_world) {
    Tree tree(2, 16, 4, bounds);
    Chance chance{std::mt19937(1), false};
    for (int i = 1; i <= 20000; ++i)
        tree.put(i, cube_at(chance.within(0, .1f), chance.within(0, .1f), 0, 7.8f));
    stop_after = 0;
    visited.clear();
    tree.apply(nullptr, Point(-8, -7, -6), Point(7, 7, 7), &note);
    EXPECT_EQ(visited.size(), 20000u);
}

// A walk inside another has memory of its own, which grows with the tree, also if the tree was
// larger before that walk's first time.
TEST(Split_Box_Tree, walks_in_one_another) {
    static Tree tree(2, 16, 4, bounds);
    const auto fill = [](int n) {
        for (int i = 1; i < n; ++i) tree.put(i, cube_at(static_cast<float>(i % 7), 0, 0));
    };
    static int outer, inner;
    const auto count_inner = [](SUniv*, SUniv*, const Bbox&) { return ++inner, false; };
    const auto count_outer = [](SUniv* user, SUniv*, const Bbox&) {
        if (outer < 40)
            tree.apply(nullptr, cube_at(0, 0, 0, 3), Conv<BSplit_Box_Tree_Apply>::from_univ(user));
        return ++outer, false;
    };
    fill(3000);
    tree.wipe_out();
    for (const int n : {40, 2500}) {
        fill(n);
        outer = inner = 0;
        EXPECT_FALSE(tree.apply(Conv<BSplit_Box_Tree_Apply>::to_univ(count_inner),
                                toMatrix4(Frame::scaling(.05f)), count_outer));
        EXPECT_EQ(outer, n - 1);
        EXPECT_EQ(inner, n == 40 ? 39 * 23 : 40 * 1428);
    }
}

TEST(Split_Box_Tree, class_getters_and_a_bad_split_count) {
    const Tree tree(2, 16, 4, bounds);
    EXPECT_TRUE(BSplit_Box_Tree::is_instance(&tree) && bits_of(tree.get_bbox()) == bits_of(bounds));
    EXPECT_EQ(shown(tree.get_dynamic_class_name(), tree.get_node_split_into_n_children(),
                    tree.get_node_max_level(), tree.get_node_items_limit()),
              "Split_Box_Tree<T> 2 16 4 ");
    Tree odd(3, 16, 1, bounds);
    odd.put(1, cube_at(0, 0, 0));
    EXPECT_EXIT(odd.put(2, cube_at(0, 0, 0)), ::testing::KilledBySignal(SIGABRT), "");
}
