// Runs the answers of docs/how-do-i.md, each with a world of its own, in an empty folder.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "images/PX_Map.h"
#include "math/Viewer_Moves.h"
#include "std/Std_Common.h"
#include "std/Std_Dead_List.h"
#include "std/Std_Messager.h"
#include "std/Std_Weak.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Listener.h"
#include "wdb/WDB_Load_Report.h"
#include "wdb/WDB_Lod_View.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Mesh_Arrays.h"
#include "wdb/WDB_Pick.h"
#include "wdb/WDB_Texture.h"
#include "wdb/WDB_Tri_List.h"
#include "wdb/WDB_Vertex_Layout.h"
#include "wdb/wdb_load.h"
#include "wdb/wdb_save.h"
#include "wdb/wdb_save_glb.h"

#include "how_do_i_answers.inc"

static const char garden[] = "trianglelist blade {\n triangle p -1 -1 0 1 -1 0 0 1 0\n}\n"
                             "node grass {\n frame t 3 0 0\n geometry blade\n}\n"
                             "camera eye {\n perspective 45 1 1 100\n}\n";

static bool make_files() {
    std::FILE* const scene = std::fopen("garden.3d", "w");
    if (!scene || std::fputs(garden, scene) < 0 || std::fclose(scene) != 0) return false;
    PX_Map picture(8, 4, 3);
    return picture.save("bark.rgb");
}

int main() {
    char folder[] = "/tmp/nolt_answersXXXXXX";
    if (!mkdtemp(folder) || chdir(folder) != 0 || !make_files()) return 1;
    for (const auto& [question, answer] : answers) {
        std::printf("%s\n", question);
        WDB_Database* const world = wdb_load("garden.3d", nullptr);
        WDB_Camera* const eye = world->find_camera("eye");
        eye->lookat(*world, false);
        answer(world, eye);
    }
    for (const char* name : {"garden.3d", "bark.rgb", "saved.3d", "garden.glb"}) std::remove(name);
    if (chdir("/") == 0 && rmdir(folder) == 0) std::printf("and nothing else was left behind\n");
}
