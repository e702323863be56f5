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

struct WDB_Save_Options {
    // Writes also what the plain form leaves out and the reader takes: line lists, and shapes
    // outside the bounds, to which the reader fits those of its world.
    bool is_complete = false;
};

// The files are new, and a warning tells what will not come back when they are read: geometry
// without a form in the file, shapes outside the bounds, or an image whose name leads out of the
// working folder.
const int WDB_SAVE_LOSES = 1;

// 0 when the whole file was written, and the image of every texture; WDB_SAVE_LOSES. The bytes go
// beside the files and take their places together at the end: see Std_Output_File; so a scene and
// its images stay as they were when the disk is full, or when an image cannot be written. An image
// that was not read as a whole is not written; the scene names what it was read from, which no
// other image replaces. What would be refused or misread when the file is read again (names, long
// lines, frames that are not affine, lights that are off) is written all the same, with a warning
// for each object. On failure: EOF, after a warning with the system's reason. The world must not
// change meanwhile.
int wdb_save(WDB_Database& world, const char* path);
int wdb_save(WDB_Database& world, const char* path, const WDB_Save_Options& options);

#endif
