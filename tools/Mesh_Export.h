// Worlds as the mesh files that other programs take: triangles alone, in their places.
//
//     Mesh_Losses lost;
//     if (const char* reason = mesh_export(world, "garden.obj", &lost)) complain(reason);
//
// OBJ keeps names, normals, colours, texture points and materials, with NAME.mtl and the pictures
// NAME_1.png ... beside it; PLY normals and colours; STL nothing more. Triangles that a place
// mirrors have their front where it was.
#ifndef TOOLS_MESH_EXPORT_H
#define TOOLS_MESH_EXPORT_H

#include <string_view>

class WDB_Database;

// In capitals or not.
bool path_ends_in(std::string_view path, std::string_view suffix);

// By the suffix: .obj, .ply or .stl.
bool is_mesh_file(const char* path);

// What is left out.
struct Mesh_Losses {
    int nodes = 0;     // that are lines, cameras or lights
    int triangles = 0; // with a number that is infinite or none, in their place
};

// All files or none; of each node the finest level. Numbers of pictures pass over those of files
// that the world was read from.
// On failure: the reason; so also where NAME.mtl stands without NAME.obj and so is another file's.
// Requires: is_mesh_file.
const char* mesh_export(WDB_Database& world, const char* path, Mesh_Losses* lost);

#endif
