// The work of PX_Map::resize: resampling in two passes, first across and then down, each of which
// adds in single precision, in the order of the source pixels, and ends in bytes. The tests hold it
// to the bytes of a loop that does so pixel by pixel.
#ifndef IMAGES_PX_MAP_SCALE_H
#define IMAGES_PX_MAP_SCALE_H

// Writes new_width * new_height pixels to `out`, from width * height at `in`. The filter is called
// for each distance within its reach, in order, whatever it weighs. Requires: sizes and components
// of at least 1, whose products fit an int, also new_width * height. Memory: the rows that a target
// row may draw on, and some rows of floats.
void px_map_scale(const unsigned char* in, int width, int height, int component, unsigned char* out,
                  int new_width, int new_height, float (*filter)(float), int filter_width);

#endif
