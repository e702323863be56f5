// Worlds of many cameras: what a moved shape and a pick cost, against a loop over all cameras for
// each. And the walk over what a camera shows of many spheres, against a loop over all nodes that
// asks is_visible; "shown" is how many nodes both meet. And what it costs to move a tenth of all
// nodes to and fro, and to look for the first time at a new world, each with a look at a small part
// of it; against a flat array of boxes.
#include "wdb/WDB_Database.h"

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bench/side_by_side.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Tri_List.h"

namespace {
struct Stage {
    explicit Stage(std::int64_t camera_count) {
        auto* const list = new WDB_Tri_List(1);
        list->put(WDB_Triangle(Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0)), 0);
        list->end_editing();
        shape = new WDB_Node("shape", HFrame::identity(), list, nullptr, nullptr);
        world->put(shape);
        world->default_camera();
        for (std::int64_t i = 0; i < camera_count; ++i) {
            eye = new WDB_Camera(("eye" + std::to_string(i)).c_str(), HFrame::identity(),
                                 Matrix4::perspective(1, 1, 1000), nullptr, nullptr);
            world->put(eye);
        }
    }
    std::uint64_t move_and_look(int step) {
        shape->set_transform(HFrame(Frame::translation(0, 0, static_cast<float>(-step % 64))));
        return static_cast<std::uint64_t>(eye->get_render_projection()[2][2] * 1e6f);
    }
    std::uint64_t pick() {
        const Point p(.1f, .1f, 1), q(.1f, .1f, -1);
        return world->closest_object_on_line(p, q, 0, -1, 0, -10) == shape;
    }
    WDB_Database* world = new WDB_Database;
    WDB_Node* shape;
    WDB_Camera* eye = nullptr;
};

const int rounds = 1000;
} // namespace

template<class Step>
static std::uint64_t sum_of(Step step) {
    std::uint64_t sum = 0;
    for (int i = 0; i < rounds; ++i) sum += step(i);
    return sum;
}

static bool invalidate(SUniv*, const WDB_Node* node, const Bbox&) {
    WDB_Camera::castdown(const_cast<WDB_Node*>(node))->invalidate_render_projection();
    return false;
}

static bool is_default_camera(SUniv*, const WDB_Node* node, const Bbox&) {
    return std::strcmp(node->get_name(), "default_camera") == 0;
}

static void move_and_look(benchmark::State& state) {
    Stage stage(state.range(0));
    const auto plainly = [&](int i) {
        stage.world->apply_to_cameras(nullptr, invalidate);
        return stage.move_and_look(i);
    };
    side_by_side(state, rounds, {{"loop", [&] { return sum_of(plainly); }}},
                 {"ours", [&] { return sum_of([&](int i) { return stage.move_and_look(i); }); }});
}

static void pick(benchmark::State& state) {
    Stage stage(state.range(0));
    const auto plainly = [&](int) {
        stage.world->apply_to_cameras(nullptr, is_default_camera);
        return stage.pick();
    };
    side_by_side(state, rounds, {{"loop", [&] { return sum_of(plainly); }}},
                 {"ours", [&] { return sum_of([&](int) { return stage.pick(); }); }});
}
namespace {
// Of radius 5 in a cube of width 10000, seen from its middle or from where all is in view.
struct Spheres {
    explicit Spheres(std::int64_t count, bool all) {
        auto* const list = new WDB_Tri_List(2);
        list->put(WDB_Triangle(Point(-1, -1, -1), Point(1, -1, 1), Point(0, 1, 0)), 0);
        list->put(WDB_Triangle(Point(-1, 1, 1), Point(1, 1, -1), Point(0, -1, 0)), 1);
        list->end_editing();
        std::mt19937 random(1);
        const auto place = [&] { return static_cast<float>(random() % 10000) - 5000; };
        for (std::int64_t i = 0; i < count; ++i) {
            const float x = place(), y = place();
            const Frame frame = Frame::scaling(5) * Frame::translation(x, y, place());
            nodes.push_back(new WDB_Node("sphere", HFrame(frame), list, nullptr, nullptr));
            world->put(nodes.back());
        }
        eye = new WDB_Camera("eye", HFrame::identity(), Matrix4::perspective(.6f, 1, 1000), nullptr,
                             nullptr);
        world->put(eye);
        if (all) eye->lookat(*world, false);
    }
    WDB_Database* world = new WDB_Database;
    std::vector<WDB_Node*> nodes;
    WDB_Camera* eye;
};
} // namespace

static bool count_shape(SUniv* user, const WDB_Node*, const Bbox&) {
    ++*Conv<std::uint64_t*>::from_univ(user);
    return false;
}

static void shapes_in_view(benchmark::State& state) {
    Spheres stage(state.range(0), state.range(1) != 0);
    const auto loop = [&] {
        std::uint64_t count = 0;
        for (const WDB_Node* node : stage.nodes) count += stage.eye->is_visible(node);
        return count;
    };
    const auto walk = [&] {
        std::uint64_t count = 0;
        stage.world->apply_to_shapes(Conv<std::uint64_t*>::to_univ(&count), stage.eye, 1,
                                     count_shape);
        return count;
    };
    state.counters["shown"] = static_cast<double>(walk());
    side_by_side(state, 1, {{"loop", loop}}, {"walk", walk});
}

namespace {
// Spheres, of which some have two places.
struct Moves {
    Moves(std::int64_t count, std::int64_t distance) : spheres(count, false) {
        std::mt19937 random(2);
        const auto step = [&] {
            return (static_cast<float>(random() % 2001) / 1000 - 1) * static_cast<float>(distance);
        };
        for (const WDB_Node* node : spheres.nodes) boxes.push_back(box_of(node));
        for (std::size_t i = 0; i < boxes.size() / 10; ++i) {
            const std::size_t number = random() % boxes.size();
            const HFrame here = spheres.nodes[number]->get_transform();
            const float x = step(), y = step();
            numbers.push_back(number);
            nodes.push_back(spheres.nodes[number]);
            places[0].push_back(here);
            places[1].push_back(here * HFrame(Frame::translation(x, y, step())));
        }
        spheres.world->prepare_queries();
    }
    static Bbox box_of(const WDB_Node* node) {
        return node->get_bbox().transformed_by(node->get_transform());
    }
    std::uint64_t look() const {
        std::uint64_t count = 0;
        spheres.world->apply_to_shapes(Conv<std::uint64_t*>::to_univ(&count), part, count_shape);
        return count;
    }
    std::uint64_t look_at_array() const {
        std::uint64_t count = 0;
        for (const Bbox& box : boxes) count += box.is_overlapping(part);
        return count;
    }
    Spheres spheres;
    std::vector<std::size_t> numbers;
    std::vector<WDB_Node*> nodes;
    std::vector<HFrame> places[2];
    std::vector<Bbox> boxes; // the flat array
    const Bbox part = Bbox(Point(-100, -100, -100), Point(100, 100, 100));
};
} // namespace

static void move_a_tenth(benchmark::State& state) {
    Moves stage(state.range(0), state.range(1)), other(state.range(0), state.range(1));
    int at[3] = {};
    const auto next = [&](int side) -> const std::vector<HFrame>& {
        return stage.places[at[side] ^= 1];
    };
    const auto array = [&] {
        const auto& places = next(0);
        for (std::size_t i = 0; i < places.size(); ++i)
            stage.boxes[stage.numbers[i]] = stage.nodes[i]->get_bbox().transformed_by(places[i]);
        return stage.look_at_array();
    };
    const auto ours = [&] {
        const auto& places = next(1);
        for (std::size_t i = 0; i < places.size(); ++i) stage.nodes[i]->set_transform(places[i]);
        return stage.look();
    };
    const auto at_once = [&] {
        const auto& places = next(2);
        other.spheres.world->set_transforms(other.nodes.data(), places.data(),
                                            static_cast<int>(places.size()));
        return other.look();
    };
    side_by_side(state, static_cast<std::int64_t>(stage.nodes.size()),
                 {{"array", array}, {"one by one", ours}}, {"ours", at_once});
}

static void first_look(benchmark::State& state) {
    Moves stage(state.range(0), 0);
    const auto array = [&] {
        stage.boxes.clear();
        for (const WDB_Node* node : stage.spheres.nodes) stage.boxes.push_back(Moves::box_of(node));
        return stage.look_at_array();
    };
    const auto build = [&] {
        stage.spheres.world->wipe_out();
        for (WDB_Node* node : stage.spheres.nodes) stage.spheres.world->put(node);
    };
    side_by_side(state, 1, {{"array", array}}, {"look", [&] { return stage.look(); }, build});
}

BENCHMARK(move_a_tenth)
    ->ArgNames({"spheres", "distance"})
    ->Args({100000, 10})
    ->Args({100000, 5000})
    ->UseManualTime()
    ->Iterations(10);
BENCHMARK(first_look)->ArgName("spheres")->Arg(100000)->UseManualTime()->Iterations(10);
BENCHMARK(shapes_in_view)
    ->ArgNames({"spheres", "all"})
    ->Args({100000, 0})
    ->Args({100000, 1})
    ->UseManualTime()
    ->Iterations(20);
BENCHMARK(move_and_look)->ArgName("cameras")->Arg(100)->Arg(10000)->UseManualTime()->Iterations(3);
BENCHMARK(pick)->ArgName("cameras")->Arg(100)->Arg(10000)->UseManualTime()->Iterations(3);
