// Picking along a line against a loop over all nodes, and the questions that a viewer asks of every
// node, against the same with eight products of a corner and a matrix.
//
// closest_object_on_line: "tests" are the triangles looked at for one line; a row counts only if
// both ways name the same nodes. is_visible and coverage: "allocated" is what one round over all
// nodes takes from the collector.
#include <cfloat>
#include <cmath>
#include <gc.h>
#include <random>

#include "bench/side_by_side.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Tri_List.h"

namespace {

std::uint64_t tests_done = 0;

class Counted_List : public WDB_Tri_List {
    STD_OBJ_CLASS(Counted_List, WDB_Tri_List)
    using WDB_Tri_List::WDB_Tri_List;
    float detailed_line_intersection(const Point& p, const Point& q,
                                     float tolerance) const override {
        tests_done += static_cast<std::uint64_t>(count());
        return WDB_Tri_List::detailed_line_intersection(p, q, tolerance);
    }
};

struct Random {
    std::mt19937 engine{11};
    float between(float low, float high) {
        return std::uniform_real_distribution<float>(low, high)(engine);
    }
    Point point(float half) {
        const float x = between(-half, half), y = between(-half, half);
        return Point(x, y, between(-half, half));
    }
};

// The unit sphere, in 80 triangles.
Counted_List* ball() {
    const int rings = 6, sides = 8;
    const auto at = [](int ring, int side) {
        const double down = M_PI * ring / rings, round = 2 * M_PI * (side % sides) / sides;
        return Point(static_cast<float>(std::sin(down) * std::cos(round)),
                     static_cast<float>(std::sin(down) * std::sin(round)),
                     static_cast<float>(std::cos(down)));
    };
    auto* const list = new Counted_List(2 * sides * (rings - 1));
    int slot = 0;
    for (int ring = 0; ring < rings; ++ring) {
        for (int side = 0; side < sides; ++side) {
            const Point a = at(ring, side), b = at(ring + 1, side);
            const Point c = at(ring + 1, side + 1), d = at(ring, side + 1);
            if (ring + 1 < rings) list->put(WDB_Triangle(a, b, c), slot++);
            if (ring > 0) list->put(WDB_Triangle(a, c, d), slot++);
        }
    }
    list->end_editing();
    return list;
}

// Balls with radii up to 200 all over the default world.
struct Balls {
    explicit Balls(std::int64_t count) {
        const Counted_List* const shape = ball();
        for (std::int64_t i = 0; i < count; ++i) {
            const float radius = random.between(20, 200);
            const Frame place = Frame::scaling(radius) * Frame::translation(random.point(9700));
            nodes.push_back(new WDB_Node("ball", HFrame(place), shape, nullptr, nullptr));
            world->put(nodes.back());
        }
    }
    Random random;
    WDB_Database* world = new WDB_Database;
    std::vector<WDB_Node*> nodes;
};

struct Line {
    Point p, q;
};

} // namespace

static std::uint64_t add(std::uint64_t sum, const WDB_Node* node) {
    return sum * 31 + static_cast<std::uint64_t>(node ? node->get_instance_id() : 0);
}

static void closest_object_on_line(benchmark::State& state) {
    Balls balls(state.range(0));
    std::vector<Line> lines(100);
    for (Line& line : lines) line = {balls.random.point(10000), balls.random.point(10000)};
    balls.world->default_camera(); // made at the first pick otherwise
    std::uint64_t plain_tests = 0, our_tests = 0, hits = 0;
    const auto all_nodes = [&] {
        tests_done = 0;
        std::uint64_t sum = 0;
        for (const Line& line : lines) {
            const WDB_Node* closest = nullptr;
            float least = FLT_MAX;
            for (const WDB_Node* const node : balls.nodes) {
                Matrix4 inverse;
                if (!invert(node->get_transform(), inverse)) continue;
                const Frame in = toFrame(inverse);
                const float t =
                    node->get_geometry()->detailed_line_intersection(line.p * in, line.q * in, 0);
                if (t < least) least = t, closest = node;
            }
            sum = add(sum, closest);
        }
        plain_tests = tests_done;
        return sum;
    };
    const auto by_world = [&] {
        tests_done = hits = 0;
        std::uint64_t sum = 0;
        for (const Line& line : lines) {
            const WDB_Node* const node =
                balls.world->closest_object_on_line(line.p, line.q, 0, -1, 0, -10000);
            hits += node != nullptr;
            sum = add(sum, node);
        }
        our_tests = tests_done;
        return sum;
    };
    const auto line_count = static_cast<double>(lines.size());
    side_by_side(state, static_cast<std::int64_t>(lines.size()), {{"loop", all_nodes}},
                 {"ours", by_world});
    state.counters["hits"] = static_cast<double>(hits);
    state.counters["loop tests"] = static_cast<double>(plain_tests) / line_count;
    state.counters["our tests"] = static_cast<double>(our_tests) / line_count;
    state.counters["tests loop/ours"] =
        static_cast<double>(plain_tests) / static_cast<double>(our_tests);
}
BENCHMARK(closest_object_on_line)->ArgName("nodes")->Arg(10000)->UseManualTime()->Iterations(5);

static Vector4 corner_of(const Bbox& box, int i, const Matrix4& m) {
    return Vector4(box[i & 1].x, box[i >> 1 & 1].y, box[i >> 2 & 1].z, 1) * m;
}

static bool is_visible_plainly(const Bbox& box, const Matrix4& m) {
    bool is_beyond[6] = {true, true, true, true, true, true};
    for (int i = 0; i < 8; ++i) {
        const Vector4 c = corner_of(box, i, m);
        for (int axis = 0; axis < 3; ++axis) {
            is_beyond[2 * axis] &= c[axis] < -c.w;
            is_beyond[2 * axis + 1] &= c[axis] > c.w;
        }
    }
    return std::none_of(is_beyond, is_beyond + 6, [](bool b) { return b; });
}

static float coverage_plainly(const Bbox& box, const Matrix4& m) {
    float low[2] = {FLT_MAX, FLT_MAX}, high[2] = {-FLT_MAX, -FLT_MAX};
    for (int i = 0; i < 8; ++i) {
        const Vector4 c = corner_of(box, i, m);
        for (int axis = 0; axis < 2 && c.w != 0; ++axis) {
            low[axis] = std::min(low[axis], c[axis] / c.w);
            high[axis] = std::max(high[axis], c[axis] / c.w);
        }
    }
    return (high[0] - low[0]) * 0.25f * (high[1] - low[1]);
}

// `ask` and `ask_plainly` answer one node each; what they answer is counted.
template<class Ask, class Ask_Plainly>
static void ask_all(benchmark::State& state, Ask ask, Ask_Plainly ask_plainly) {
    const Balls balls(state.range(0));
    auto* const eye = new WDB_Camera("eye", HFrame(Frame::translation(0, 0, 2000)),
                                     Matrix4::perspective(1, 1, 20000), nullptr, nullptr);
    balls.world->put(eye);
    std::size_t allocated = 0;
    const auto plainly = [&] {
        const Matrix4 view = eye->get_viewing_x_render_projection();
        std::uint64_t count = 0;
        for (const WDB_Node* const node : balls.nodes)
            count += ask_plainly(node->get_bbox(), node->get_transform() * view);
        return count;
    };
    std::uint64_t yes = 0;
    const auto by_camera = [&] {
        const std::size_t before = GC_get_total_bytes();
        std::uint64_t count = 0;
        for (const WDB_Node* const node : balls.nodes) count += ask(eye, node);
        allocated = GC_get_total_bytes() - before;
        return yes = count;
    };
    side_by_side(state, state.range(0), {{"plain", plainly}}, {"ours", by_camera});
    state.counters["yes"] = static_cast<double>(yes);
    state.counters["allocated"] = static_cast<double>(allocated);
}

static void is_visible(benchmark::State& state) {
    ask_all(
        state, [](WDB_Camera* eye, const WDB_Node* node) { return eye->is_visible(node); },
        is_visible_plainly);
}
static void coverage(benchmark::State& state) {
    static const float a_few_pixels = 1e-4f;
    ask_all(
        state,
        [](WDB_Camera* eye, const WDB_Node* node) { return eye->coverage(node) > a_few_pixels; },
        [](const Bbox& box, const Matrix4& m) { return coverage_plainly(box, m) > a_few_pixels; });
}
BENCHMARK(is_visible)->ArgName("nodes")->Arg(100000)->UseManualTime()->Iterations(20);
BENCHMARK(coverage)->ArgName("nodes")->Arg(100000)->UseManualTime()->Iterations(20);
