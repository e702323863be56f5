// The tool's own generator, for programs that time it.
#ifndef BENCH_SPHERE_WORLD_H
#define BENCH_SPHERE_WORLD_H

#include <cstdio>

#include "std/Std_Messager.h"
#include "tools/Sphere_World.h"
#include "wdb/WDB_Database.h"

// A messager that shows nothing.
class Silent_Messager : public Std_Messager {
    STD_OBJ_CLASS(Silent_Messager, Std_Messager)
    Silent_Messager() : Std_Messager(1, 256) {}
    void refresh_after_updating_history() override {}
};

// The meshes and materials of the tool's parameters, without its lines on the standard output,
// which holds the table.
inline void initialize_quietly(Sphere_World& world) {
    std::FILE* const table = stdout;
    stdout = std::fopen("/dev/null", "w");
    world.initialize_materials(world.n_materials);
    world.initialize_lod(world.n_lod, world.n_tess);
    std::fclose(stdout);
    stdout = table;
}

// The world of "-t tess -s spheres", and of the defaults otherwise.
inline void fill_sphere_world(WDB_Database& world, int tess, int spheres) {
    Sphere_World maker;
    maker.n_tess = tess;
    maker.n_spheres = spheres;
    initialize_quietly(maker);
    maker.place_spheres(world);
}

#endif
