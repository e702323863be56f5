// Loads a scene, tells what is in it, and saves it again as "again.3d". Without an argument it
// first writes a small scene of its own.
#include <cstdio>

#include "std/Std_URL.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Node.h"
#include "wdb/WDB_Tri_List.h"
#include "wdb/wdb_load.h"
#include "wdb/wdb_save.h"

// In centimetres.
static const char small_scene[] =
    "world garden {\n unit 0.01\n}\n"
    "material leaf {\n diffuse 0.2 0.8 0.3\n}\n"
    "trianglelist blade {\n triangle p 0 0 0  10 0 0  5 80 0\n triangle p 0 0 0  5 80 0  -5 60 "
    "20\n}\n"
    "node grass {\n frame s 2 2 2 r 0 90 0 t 300 0 0\n material leaf\n geometry blade\n}\n"
    "node more_grass {\n frame t -300 0 50\n material leaf\n geometry blade\n url "
    "\"more.html\"\n}\n"
    "camera eye {\n frame t 0 100 500\n perspective 45 1 1 10000\n}\n";

static bool write_small_scene(const char* path) {
    std::FILE* file = std::fopen(path, "w");
    if (!file) return false;
    std::fputs(small_scene, file);
    return std::fclose(file) == 0;
}

// For every node, shapes and others. True would end the walk.
static bool tell(SUniv* user, const WDB_Node* node, const Bbox& box) {
    std::printf("%s %s at (%g, %g, %g)", node->get_dynamic_class_name(), node->get_name(),
                double(box.min.x), double(box.min.y), double(box.min.z));
    if (const WDB_Material* material = node->get_material())
        std::printf(", material %s", material->get_name());
    if (const auto* mesh = WDB_Tri_List::const_castdown(node->get_geometry())) {
        std::printf(", %d triangles", mesh->count());
        *Conv<int*>::from_univ(user) += mesh->count();
    }
    if (const Std_URL* url = node->get_url())
        std::printf(", see %s", url->get_url_string().chars());
    std::printf("\n");
    return false;
}

int main(int argc, char** argv) {
    const char* scene = argc > 1 ? argv[1] : "garden.3d";
    if (argc < 2 && !write_small_scene(scene)) return 1;

    WDB_Database* world = wdb_load(scene, nullptr); // a path or URL, packed or not
    if (!world) return 1;                           // errors inside a scene are only reported

    int triangles = 0;
    world->apply(Conv<int*>::to_univ(&triangles), tell);
    std::printf("%s: %d shapes, %d other nodes, %d triangles\n", world->get_name(),
                world->shape_count(), world->node_count(), triangles);
    return wdb_save(*world, "again.3d");
}
