// A reproducible random world of spheres.
//
//     Sphere_World spheres;
//     spheres.n_spheres = 200;
//     spheres.check_parameters();
//     spheres.initialize_materials(spheres.n_materials);
//     spheres.initialize_lod(spheres.n_lod, spheres.n_tess);
//     spheres.place_spheres(world);
//
// The same parameters give the same world: the generator of random numbers, drand48, is never
// seeded, and the order of its draws is fixed, three for each material and then five for each
// sphere. So one process makes one such world that others can make again.
#ifndef TOOLS_SPHERE_WORLD_H
#define TOOLS_SPHERE_WORLD_H

#include "base/Gap_List.h"
#include "math/Geometry.h"

class WDB_Database;
class WDB_Material;
class WDB_Node;
class WDB_Tri_List;

class Sphere_World {
public:
    int n_tess = 16; // of the finest mesh
    int n_materials = 10;
    int n_spheres = 100;
    int n_lod = 3;
    float cube_width = 1000.0f; // of the cube in which the centres lie

    // Ends the process with a fatal report if the world cannot be built: a mesh is too large, or
    // there is too little memory.
    void check_parameters() const;

    // Takes address space for the world, so that no collection comes while it is built.
    void make_room() const;

    // Make what the spheres share. Each mesh is told on the standard output.
    void initialize_materials(int count);
    void initialize_lod(int levels, int tessellation);

    // Draws the spheres and puts them into the world.
    void place_spheres(WDB_Database& world);

    // One more sphere, in no world yet: five draws. `per_edge` is the cube root of the number of
    // spheres, by which their radii shrink.
    WDB_Node* draw_sphere(double per_edge);
    double spheres_per_edge() const;

private:
    double bytes_of_meshes() const;
    double bytes_of_spheres() const;
    const WDB_Material* draw_material();
    float draw_coordinate();

    Gap_List<WDB_Tri_List*> lods_; // finest first
    Gap_List<WDB_Material*> materials_;
};

#endif
