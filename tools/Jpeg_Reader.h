// JPEG pictures in grey or colour, as their orientation wants them seen. Those of four inks become
// colours as they are on paper, in the inverted form that all programs write.
#ifndef TOOLS_JPEG_READER_H
#define TOOLS_JPEG_READER_H

#include <cstdio>
#include <string>

class Image_Raster;

// False if nothing could be read. `trouble` is set then, and also for a file that is damaged or
// cut: the rows that came are noted in the raster. A cut progressive file has all of its rows, less
// sharp.
bool jpeg_read(std::FILE* in, long long most_pixels, Image_Raster* raster, std::string* trouble);

#endif
