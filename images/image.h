// Image files of the published SGI format, row by row and channel by channel.
//
//     IMAGE* image = iopen("a.rgb", "r");
//     std::vector<unsigned short> row(image->xsize);
//     getrow(image, row.data(), y, z);            // y counts from the bottom of the picture
//     iclose(image);
//
//     IMAGE* image = iopen("b.rgb", "w", RLE(1), 3, 640, 480, 3);
//     putrow(image, row.data(), y, z);            // in any order
//     iclose(image);                              // only now the header and the tables are right
//
// Files are read in either byte order, verbatim and run-length encoded, with 1 or 2 bytes per
// channel. They are written in the machine's own byte order unless i_setbyteorder asks for another.
//
// All errors go through one hook, see i_seterror; without it an error ends the program with
// status 1. With it the operation answers null or -1.
#ifndef IMAGES_IMAGE_H
#define IMAGES_IMAGE_H

#include <sys/types.h>

// Types of files, for bpp bytes per channel.
constexpr unsigned VERBATIM(unsigned bpp) {
    return bpp;
}
constexpr unsigned RLE(unsigned bpp) {
    return 0x0100 | bpp;
}

// An open file. The first 108 bytes are the header as it stands in the file. Memory of malloc,
// which iclose does not free: that is left to whoever opened it.
struct IMAGE {
    unsigned short imagic;
    unsigned short type;
    unsigned short dim;
    unsigned short xsize;
    unsigned short ysize;
    unsigned short zsize;
    unsigned int min; // smallest and largest value in the file
    unsigned int max;
    unsigned int wastebytes; // left behind by rows that were written again
    char name[80];
    unsigned int colormap;

    int file;
    unsigned short flags; // 1 read, 2 write, 32 a write failed
    short dorev;          // 1 if the file's byte order is not the machine's
    unsigned short x, y, z;
    short cnt;
    unsigned short* ptr;
    unsigned short* base;
    unsigned short* tmpbuf;
    off_t offset; // position of the descriptor; -1 if it is not known
    unsigned int rleend;
    unsigned int* rowstart; // of run-length encoded files: entry y + z * ysize
    unsigned int* rowsize;
    struct Image_Transfers* transfers; // what was read ahead or held back; null at first
};

// Opens for reading ("r") or writing ("w"); "r+" and "w+" are refused. The sizes are for writing
// only: ysize counts from dim 2 on, zsize from dim 3 on.
// On failure: null, with an error, but without one for a file that cannot be opened for reading.
IMAGE* iopen(const char* name, const char* mode, unsigned type = 0, unsigned dim = 0,
             unsigned xsize = 0, unsigned ysize = 0, unsigned zsize = 0);

// The same on an open descriptor, which then belongs to the image.
IMAGE* fiopen(int fd, const char* mode, unsigned type = 0, unsigned dim = 0, unsigned xsize = 0,
              unsigned ysize = 0, unsigned zsize = 0);

// Completes a file that was written, and closes it.
// On failure: what close answers, or -1 with an error if any row, the header or the tables could
// not be written. The image is closed all the same.
int iclose(IMAGE* image);
int iflush(IMAGE* image);

// One row of one channel, `xsize` values. y is ignored below dim 2, z below dim 3.
// Returns xsize. On failure: -1; so also for a row that was never written, or that is damaged. What
// came of a row that is read is in `buffer`, the first xsize values at most, and zeros for the
// rest.
int getrow(IMAGE* image, unsigned short* buffer, unsigned y, unsigned z);
int putrow(IMAGE* image, unsigned short* buffer, unsigned y, unsigned z);

// At most 80 characters; a name of 80 has no terminator in the file.
void isetname(IMAGE* image, const char* name);
void isetcolormap(IMAGE* image, int colormap);

// Where errors of this thread go from now on: `hook` gets the message, which ends in a line feed
// unless it was cut at 1023 characters, and is valid during the call. Null takes the hook away.
void i_seterror(void (*hook)(char* message));

// Byte order of files that this thread opens for writing from now on. Most programs read big-endian
// files only, which is the order that the format was published with.
enum Image_Byte_Order { IMAGE_NATIVE_ORDER, IMAGE_BIG_ENDIAN };
void i_setbyteorder(Image_Byte_Order order);

// Whether the file of an image that is read can hold what its header says: sizes that are not 0,
// and every row inside the file and of a length that xsize values can have. Says nothing itself.
bool img_is_sound(const IMAGE* image);

#endif
