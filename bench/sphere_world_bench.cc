// The whole tool as the number of spheres grows: seconds for meshes, placing, filing and writing,
// against the same steps done plainly (the tree of cells as it is defined, fprintf), and the peak
// of memory. Each world is built in a process of its own, so that its peak is its own; both ways
// take turns, the best round of each counts, and their files must be equal. No file is there
// before: ours brings one that replaces another to the disk first, which takes as long as the disk
// does.
//
//     sphere_world_bench [spheres...]          // 10000, 100000 and 1000000 if none are given
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <type_traits>
#include <unistd.h>

#include "bench/machine.h"
#include "bench/plain_save.h"
#include "bench/sphere_world.h"
#include "tests/math/plain_tree.h"
#include "wdb/WDB_Node.h"
#include "wdb/wdb_save.h"

static double seconds_now() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

// Seconds for each step, and bytes.
struct Figures {
    double meshes, placing, filing, writing, peak;

    double all() const { return meshes + placing + filing + writing; }
};

// The world of shapes with what defines its order, and nothing else.
class Plain_World {
public:
    void put(WDB_Node* node) {
        shapes_.put(Conv<WDB_Node*>::to_univ(node),
                    node->get_bbox().transformed_by(node->get_transform()));
    }
    void apply_to_nodes(SUniv*, WDB_Apply_Callback) const {}
    void apply_to_shapes(SUniv*, WDB_Apply_Callback callback) const {
        shapes_.apply(Conv<const WDB_Apply_Callback*>::to_univ(&callback), visit);
    }

private:
    static bool visit(SUniv* callback, SUniv* item, const Bbox& box) {
        return (*Conv<const WDB_Apply_Callback*>::from_univ(callback))(
            nullptr, Conv<WDB_Node*>::from_univ(item), box);
    }

    Plain_Tree shapes_{2, 16, 4, Bbox(Point(-10000, -10000, -10000), Point(10000, 10000, 10000))};
};

static int save(WDB_Database& world, const char* path, const char*) {
    return wdb_save(world, path);
}
static int save(Plain_World& world, const char* path, const char* name) {
    return plain::save(world, path, name);
}

// The steps of the tool, each for all spheres at once, so that it can be timed by itself. The file
// says that its name is `name`.
template<class World>
static Figures run_tool(int spheres, const char* path, const char* name) {
    std_set_current_messager(new Silent_Messager);
    Sphere_World maker;
    maker.n_spheres = spheres;
    World world;
    const double start = seconds_now();
    maker.check_parameters();
    if (std::is_same_v<World, WDB_Database>) maker.make_room();
    initialize_quietly(maker);
    const double meshes = seconds_now();
    Gap_List<WDB_Node*> nodes;
    const double per_edge = maker.spheres_per_edge();
    for (int i = 0; i < spheres; ++i) nodes.insert_last(maker.draw_sphere(per_edge));
    const double placed = seconds_now();
    for (int i = 0; i < spheres; ++i) world.put(nodes[i]);
    const double filed = seconds_now();
    if (save(world, path, name) != 0) _exit(1);
    const double written = seconds_now();
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return {meshes - start, placed - meshes, filed - placed, written - filed,
            static_cast<double>(usage.ru_maxrss) * 1024};
}

// In a process of its own.
template<class World>
static Figures run_aside(int spheres, const std::string& path, const std::string& name) {
    int ends[2];
    Figures figures = {};
    if (pipe(ends) != 0) exit(1);
    const pid_t child = fork();
    if (child == 0) {
        figures = run_tool<World>(spheres, path.c_str(), name.c_str());
        _exit(write(ends[1], &figures, sizeof figures) == sizeof figures ? 0 : 1);
    }
    close(ends[1]);
    if (read(ends[0], &figures, sizeof figures) != sizeof figures) exit(1);
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return figures;
}

static void print_row(int spheres) {
    const int rounds = 5;
    std::string folder = std::filesystem::temp_directory_path() / "sphere_world_XXXXXX";
    if (!mkdtemp(folder.data())) exit(1);
    const std::string ours_to = folder + "/ours.3d", plain_to = folder + "/plain.3d";
    const double without_spheres = run_aside<WDB_Database>(0, ours_to, ours_to).peak;
    Figures ours = {}, plain = {};
    for (int i = 0; i < rounds; ++i) {
        for (const std::string& file : {ours_to, plain_to}) std::filesystem::remove(file);
        const Figures a = run_aside<Plain_World>(spheres, plain_to, ours_to);
        const Figures b = run_aside<WDB_Database>(spheres, ours_to, ours_to);
        if (i == 0 || a.all() < plain.all()) plain = a;
        if (i == 0 || b.all() < ours.all()) ours = b;
    }
    const char* const verdict = are_equal(ours_to, plain_to) ? "" : " the files differ";
    std::filesystem::remove_all(folder);
    printf("| %d | %.3f s | %.3f s | %.3f s | %.3f s | %.2f us | %.2f us | %.3g | %.0f MB | %.0f B "
           "|%s\n",
           spheres, ours.meshes, ours.placing, ours.filing, ours.writing,
           ours.all() * 1e6 / spheres, plain.all() * 1e6 / spheres, plain.all() / ours.all(),
           ours.peak / (1 << 20), (ours.peak - without_spheres) / spheres, verdict);
    fflush(stdout);
}

int main(int argc, char** argv) {
    const int usual[] = {10000, 100000, 1000000};
    const int count = argc > 1 ? argc - 1 : 3;
    printf("%s\n\n", machine_line().c_str());
    puts("| spheres | meshes | placing | filing | writing | each | each, plainly | plain / ours "
         "| peak memory | each |\n|---|---|---|---|---|---|---|---|---|---|");
    fflush(stdout);
    for (int i = 0; i < count; ++i) print_row(argc > 1 ? atoi(argv[i + 1]) : usual[i]);
}
