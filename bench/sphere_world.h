// The tool's own generator, for programs that time it: its source with main renamed.
#ifndef BENCH_SPHERE_WORLD_H
#define BENCH_SPHERE_WORLD_H

#define main nolt_sphere_world_main
#include "tools/nolt_sphere_world.cc"
#undef main

#include "std/Std_Messager.h"

// A messager that shows nothing.
class Silent_Messager : public Std_Messager {
    STD_OBJ_CLASS(Silent_Messager, Std_Messager)
    Silent_Messager() : Std_Messager(1, 256) {}
    void refresh_after_updating_history() override {}
};

// The meshes and materials of the tool's parameters, without its lines on the standard output,
// which holds the table.
inline void initialize_quietly() {
    std::FILE* const table = stdout;
    stdout = std::fopen("/dev/null", "w");
    initialize_materials(n_materials);
    initialize_lod(n_lod, n_tess);
    std::fclose(stdout);
    stdout = table;
}

// The world of "-t tess -s spheres", and of the defaults otherwise.
inline void fill_sphere_world(WDB_Database& world, int tess, int spheres) {
    n_tess = tess;
    n_spheres = spheres;
    lods.wipe_out();
    materials.wipe_out();
    initialize_quietly();
    place_spheres(world);
}

#endif
