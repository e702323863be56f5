// A pixel map as the bytes of a PNG file, uncompressed: for documents that hold their pictures.
// Internal.
#ifndef IMAGES_PLAIN_PNG_H
#define IMAGES_PLAIN_PNG_H

#include "std/Std_Allocator.h"

class PX_Map;

// Empty for maps without pixels, or with more than four components.
Std_Plain_Vector<unsigned char> plain_png(const PX_Map& map);

#endif
