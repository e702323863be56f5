// Writes a world as a scene file.
//
//     if (wdb_save(world, "spheres.3d") != 0) return 1;
//
// Nodes without geometry come first, then the shapes in the order of the world's tree. Every shared
// object stands once, in front of the first node that refers to it, under a name that is unique in
// the file: of three nodes "Ball" the second and third become "Ball_1" and "Ball_2".
// Each node is reported as "Saving ..." at level 0. A geometry that cannot be written leaves a line
// that begins with "!!!" in the file.
#ifndef WDB_WDB_SAVE_H
#define WDB_WDB_SAVE_H

class WDB_Database;

// 0 when the whole file was written. Overwrites `path`.
// On failure: not 0; if the file cannot be opened, after a warning with the system's reason.
// Not reentrant; the world must not change meanwhile. Names and objects of a save stay referenced
// until the next one.
int wdb_save(WDB_Database& world, const char* path);

#endif
