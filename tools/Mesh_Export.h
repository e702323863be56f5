// Worlds as the mesh files that other programs take: triangles alone, in their places.
//
//     if (const char* reason = mesh_export(world, "garden.obj")) complain(reason);
//
// OBJ keeps names, normals, texture points and materials, with NAME.mtl and the pictures
// NAME_1.png ... beside it; PLY normals and colours; STL nothing more.
#ifndef TOOLS_MESH_EXPORT_H
#define TOOLS_MESH_EXPORT_H

class WDB_Database;

// By the suffix: .obj, .ply or .stl.
bool is_mesh_file(const char* path);

// All files or none. Lines, cameras, lights and coarser levels are left out; `lost` counts them,
// but for the levels. On failure: the reason.
// Requires: is_mesh_file.
const char* mesh_export(WDB_Database& world, const char* path, int* lost);

#endif
