// Saves a picture whole or not at all.
//
//     if (!Picture_File::can_save("view.png")) return complain("no PNG here");
//     if (const char* reason = Picture_File::save(map, "view.png")) return complain(reason);
//
// A name that ends in ".rgb" or ".sgi" gives an SGI image, any other a PNG, which needs libpng.
#ifndef TOOLS_PICTURE_FILE_H
#define TOOLS_PICTURE_FILE_H

#include "images/PX_Map.h"

class Picture_File {
public:
    // The name that is taken where none is given.
    static const char* default_name();

    // False for a PNG in a build without libpng.
    static bool can_save(const char* path);

    // Requires: can_save, and a map with 3 components.
    // On failure: the reason, and a file that was there is as it was; null for success.
    static const char* save(PX_Map& map, const char* path);
};

#endif
