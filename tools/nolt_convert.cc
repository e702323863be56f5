// Converts whatever loads to the format that the name of the result tells.
//
//     nolt_convert town.wrl town.glb
//     nolt_convert -instances town.wrl town.glb
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_Line.h"
#include "tools/Load_Messager.h"
#include "tools/Mesh_Export.h"
#include "tools/One_File.h"
#include "tools/Tool_Answers.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Load_Report.h"
#include "wdb/wdb_load.h"
#include "wdb/wdb_save.h"
#include "wdb/wdb_save_glb.h"

static int fail(const char* message, int status = 1) {
    std_write_line("nolt_convert: ", message);
    return status;
}

// The status of the command. What is lost is told on the way.
static int save(WDB_Database& world, const char* path, const WDB_Glb_Options& glb) {
    if (is_mesh_file(path)) {
        Mesh_Losses lost;
        if (const char* const reason = mesh_export(world, path, &lost))
            return fail(str_format("cannot write %.300s: %.150s", path, reason));
        const auto tell = [](int count, const char* what) {
            if (count > 0)
                std_write_line("nolt_convert: ", str_format("left out %d %s", count, what));
        };
        tell(lost.nodes, "lines, cameras and lights");
        tell(lost.triangles, "triangles with a number that is infinite or none");
        return 0;
    }
    const int result = path_ends_in(path, ".glb") ? wdb_save_glb(world, path, glb)
                                                  : wdb_save(world, path, {.is_complete = true});
    return result == EOF ? 1 : 0;
}

int main(int argc, char** argv) {
    // A file that may not grow is an error to report, not a signal.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std_take_standard_descriptors();

    const int wrong_usage = 2;
    static const char usage[] = "usage: nolt_convert SCENE RESULT.{3d,glb,obj,ply,stl}\n"
                                "       nolt_convert -instances SCENE RESULT.glb";
    if (tool_answers(argc, argv, usage)) return 0;
    const WDB_Glb_Options glb = {.has_instances =
                                     argc == 4 && std::string_view(argv[1]) == "-instances"};
    const int first = glb.has_instances ? 2 : 1;
    if (argc != first + 2 || argv[first][0] == '\0') return fail(usage, wrong_usage);
    const char *const scene = argv[first], *const result = argv[first + 1];
    const bool is_glb = path_ends_in(result, ".glb");
    const bool is_other = path_ends_in(result, ".3d") || is_mesh_file(result);
    if (!is_glb && (!is_other || glb.has_instances)) return fail(usage, wrong_usage);
    if (are_one_file(scene, result)) return fail("the result would take the place of the scene");
    std_set_current_messager(new Load_Messager);
    WDB_Load_Report report;
    WDB_Database* const world = wdb_load(scene, nullptr, report);
    if (!world) return fail(str_format("cannot read %.400s", scene));
    const int status = save(*world, result, glb);
    if (status != 0) return status;
    if (report.errors == 0) return 0;
    return fail(str_format("%d errors in %.300s: the rest was converted", report.errors, scene));
}
