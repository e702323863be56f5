// PNG pictures of any depth, with 8 bits a component: grey or colour, with alpha where the file has
// any, palettes spelled out.
#ifndef TOOLS_PNG_READER_H
#define TOOLS_PNG_READER_H

#include <cstdio>
#include <string>

class Image_Raster;

// False if nothing could be read. `trouble` is set then, and also for a file that is damaged or
// cut: the rows that came are noted in the raster.
bool png_read(std::FILE* in, long long most_pixels, Image_Raster* raster, std::string* trouble);

#endif
