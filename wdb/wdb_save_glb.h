// Writes a world as a GLB file, the binary form of glTF 2.0, for other programs.
//
//     if (wdb_save_glb(world, "spheres.glb") != 0) return 1;
//
// Each geometry stands once, as indexed triangles or lines whose equal corners are shared, with one
// mesh of its name for each look that nodes give it. Nodes keep names, places to the bit, and their
// URL, in their extras; levels of detail are those of MSFT_lod, the finest being the node's own
// mesh.
// Pictures of textures are embedded, not compressed. Cameras have their angle and planes; lights
// their colour and angle (KHR_lights_punctual), so strong that the middle of the world is lit as
// here, where light goes any distance.
// Of a material the diffuse colour and alpha become the base colour, the shininess a roughness, and
// what has no place there stands in its extras. Where vertices have colours these are the base. All
// faces are seen from both sides. Colours are those of screens here and amounts of light there
// (sRGB), so that they look alike.
// A node whose place is no move, turn and scale of its geometry gets a geometry of its own, moved
// along; cameras, lights and nodes without geometry lose what is more.
//
// Memory: that of the largest geometry and of what nodes share; nodes go through.
#ifndef WDB_WDB_SAVE_GLB_H
#define WDB_WDB_SAVE_GLB_H

class WDB_Database;

struct WDB_Glb_Options {
    // Nodes that show the same geometry in the same look become one (EXT_mesh_gpu_instancing),
    // which viewers draw at once, if they know of it; others must refuse the file. Of each node is
    // left the place, rounded as a move, turn and scale: names, URLs and coarser levels are not.
    // Nodes whose place is no such product, or that share nothing, stay as they are.
    // Memory: 40 bytes more for each node.
    bool has_instances = false;
};

// 0 when all of it was written; WDB_SAVE_LOSES (wdb/wdb_save.h) if warnings tell of something that
// has no form there: geometry of other classes, numbers that are infinite or none, other
// projections than a perspective, shapes outside the bounds. The file is whole or not at all, as a
// scene is.
// On failure: EOF, after a warning with the reason; so also for more than 4 GB, which the format
// cannot tell, and in a build without rapidjson (Debian: rapidjson-dev).
int wdb_save_glb(WDB_Database& world, const char* path, const WDB_Glb_Options& options = {});

#endif
