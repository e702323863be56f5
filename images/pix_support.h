// Between interleaved 8-bit pixels and the planar rows of an image file. A thread has one
// image open at a time; opening another loses the first.
//
//     if (pixmap_open_read("a.rgb")) {
//         pixels = new (GCAtomic) unsigned char[3 * pixmap_xsize() * pixmap_ysize()];
//         pixmap_load(pixels, 3, 3 * pixmap_xsize());
//         pixmap_close();
//     }
//
// Errors of the image files go to the standard error stream and do not end the program.
#ifndef IMAGES_PIX_SUPPORT_H
#define IMAGES_PIX_SUPPORT_H

// Most pixels of a row, and most rows: what the format can tell.
inline constexpr int PIXMAP_MAX_SIZE = 65535;

// The second form reads an open file, whose descriptor then belongs to the image.
// False, with no image open, for a file that is none, that holds none of its rows, or that has more
// pixels than std_limits allow.
bool pixmap_open_read(const char* name);
bool pixmap_open_read(int descriptor);

// Opens a run-length encoded file with one byte per channel. Whether it worked, pixmap_is_open
// tells.
void pixmap_open_write(const char* name, int xsize, int ysize, int zsize);
void pixmap_open_write(int descriptor, int xsize, int ysize, int zsize);
bool pixmap_is_open();

// Completes a file that was written. Requires: an open image.
// On failure: false, if the file could not be completed.
bool pixmap_close();

// Of the open image.
int pixmap_xsize();
int pixmap_ysize();
int pixmap_zsize();

// Reads all rows as pixels of `component` bytes: 1 grey, 2 grey and alpha, 3 RGB, 4 RGBA; other
// numbers do nothing. Rows start `row_stride` bytes apart. Of two-byte channels the low byte is
// kept. Grey is (79 r + 156 g + 21 b) / 256 of the values in the file; an alpha that the file does
// not have is 255. Channels of a row that cannot be read count as 0, without an error.
// Returns how many rows lack something.
int pixmap_load(unsigned char* pixels, int component, int row_stride);

// Writes all rows from pixels of zsize bytes; a zsize above 4 writes nothing. Without an open image
// the program ends, with a line on the standard error stream and status 0.
// On failure: false.
bool pixmap_save(const unsigned char* pixels, int row_stride);

// Writes an error to the standard error stream: what pixmap_open_ sets as the hook.
void i_printerror(const char* message);

#endif
