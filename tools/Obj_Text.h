// What the importer of OBJ files does not do itself: faces whose numbers lead to nothing cost it
// the whole file, and smoothing groups mean nothing to it.
//
//     const int dropped = obj_drop_bad_items(&text);
//     obj_smooth(&text);
#ifndef TOOLS_OBJ_TEXT_H
#define TOOLS_OBJ_TEXT_H

#include <string>

// Makes comments of faces, lines and points that refer to what is not there. How many.
int obj_drop_bad_items(std::string* text);

// In a file without normals, gives those to the faces of smoothing groups: of all faces of a group
// around a point, by their areas. Requires: there are no bad items.
void obj_smooth(std::string* text);

#endif
