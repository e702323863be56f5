// Split_Box_Tree against the plain tree of cells that defines its answers, an R*-tree and, for
// small boxes, a scan of all. Worlds:
//
//     fitted   small boxes all over the bounds
//     corner   the same in one corner of the bounds of a new database
//     giants   small boxes and some that fill the world but for a ragged border
//
// Walks must find the same number of boxes and allocate nothing.
#include "math/Split_Box_Tree.h"

#include <boost/function_output_iterator.hpp>
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/point.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <boost/throw_exception.hpp>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <gc.h>
#include <random>

#include "bench/side_by_side.h"
#include "math/Homogeneous.h"
#include "tests/math/plain_tree.h"

namespace bg = boost::geometry;

// Everything here is built without exceptions.
void boost::throw_exception(const std::exception&) {
    std::abort();
}
void boost::throw_exception(const std::exception&, const boost::source_location&) {
    std::abort();
}

// Its nodes come from malloc: the process-wide new is the collector's.
template<class T>
struct Malloc {
    using value_type = T;
    Malloc() = default;
    template<class U>
    Malloc(const Malloc<U>&) {}
    T* allocate(std::size_t n) { return static_cast<T*>(std::malloc(n * sizeof(T))); }
    void deallocate(T* p, std::size_t) { std::free(p); }
    template<class U>
    bool operator==(const Malloc<U>&) const {
        return true;
    }
};

using R_Point = bg::model::point<float, 3, bg::cs::cartesian>;
using R_Box = bg::model::box<R_Point>;
using R_Item = std::pair<R_Box, int>;
using R_Tree = bg::index::rtree<R_Item, bg::index::rstar<16>, bg::index::indexable<R_Item>,
                                bg::index::equal_to<R_Item>, Malloc<R_Item>>;

static R_Point r_point(const Point& p) {
    return R_Point(p.x, p.y, p.z);
}

static const float half_edge = 10000;

enum World_Kind { fitted, corner, giants };

struct World {
    World(World_Kind kind, int n)
        : bounds(Point(-half_edge, -half_edge, -half_edge), Point(half_edge, half_edge, half_edge)),
          filled(bounds), tree(2, 16, 4, bounds), plain(2, 16, 4, bounds) {
        if (kind == corner) filled.max = Point(-7000, -7000, -7000);
        std::mt19937 random(17);
        const float edge = filled.size().x;
        const auto within = [&](float low, float high) {
            return std::uniform_real_distribution<float>(low, high)(random);
        };
        const auto place = [&](float margin) {
            Point p;
            for (int i = 0; i < 3; ++i) p[i] = filled.min[i] + edge * within(margin, 1 - margin);
            return p;
        };
        for (int i = 0; i < n; ++i) {
            const Point low = place(.005f);
            const float size = edge * .002f;
            boxes.emplace_back(low,
                               low + Vector(within(0, size), within(0, size), within(0, size)));
            if (kind == giants && i % 50 == 0) {
                for (int axis = 0; axis < 3; ++axis) {
                    boxes.back().min[axis] = filled.min[axis] + within(0, edge * .02f);
                    boxes.back().max[axis] = filled.max[axis] - within(0, edge * .02f);
                }
            }
        }
        const float reach = edge * .03f;
        for (int i = 0; i < 256; ++i) {
            const Point center = place(.03f);
            queries.emplace_back(center - Vector(reach, reach, reach),
                                 center + Vector(reach, reach, reach));
            Point p = place(0), q = place(0);
            p[i % 3] = filled.min[i % 3];
            q[i % 3] = filled.max[i % 3];
            segments.emplace_back(p, q);
            const Point eye = place(0);
            views.push_back(toMatrix4(Frame::lookat(eye, place(0), 0)) *
                            Matrix4::perspective(.6f, edge * .001f, edge * .5f));
        }
    }
    // A box of that part of the width, as a parallel projection.
    Matrix4 part_view(std::size_t i, float part) const {
        const float half = half_edge * 1.01f * part;
        const Point center = part == 1 ? Point(0, 0, 0) : queries[i].center();
        return toMatrix4(Frame::translation(-center.x, -center.y, -center.z) *
                         Frame::scaling(1 / half));
    }
    void fill_tree() {
        tree.wipe_out();
        for (std::size_t i = 0; i < boxes.size(); ++i) tree.put(static_cast<int>(i) + 1, boxes[i]);
        tree.get_contents_bbox(); // what was put waits for somebody who looks at places
    }
    void fill_plain() {
        plain.wipe_out();
        for (std::size_t i = 0; i < boxes.size(); ++i)
            plain.put(Conv<int>::to_univ(static_cast<int>(i) + 1), boxes[i]);
    }
    void fill_r_tree() {
        r_tree.clear();
        for (std::size_t i = 0; i < boxes.size(); ++i)
            r_tree.insert(
                {R_Box(r_point(boxes[i].min), r_point(boxes[i].max)), static_cast<int>(i)});
    }

    Bbox bounds, filled;
    Split_Box_Tree<int> tree;
    Plain_Tree plain;
    R_Tree r_tree;
    std::vector<Bbox> boxes, queries;
    std::vector<std::pair<Point, Point>> segments;
    std::vector<Matrix4> views;
};

static std::uint64_t found;

static bool count_it(SUniv*, SUniv*, const Bbox&) {
    ++found;
    return false;
}

// What the plain tree cannot hold: each giant stands in tens of thousands of leaves.
static bool has_plain(World_Kind kind) {
    return kind != giants;
}

static void build(benchmark::State& state, World_Kind kind) {
    const auto n = static_cast<int>(state.range(0));
    World world(kind, n);
    std::vector<Side> plain;
    plain.push_back({"R*", [&] {
                         world.fill_r_tree();
                         return static_cast<std::uint64_t>(world.r_tree.size());
                     }});
    if (has_plain(kind))
        plain.push_back({"cells", [&] {
                             world.fill_plain();
                             return static_cast<std::uint64_t>(world.plain.count());
                         }});
    side_by_side(state, n, plain, {"tree", [&] {
                                       world.fill_tree();
                                       return static_cast<std::uint64_t>(world.tree.count());
                                   }});
}

// Both trees by walk(tree, i), the R*-tree by r_walk(r_tree, i), an array by a_walk, for i of 256.
template<class R_Walk, class Walk, class A_Walk = std::nullptr_t>
static void query(benchmark::State& state, World_Kind kind, R_Walk r_walk, Walk walk,
                  A_Walk a_walk = nullptr) {
    World world(kind, static_cast<int>(state.range(0)));
    world.fill_tree();
    const auto each = [&](auto one) {
        return [&world, one] {
            found = 0;
            for (std::size_t i = 0; i < world.queries.size(); ++i) one(i);
            return found;
        };
    };
    std::vector<Side> plain;
    if constexpr (!std::is_null_pointer_v<R_Walk>) {
        world.fill_r_tree();
        plain.push_back({"R*", each([&](std::size_t i) { r_walk(world, i); })});
    }
    if constexpr (!std::is_null_pointer_v<A_Walk>)
        plain.push_back({"array", each([&](std::size_t i) { a_walk(world, i); })});
    if (has_plain(kind) && std::is_null_pointer_v<A_Walk>) {
        world.fill_plain();
        plain.push_back({"cells", each([&](std::size_t i) { walk(world.plain, world, i); })});
    }
    const auto ours = each([&](std::size_t i) { walk(world.tree, world, i); });
    const std::size_t before = GC_get_total_bytes();
    ours();
    state.counters["bytes allocated"] = static_cast<double>(GC_get_total_bytes() - before);
    state.counters["found"] = static_cast<double>(found) / 256;
    side_by_side(state, 256, plain, {"tree", ours});
}

static const auto r_count_it = boost::make_function_output_iterator([](const R_Item&) { ++found; });

// The R*-tree keeps no order either; `unordered` is ours without it.
template<class Tree, class... Query>
static void ask(const Tree& tree, bool unordered, const Query&... query) {
    if constexpr (requires { tree.apply_unordered(nullptr, query..., count_it); })
        if (unordered) return void(tree.apply_unordered(nullptr, query..., count_it));
    tree.apply(nullptr, query..., count_it);
}

static void by_box(benchmark::State& state, World_Kind kind, bool unordered) {
    query(
        state, kind,
        [](const World& world, std::size_t i) {
            const Bbox& q = world.queries[i];
            world.r_tree.query(bg::index::intersects(R_Box(r_point(q.min), r_point(q.max))),
                               r_count_it);
        },
        [=](const auto& tree, const World& world, std::size_t i) {
            ask(tree, unordered, world.queries[i]);
        });
}

static void by_segment(benchmark::State& state, World_Kind kind, bool unordered) {
    query(
        state, kind,
        [](const World& world, std::size_t i) {
            const auto& [p, q] = world.segments[i];
            world.r_tree.query(
                bg::index::intersects(bg::model::segment<R_Point>(r_point(p), r_point(q))),
                r_count_it);
        },
        [=](const auto& tree, const World& world, std::size_t i) {
            ask(tree, unordered, world.segments[i].first, world.segments[i].second);
        });
}

// An array of boxes, as a renderer without a tree has it, with the same test: of each plane, the
// corner that lies furthest inside, but for roundings.
static void scan(const World& world, const Matrix4& m) {
    float planes[6][4], slack[6];
    for (int k = 0; k < 6; ++k) {
        float terms = 0;
        for (int i = 0; i < 4; ++i) {
            planes[k][i] = m[i][3] + (k % 2 ? -m[i][k / 2] : m[i][k / 2]);
            terms += (std::fabs(m[i][3]) + std::fabs(m[i][k / 2])) * (i == 3 ? 1 : half_edge);
        }
        slack[k] = terms * 64 * FLT_EPSILON;
    }
    for (const Bbox& box : world.boxes) {
        bool is_in = true;
        for (int k = 0; k < 6 && is_in; ++k) {
            float sum = planes[k][3];
            for (int axis = 0; axis < 3; ++axis)
                sum += planes[k][axis] * box[planes[k][axis] < 0 ? 0 : 1][axis];
            is_in = sum >= -slack[k];
        }
        if (is_in) count_it(nullptr, nullptr, box);
    }
}

// Of the whole world if `part` is 1; of a part of its width otherwise.
static void by_part_in_view(benchmark::State& state, World_Kind kind, bool unordered, float part) {
    query(
        state, kind, nullptr,
        [=](const auto& tree, const World& world, std::size_t i) {
            ask(tree, unordered, world.part_view(i, part));
        },
        [=](const World& world, std::size_t i) { scan(world, world.part_view(i, part)); });
}

static void by_view(benchmark::State& state, World_Kind kind) {
    query(state, kind, nullptr, [](const auto& tree, const World& world, std::size_t i) {
        tree.apply(nullptr, world.views[i], count_it);
    });
}

static void by_two_views(benchmark::State& state, World_Kind kind) {
    query(state, kind, nullptr, [](const auto& tree, const World& world, std::size_t i) {
        tree.apply(nullptr, world.views[i], world.views[(i + 1) % 256], count_it);
    });
}

// 16 walks over all.
static void all(benchmark::State& state, World_Kind kind) {
    query(state, kind, nullptr, [](const auto& tree, const World&, std::size_t i) {
        if (i % 16 == 0) tree.apply(nullptr, count_it);
    });
}

#define WORLDS(walk)                                                                               \
    BENCHMARK_CAPTURE(walk, fitted, fitted)->Arg(100000)->UseManualTime();                         \
    BENCHMARK_CAPTURE(walk, corner, corner)->Arg(100000)->UseManualTime();                         \
    BENCHMARK_CAPTURE(walk, giants, giants)->Arg(20000)->UseManualTime()
#define BOTH_WAYS(walk)                                                                            \
    BENCHMARK_CAPTURE(walk, fitted, fitted, false)->Arg(100000)->UseManualTime();                  \
    BENCHMARK_CAPTURE(walk, corner, corner, false)->Arg(100000)->UseManualTime();                  \
    BENCHMARK_CAPTURE(walk, giants, giants, false)->Arg(20000)->UseManualTime();                   \
    BENCHMARK_CAPTURE(walk, fitted_unordered, fitted, true)->Arg(100000)->UseManualTime();         \
    BENCHMARK_CAPTURE(walk, corner_unordered, corner, true)->Arg(100000)->UseManualTime();         \
    BENCHMARK_CAPTURE(walk, giants_unordered, giants, true)->Arg(20000)->UseManualTime()
#define IN_VIEW(name, unordered, part)                                                             \
    BENCHMARK_CAPTURE(by_part_in_view, name, fitted, unordered, part)                              \
        ->Arg(100000)                                                                              \
        ->UseManualTime()                                                                          \
        ->Iterations(3)

WORLDS(build);
BOTH_WAYS(by_box);
BOTH_WAYS(by_segment);
IN_VIEW(whole, false, 1.0f);
IN_VIEW(whole_unordered, true, 1.0f);
IN_VIEW(half_unordered, true, 0.5f);
IN_VIEW(tenth_unordered, true, 0.1f);
WORLDS(by_view);
WORLDS(by_two_views);
WORLDS(all);
