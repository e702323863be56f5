// Worlds of many cameras: what a moved shape and a pick cost, against a loop over all cameras for
// each.
#include "wdb/WDB_Database.h"

#include <cstring>
#include <string>

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
BENCHMARK(move_and_look)->ArgName("cameras")->Arg(100)->Arg(10000)->UseManualTime()->Iterations(3);
BENCHMARK(pick)->ArgName("cameras")->Arg(100)->Arg(10000)->UseManualTime()->Iterations(3);
