// Split_Box_Tree against std::vector of boxes: building, and queries by box and by segment over
// boxes that fill the bounds. Queries must allocate nothing.
#include "math/Split_Box_Tree.h"

#include <gc.h>
#include <random>

#include "bench/side_by_side.h"

static const float half_edge = 10000;

struct Boxes {
    explicit Boxes(int n)
        : tree(2, 16, 4,
               Bbox(Point(-half_edge, -half_edge, -half_edge),
                    Point(half_edge, half_edge, half_edge))) {
        std::mt19937 random(17);
        std::uniform_real_distribution<float> place(-half_edge * .99f, half_edge * .99f);
        std::uniform_real_distribution<float> size(1, 40);
        for (int i = 0; i < n; ++i) {
            const Point low(place(random), place(random), place(random));
            boxes.emplace_back(low, low + Vector(size(random), size(random), size(random)));
        }
        for (int i = 0; i < 64; ++i) {
            starts.emplace_back(place(random), place(random), place(random));
            ends.emplace_back(place(random), place(random), place(random));
        }
    }
    void fill_tree() {
        tree.wipe_out();
        for (std::size_t i = 0; i < boxes.size(); ++i) tree.put(static_cast<int>(i) + 1, boxes[i]);
    }
    Split_Box_Tree<int> tree;
    std::vector<Bbox> boxes;
    std::vector<Point> starts, ends;
};

static std::uint64_t found;

static bool count_it(SUniv*, SUniv*, const Bbox&) {
    ++found;
    return false;
}

static void build(benchmark::State& state) {
    Boxes all(static_cast<int>(state.range(0)));
    const auto vector = [&] {
        std::vector<Bbox> copy;
        for (const Bbox& box : all.boxes) copy.push_back(box);
        return static_cast<std::uint64_t>(copy.size());
    };
    const auto tree = [&] {
        all.fill_tree();
        return static_cast<std::uint64_t>(all.tree.count());
    };
    side_by_side(state, state.range(0), {{"vector", vector}}, {"tree", tree});
}
BENCHMARK(build)->Arg(10000)->Arg(100000)->UseManualTime();

template<class Takes, class Walk>
static void query(benchmark::State& state, Takes takes, Walk walk) {
    Boxes all(static_cast<int>(state.range(0)));
    all.fill_tree();
    const auto scan = [&] {
        found = 0;
        for (std::size_t i = 0; i < all.starts.size(); ++i)
            for (const Bbox& box : all.boxes) found += takes(box, all.starts[i], all.ends[i]);
        return found;
    };
    const auto tree = [&] {
        found = 0;
        for (std::size_t i = 0; i < all.starts.size(); ++i)
            walk(all.tree, all.starts[i], all.ends[i]);
        return found;
    };
    const std::size_t before = GC_get_total_bytes();
    tree();
    state.counters["bytes allocated"] = static_cast<double>(GC_get_total_bytes() - before);
    state.counters["found"] = static_cast<double>(found);
    side_by_side(state, static_cast<std::int64_t>(all.starts.size()), {{"scan", scan}},
                 {"tree", tree});
}

static Bbox around(const Point& p) {
    const float reach = 800;
    return Bbox(p - Vector(reach, reach, reach), p + Vector(reach, reach, reach));
}

static void by_box(benchmark::State& state) {
    query(
        state,
        [](const Bbox& b, const Point& p, const Point&) { return b.is_overlapping(around(p)); },
        [](const auto& tree, const Point& p, const Point&) {
            tree.apply(nullptr, around(p), count_it);
        });
}
BENCHMARK(by_box)->Arg(10000)->Arg(100000)->UseManualTime();

static void by_segment(benchmark::State& state) {
    query(
        state,
        [](const Bbox& b, const Point& p, const Point& q) {
            return b.bounds_line_intersection(p, q) <= 1;
        },
        [](const auto& tree, const Point& p, const Point& q) {
            tree.apply(nullptr, p, q, count_it);
        });
}
BENCHMARK(by_segment)->Arg(10000)->Arg(100000)->UseManualTime();
