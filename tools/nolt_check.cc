// nolt_check: loads scenes and tells what is in them, for those who make scenes and for scripts.
//
//     nolt_check garden.3d http://host/town.3d.gz
//
// The table goes to the standard output, what is wrong to the standard error stream. The status is
// 1 if anything was. With -q there is no table.
#include <cstdio>
#include <sys/resource.h>
#include <unistd.h>

#include "base/Hash_Set.h"
#include "std/Std_Common.h"
#include "std/Std_Line.h"
#include "tools/Load_Messager.h"
#include "tools/Tool_Answers.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Line_List.h"
#include "wdb/WDB_Load_Report.h"
#include "wdb/WDB_Tri_List.h"
#include "wdb/wdb_load.h"

namespace {
// What a walk over all nodes finds.
struct Contents {
    long nodes = 0, shapes = 0;
    long triangles = 0, lines = 0; // of the finest levels, as often as they are placed
    Hash_Set<const WDB_Geometry*> geometries;
    Hash_Set<const WDB_Material*> materials;
    Hash_Set<const WDB_Texture*> textures;
};
} // namespace

static bool add_node(SUniv* user, const WDB_Node* node, const Bbox&) {
    Contents& contents = *Conv<Contents*>::from_univ(user);
    const WDB_Geometry* const finest = node->get_geometry();
    ++contents.nodes;
    if (finest) ++contents.shapes;
    if (const auto* list = WDB_Tri_List::const_castdown(finest))
        contents.triangles += list->count();
    if (const auto* list = WDB_Line_List::const_castdown(finest)) contents.lines += list->count();
    for (int i = 0; i < node->lod_count(); ++i) contents.geometries.put(node->lod_item(i));
    if (node->get_material()) contents.materials.put(node->get_material());
    if (node->get_texture()) contents.textures.put(node->get_texture());
    return false;
}

// The most that the process has held so far.
static double peak_megabytes() {
    const double kilobytes_in_one = 1024;
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / kilobytes_in_one;
}

static void print_count(const char* what, long count) {
    std::printf("  %-10s %ld\n", what, count);
}

static void print_contents(const WDB_Database& world) {
    Contents contents;
    world.apply(Conv<Contents*>::to_univ(&contents), add_node);
    print_count("nodes", contents.nodes);
    print_count("shapes", contents.shapes);
    print_count("outside", world.shape_count() - contents.shapes);
    print_count("geometries", contents.geometries.count());
    print_count("triangles", contents.triangles);
    print_count("lines", contents.lines);
    print_count("cameras", world.camera_count());
    print_count("lights", world.light_count());
    print_count("materials", contents.materials.count());
    print_count("textures", contents.textures.count());
    const Bbox box = world.get_bbox();
    std::printf("  %-10s %g %g %g  %g %g %g\n", "bounds", static_cast<double>(box.min.x),
                static_cast<double>(box.min.y), static_cast<double>(box.min.z),
                static_cast<double>(box.max.x), static_cast<double>(box.max.y),
                static_cast<double>(box.max.z));
}

// True if there is nothing wrong with the scene.
static bool check(const char* scene, bool is_quiet) {
    const double start = std_seconds_now();
    WDB_Load_Report report;
    const WDB_Database* const world = wdb_load(scene, nullptr, report);
    const double seconds = std_seconds_now() - start;
    if (is_quiet) return report.errors == 0;
    std::printf("%s\n", std_harmless(scene));
    if (world) print_contents(*world);
    print_count("imports", report.imports);
    print_count("errors", report.errors);
    print_count("warnings", report.warnings);
    print_count("notes", report.notes);
    std::printf("  %-10s %.3f s\n", "time", seconds);
    std::printf("  %-10s %.1f MB\n", "memory", peak_megabytes());
    std::fflush(stdout); // a later scene may end the process
    return report.errors == 0;
}

int main(int argc, char** argv) {
    const int wrong_usage = 2;
    static const char usage[] = "usage: nolt_check [-q] scene...";
    if (tool_answers(argc, argv, usage)) return 0;
    bool is_quiet = false, is_right = true;
    for (int option; (option = getopt(argc, argv, "q")) != -1;)
        (option == 'q' ? is_quiet : is_right) = option == 'q'; // getopt says what is wrong
    if (!is_right || optind == argc) {
        std::fprintf(stderr, "%s\n", usage);
        return wrong_usage;
    }
    if (is_quiet) std_set_current_messager(new Load_Messager);
    bool all_good = true;
    for (int i = optind; i < argc; ++i)
        if (!check(argv[i], is_quiet)) all_good = false;
    return all_good && !std::ferror(stdout) ? 0 : 1;
}
