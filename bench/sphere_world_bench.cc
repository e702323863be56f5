// The whole tool as the number of spheres grows: seconds for meshes, placing, filing and writing,
// and the peak of memory. Each size runs in a process of its own, so that its peak is its own.
//
//     sphere_world_bench [spheres...]          // 10000, 100000 and 1000000 if none are given
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bench/sphere_world.h"

static double seconds_now() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

static double peak_megabytes() {
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

// The steps of the tool, each for all spheres at once, so that it can be timed by itself.
static void run_tool(int spheres, const char* path) {
    std_set_current_messager(new Silent_Messager);
    n_spheres = spheres;
    WDB_Database world;
    const double start = seconds_now();
    check_parameters();
    initialize_quietly();
    const double meshes = seconds_now();
    Gap_List<WDB_Node*> nodes;
    const double per_edge = spheres_per_edge();
    for (int i = 0; i < spheres; ++i) nodes.insert_last(draw_sphere(per_edge));
    const double placed = seconds_now();
    for (int i = 0; i < spheres; ++i) world.put(nodes[i]);
    const double filed = seconds_now();
    const int result = wdb_save(world, path);
    const double written = seconds_now();
    printf("| %d | %.3f s | %.3f s | %.3f s | %.3f s | %.2f us | %.0f MB |%s\n", spheres,
           meshes - start, placed - meshes, filed - placed, written - filed,
           (written - start) * 1e6 / spheres, peak_megabytes(), result == 0 ? "" : " NOT WRITTEN");
    fflush(stdout);
}

int main(int argc, char** argv) {
    const int usual[] = {10000, 100000, 1000000};
    const int count = argc > 1 ? argc - 1 : 3;
    puts("| spheres | meshes | placing | filing | writing | each | peak memory |\n"
         "|---|---|---|---|---|---|---|");
    fflush(stdout);
    for (int i = 0; i < count; ++i) {
        const int spheres = argc > 1 ? atoi(argv[i + 1]) : usual[i];
        const pid_t child = fork();
        if (child == 0) {
            std::string path = std::filesystem::temp_directory_path() / "sphere_world_XXXXXX";
            close(mkstemp(path.data()));
            run_tool(spheres, path.c_str());
            unlink(path.c_str());
            _exit(0);
        }
        waitpid(child, nullptr, 0);
    }
}
