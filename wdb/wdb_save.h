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

// 0 when the whole file was written, and the image of every texture. The bytes go beside the file
// and take its place at the end: see Std_Output_File; so a scene stays as it was when the disk is
// full. An image that was not read as a whole is not written; the scene names what it was read
// from. What would be refused or misread when the file is read again (names, long lines, infinite
// numbers) is written all the same, with a warning for each object. On failure: not 0, after a
// warning with the system's reason. The world must not change meanwhile.
int wdb_save(WDB_Database& world, const char* path);

#endif
