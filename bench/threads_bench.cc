// The same work twice, some tenths of a second each since a thread takes milliseconds to start, one
// after the other and by two threads at once: on two cores at least, the ratio is what the second
// thread is worth. Each has files and objects of its own, but for the questions to one world.
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <unistd.h>

#include "bench/side_by_side.h"
#include "images/PX_Map.h"
#include "std/Std_Messager.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Tri_List.h"
#include "wdb/wdb_load.h"
#include "wdb/wdb_save.h"

namespace {

class Silence : public Std_Messager {
    STD_OBJ_CLASS(Silence, Std_Messager)
    Silence() : Std_Messager(1, 1) {}
    void refresh(const char*) override {}
};

// work(0) and work(1) answer checksums.
void twice(benchmark::State& state, std::function<std::uint64_t(int)> work) {
    static Silence silence;
    std_set_current_messager(&silence);
    const auto at_once = [work] {
        std::uint64_t other = 0;
        std::thread thread([&] { other = work(1); });
        const std::uint64_t own = work(0);
        thread.join();
        return own + other;
    };
    side_by_side(state, 1, {{"one", [work] { return work(0) + work(1); }}}, {"two", at_once});
}

std::string path_of(int which, const char* suffix) {
    return "/tmp/nolt_bench_" + std::to_string(getpid()) + "_" + std::to_string(which) + suffix;
}

// Squares side by side, in rows of a hundred, each with as many triangles.
WDB_Database* new_world(int nodes, int triangles) {
    auto* const world = new WDB_Database;
    auto* const list = new WDB_Tri_List(triangles);
    for (int i = 0; i < triangles; ++i) {
        const float x = float(i) / float(triangles);
        list->put(WDB_Triangle(Point(x, 0, 0), Point(1, x, 0), Point(0, 1, x)), i);
    }
    list->end_editing();
    for (int i = 0; i < nodes; ++i) {
        const Frame place = Frame::translation(float(i % 100), float(i / 100), 0);
        world->put(new WDB_Node("square", HFrame(place), list, nullptr, nullptr));
    }
    return world;
}

void load(benchmark::State& state) {
    const auto nodes = static_cast<int>(state.range(0)),
               triangles = static_cast<int>(state.range(1));
    for (int which : {0, 1}) wdb_save(*new_world(nodes, triangles), path_of(which, ".3d").c_str());
    twice(state, [](int which) {
        return std::uint64_t(wdb_load(path_of(which, ".3d").c_str(), nullptr)->shape_count());
    });
    for (int which : {0, 1}) std::remove(path_of(which, ".3d").c_str());
}
BENCHMARK(load)
    ->Args({100000, 1})
    ->Args({1, 300000})
    ->ArgNames({"nodes", "triangles"})
    ->UseManualTime();

void save(benchmark::State& state) {
    WDB_Database* const worlds[] = {new_world(500000, 1), new_world(500000, 1)};
    twice(state, [&](int which) {
        const std::string path = path_of(which, ".3d");
        std::remove(path.c_str()); // a file that is replaced waits for the disk
        return std::uint64_t(wdb_save(*worlds[which], path.c_str()));
    });
    for (int which : {0, 1}) std::remove(path_of(which, ".3d").c_str());
}
BENCHMARK(save)->UseManualTime();

const int size = 1024;

PX_Map* new_picture(int width) {
    auto* const map = new PX_Map(width, size, 3);
    for (int i = 0; i < 3 * width * size; ++i)
        map->get_pixels()[i] = static_cast<unsigned char>(i / 7 * i);
    return map;
}

void images(benchmark::State& state) {
    PX_Map* const maps[] = {new_picture(size), new_picture(size)};
    twice(state, [&](int which) {
        const std::string path = path_of(which, ".rgb");
        std::uint64_t sum = 0;
        for (int i = 0; i < 20; ++i) {
            std::remove(path.c_str());
            maps[which]->save(path.c_str());
            sum += PX_Map(path.c_str(), 0).get_pixels()[12345];
        }
        return sum;
    });
    for (int which : {0, 1}) std::remove(path_of(which, ".rgb").c_str());
}
BENCHMARK(images)->UseManualTime();

void resize(benchmark::State& state) {
    PX_Map* const maps[] = {new_picture(size), new_picture(size)};
    twice(state, [&](int which) {
        std::uint64_t sum = 0;
        for (int i = 0; i < 60; ++i) {
            PX_Map copy(1, 1, 1);
            copy = *maps[which];
            copy.resize(size / 2, size / 2);
            sum += copy.get_pixels()[12345];
        }
        return sum;
    });
}
BENCHMARK(resize)->UseManualTime();

bool count(SUniv* user, const WDB_Node*, const Bbox&) {
    ++*Conv<std::uint64_t*>::from_univ(user);
    return false;
}

void ask_one_world(benchmark::State& state) {
    WDB_Database* const world = new_world(50000, 2);
    world->prepare_queries();
    twice(state, [world](int which) {
        std::uint64_t seen = 0;
        for (int i = 0; i < 40000; ++i) {
            const Point p(float((i * 37 + which) % 100) + .4f, float(i % 400) + .4f, 5);
            world->apply_to_shapes(Conv<std::uint64_t*>::to_univ(&seen),
                                   Bbox(p - Vector(3, 3, 9), p + Vector(3, 3, 9)), count);
            seen += world->closest_object_on_line(p, p - Vector(1, 1, 9), 0, 1, 0, 2) != nullptr;
        }
        return seen;
    });
}
BENCHMARK(ask_one_world)->UseManualTime();

} // namespace
