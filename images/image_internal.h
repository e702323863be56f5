// What the sources of the image files share.
#ifndef IMAGES_IMAGE_INTERNAL_H
#define IMAGES_IMAGE_INTERNAL_H

#include <cstddef>

#include "images/image.h"

inline constexpr int image_magic = 474;
inline constexpr off_t image_data_start = 512;

// Flags of an image.
inline constexpr unsigned short IMAGE_READ = 1;
inline constexpr unsigned short IMAGE_WRITE = 2;
inline constexpr unsigned short IMAGE_ERROR = 32;

inline bool is_rle(const IMAGE* image) {
    return (image->type & 0xFF00) == 0x0100;
}
inline bool is_verbatim(const IMAGE* image) {
    return (image->type & 0xFF00) == 0;
}
inline unsigned bytes_per_channel(const IMAGE* image) {
    return image->type & 0x00FF;
}
inline std::size_t table_entries(const IMAGE* image) {
    return static_cast<std::size_t>(image->ysize) * image->zsize;
}

// Formats a message and hands it to the hook; ends the program if there is none.
void i_errhdlr(const char* format, ...) __attribute__((format(printf, 1, 2)));

IMAGE* imgopen(int fd, const char* name, const char* mode, unsigned type, unsigned dim,
               unsigned xsize, unsigned ysize, unsigned zsize);

// The 152 bytes at the start of a file, in its byte order.
bool img_write_header(IMAGE* image);

// Bytes that the work row of a file must hold: the longest that any encoder makes of xsize values,
// one packet for each value, with a terminator; or what has always been read, if that is more.
std::size_t img_work_row_size(const IMAGE* image);
unsigned short* ibufalloc(const IMAGE* image);

// To the row, where it stands or will stand. On failure: -1, with an error.
int img_seek(IMAGE* image, unsigned y, unsigned z);
bool img_badrow(const IMAGE* image, unsigned y, unsigned z);

// One transfer; anything but `count` bytes makes the position unknown.
bool img_write(IMAGE* image, const void* buffer, std::size_t count);
bool img_read(IMAGE* image, void* buffer, std::size_t count);
// Where the next transfer goes. Costs nothing.
bool img_optseek(IMAGE* image, off_t offset);

// The next `count` bytes, of a row of the current channel: reads ahead, as the next rows will be
// wanted. At most img_work_row_size.
// Lifetime: to the next row. On failure: null.
const void* img_read_row(IMAGE* image, std::size_t count);

// From here on img_write may hold bytes back, up to img_release_writes, which answers false if
// any of them could not be written.
void img_hold_writes(IMAGE* image);
bool img_release_writes(IMAGE* image);

// Whether the file of an image that is read holds any row at all.
bool img_has_rows(const IMAGE* image);

// Size in bytes of an encoded row, -1 if it was not written.
int img_getrowsize(const IMAGE* image, unsigned y, unsigned z);
// Gives the row `count` bytes at the end of the file.
void img_setrowsize(IMAGE* image, unsigned count, unsigned y, unsigned z);

// Encodes `count` values of ibpp bytes into packets of values of obpp bytes. Returns the number of
// values put out, with the terminator; 0 for sizes other than 1 and 2, with an error.
int img_rle_compact(const void* expanded, int ibpp, void* rle, int obpp, int count);

// Decodes at most `room` values out of `count` values of packets; what is left of the room becomes
// 0. Returns the number of values, room + 1 if there were more; -1 for sizes other than 1 and 2,
// with an error.
int img_rle_expand(const void* rle, int ibpp, int count, void* expanded, int obpp, int room);

// Swap the two or four bytes of each value in a block of `bytes` bytes.
void cvtshorts(unsigned short* values, std::size_t bytes);
void cvtlongs(unsigned int* values, std::size_t bytes);
// The shorts and longs of a header.
void cvtimage(IMAGE* image);

#endif
