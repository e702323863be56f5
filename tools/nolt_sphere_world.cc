// nolt_sphere_world: draws a reproducible random world of spheres and writes it as a scene file.
//
//     nolt_sphere_world -s 200 -o spheres.3d
//
//     -t n  tessellation of the finest mesh (16)      -l n  levels of detail (3)
//     -m n  materials (10)                            -w x  width of the cube of centres (1000)
//     -s n  spheres (100)                             -o f  scene file ("sphere_world.3d")
//
// The same options give the same world: see tools/Sphere_World.h.

#include <csignal>
#include <cstdio>
#include <cstring>
#include <unistd.h>

#include "std/Std_Assert.h"
#include "std/Std_Descriptor.h"
#include "tools/Sphere_World.h"
#include "tools/Tool_Answers.h"
#include "wdb/WDB_Database.h"
#include "wdb/wdb_save.h"

static const char* output_name = "sphere_world.3d";

// Text that begins with no number leaves the variable as it is, without a word; only an argument
// without any text is worth a warning.
static void scan_option(const char* format, void* variable, const char* complaint) {
    if (sscanf(optarg, format, variable) == EOF) std_assert(2, complaint, __FILE__, __LINE__);
}

static void retrieve_arguments(int argc, char** argv, Sphere_World& spheres) {
    int option;
    while ((option = getopt(argc, argv, "t:m:s:l:w:o:")) != -1) {
        switch (option) {
        case 't':
            scan_option("%d", &spheres.n_tess, "Invalid Tesselation Value");
            break;
        case 'm':
            scan_option("%d", &spheres.n_materials, "Invalid Material Count");
            break;
        case 'l':
            scan_option("%d", &spheres.n_lod, "Invalid LOD Count");
            break;
        case 's':
            scan_option("%d", &spheres.n_spheres, "Invalid Sphere Count");
            break;
        case 'w':
            scan_option("%f", &spheres.cube_width, "Invalid World Size");
            break;
        case 'o':
            output_name = strdup(optarg);
            break;
        default:
            break; // getopt has said what is wrong
        }
    }
}

int main(int argc, char** argv) {
    // Anything else makes a world, and takes the place of the old file.
    if (tool_answers(argc, argv,
                     "usage: nolt_sphere_world [-t N] [-l N] [-m N] [-s N] [-w X] [-o FILE]"))
        return 0;
    // Whoever reads our lines may go away, and the file they go to may be full: ours is to be
    // complete all the same.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std_take_standard_descriptors();
    // In a file the lines stand in the order of a terminal, between those of the other stream.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    WDB_Database world;
    Sphere_World spheres;
    retrieve_arguments(argc, argv, spheres);
    spheres.check_parameters();
    spheres.make_room();
    spheres.initialize_materials(spheres.n_materials);
    spheres.initialize_lod(spheres.n_lod, spheres.n_tess);
    spheres.place_spheres(world);
    wdb_save(world, output_name);
    return 0;
}
