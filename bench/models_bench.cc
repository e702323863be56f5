// A model on its way into a world, beside the time in which assimp alone reads it.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include "bench/side_by_side.h"
#include "std/Std_Messager.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Tri_List.h"
#include "wdb/wdb_load.h"

namespace {
// Tells nothing: a load says how far it has come.
class Silence : public Std_Messager {
    STD_OBJ_CLASS(Silence, Std_Messager)
    Silence() : Std_Messager(1, 0) {}
    void refresh(const char*) override {}
};
} // namespace

// A waved field of squares, two triangles each, with a normal at each corner.
static std::string write_obj(int side) {
    std::string path = std::filesystem::temp_directory_path() / "nolt_models_bench.obj";
    std::FILE* const out = std::fopen(path.c_str(), "w");
    const double step = 0.01;
    for (int i = 0; i < side * side; ++i) {
        const double x = i % side * step, y = i / side * step;
        std::fprintf(out, "v %.6f %.6f %.6f\n", x, y, std::sin(3 * x) * std::cos(2 * y));
    }
    for (int i = 0; i < side * side; ++i) {
        const double x = i % side * step, y = i / side * step;
        const double u = -3 * std::cos(3 * x) * std::cos(2 * y),
                     v = 2 * std::sin(3 * x) * std::sin(2 * y),
                     length = std::sqrt(u * u + v * v + 1);
        std::fprintf(out, "vn %.6f %.6f %.6f\n", u / length, v / length, 1 / length);
    }
    for (int y = 1; y < side; ++y)
        for (int x = 1; x < side; ++x) {
            const int a = (y - 1) * side + x, b = a + 1, c = a + side, d = c + 1;
            std::fprintf(out, "f %d//%d %d//%d %d//%d\nf %d//%d %d//%d %d//%d\n", a, a, b, b, d, d,
                         a, a, d, d, c, c);
        }
    std::fclose(out);
    return path;
}

static std::uint64_t read_by_assimp(const std::string& path) {
    Assimp::Importer importer;
    const aiScene* const scene = importer.ReadFile(path, aiProcess_Triangulate);
    std::uint64_t triangles = 0;
    for (unsigned i = 0; scene && i < scene->mNumMeshes; ++i)
        triangles += scene->mMeshes[i]->mNumFaces;
    return triangles;
}

static std::uint64_t load(const std::string& path) {
    std::uint64_t triangles = 0;
    const WDB_Database* const world = wdb_load(path.c_str(), nullptr);
    if (!world) return 0;
    world->for_each_shape([&](const WDB_Node& node, const Bbox&) {
        const auto* const list = WDB_Tri_List::const_castdown(node.get_geometry());
        triangles += list ? static_cast<std::uint64_t>(list->count()) : 0;
    });
    return triangles;
}

// The answer of a fresh process: memory that an earlier round has left would be no time.
template<class Run>
static std::uint64_t in_child(Run run) {
    int ends[2];
    std::uint64_t answer = 0;
    if (pipe(ends) != 0) return 0;
    const pid_t child = fork();
    if (child == 0) {
        answer = run();
        _exit(write(ends[1], &answer, sizeof answer) == sizeof answer ? 0 : 1);
    }
    close(ends[1]);
    if (read(ends[0], &answer, sizeof answer) != sizeof answer) answer = 0;
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return answer;
}

static void load_obj(benchmark::State& state) {
    const auto side = static_cast<int>(state.range(0));
    const std::string path = write_obj(side);
    // The converter is that of this build.
    const std::string folder = NOLT_TOOLS_FOLDER ":";
    setenv("PATH", (folder + std::getenv("PATH")).c_str(), 1);
    std_set_current_messager(new Silence);
    side_by_side(state, 2 * std::int64_t{side - 1} * (side - 1),
                 {{"assimp", [&] { return in_child([&] { return read_by_assimp(path); }); }}},
                 {"wdb_load", [&] { return in_child([&] { return load(path); }); }});
    unlink(path.c_str());
}

BENCHMARK(load_obj)->ArgName("side")->Arg(40)->Arg(388)->UseManualTime();
