// wdb_save against the same writer on plain fprintf, for a world of many triangles and one of many
// nodes. Both write real files; a row counts only if the files are equal byte for byte.
#include "wdb/wdb_save.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "bench/plain_save.h"
#include "bench/side_by_side.h"
#include "bench/sphere_world.h"

// Removes its file at the end.
struct Scratch_File {
    std::string path;

    explicit Scratch_File(const char* name)
        : path(std::filesystem::temp_directory_path() / (std::to_string(getpid()) + name)) {}
    ~Scratch_File() { std::filesystem::remove(path); }
};

// One operation is one triangle, or one node, of the file.
static void save_world(benchmark::State& state, int tess, int spheres, int operations) {
    std_set_current_messager(new Silent_Messager);
    WDB_Database world;
    fill_sphere_world(world, tess, spheres);
    const Scratch_File ours_to("ours.3d"), plain_to("plain.3d");
    const auto ours = [&] {
        wdb_save(world, ours_to.path.c_str());
        return std::filesystem::file_size(ours_to.path);
    };
    const auto by_fprintf = [&] {
        plain::save(world, plain_to.path.c_str(), ours_to.path.c_str());
        return std::filesystem::file_size(plain_to.path);
    };
    state.counters["bytes"] = static_cast<double>(ours());
    by_fprintf();
    if (!are_equal(ours_to.path, plain_to.path)) state.SkipWithError("the files differ");
    side_by_side(state, operations, {{"fprintf", by_fprintf}}, {"wdb_save", ours});
}

static void many_triangles(benchmark::State& state) {
    save_world(state, 256, 100, 130560 + 65884 + 60);
}
BENCHMARK(many_triangles)->Iterations(9)->UseManualTime()->Unit(benchmark::kMillisecond);

static void many_nodes(benchmark::State& state) {
    save_world(state, 16, 100000, 100000);
}
BENCHMARK(many_nodes)->Iterations(9)->UseManualTime()->Unit(benchmark::kMillisecond);
