#include <algorithm>
#include <bit>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <initializer_list>
#include <sys/stat.h>
#include <unistd.h>

#include "images/image_internal.h"
#include "std/Std_Descriptor.h"

static thread_local void (*error_hook)(char* message) = nullptr;
static thread_local Image_Byte_Order order_of_new_files = IMAGE_NATIVE_ORDER;

void i_seterror(void (*hook)(char* message)) {
    error_hook = hook;
}

void i_setbyteorder(Image_Byte_Order order) {
    order_of_new_files = order;
}

// Without a hook a program is taken not to look at results, and ends here.
void i_errhdlr(const char* format, ...) {
    char message[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(message, sizeof message, format, arguments);
    va_end(arguments);
    if (error_hook) {
        error_hook(message);
        return;
    }
    std::fputs(message, stderr);
    std::exit(1);
}

static unsigned short swapped(unsigned short value) {
    return static_cast<unsigned short>(value << 8 | value >> 8);
}

void cvtshorts(unsigned short* values, std::size_t bytes) {
    for (std::size_t i = 0; i < bytes / sizeof *values; ++i) values[i] = swapped(values[i]);
}

// In place, twice the same: what is swapped for the file is swapped back behind it.
void cvtlongs(unsigned int* values, std::size_t bytes) {
    for (std::size_t i = 0; i < bytes / sizeof *values; ++i)
        values[i] = __builtin_bswap32(values[i]);
}

void cvtimage(IMAGE* image) {
    for (unsigned short* field :
         {&image->imagic, &image->type, &image->dim, &image->xsize, &image->ysize, &image->zsize})
        cvtshorts(field, sizeof *field);
    for (unsigned int* field : {&image->min, &image->max, &image->wastebytes, &image->colormap})
        cvtlongs(field, sizeof *field);
}

std::size_t img_work_row_size(const IMAGE* image) {
    const std::size_t xsize = image->xsize;
    // What encoding can give at most, a count before each value and the end, and the size that
    // readers of old allow.
    const std::size_t longest = 2 * (2 * xsize + 1), usual = 4 * (xsize + (xsize >> 6));
    return std::max(longest, usual);
}

unsigned short* ibufalloc(const IMAGE* image) {
    return static_cast<unsigned short*>(std::malloc(img_work_row_size(image)));
}

// The header has 108 bytes; what stands behind them up to 152 means nothing to readers.
static const std::size_t header_size = offsetof(IMAGE, file);
static const std::size_t stored_size = 152;
static_assert(header_size == 108);

// Written twice: first to take its place, at the end with what was learnt of the pixels.
bool img_write_header(IMAGE* image) {
    IMAGE stored = *image;
    if (image->dorev) cvtimage(&stored);
    char bytes[stored_size] = {};
    std::memcpy(bytes, &stored, header_size);
    return img_optseek(image, 0) && img_write(image, bytes, sizeof bytes);
}

static bool start_writing(IMAGE* image, const char* name, unsigned type, unsigned dim,
                          unsigned xsize, unsigned ysize, unsigned zsize) {
    if (name) {
        image->file =
            std_above_standard(::open(name, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
        if (image->file < 0) {
            i_errhdlr("iopen: can't open output file %s\n", name);
            return false;
        }
    }
    image->imagic = image_magic;
    image->type = static_cast<unsigned short>(type);
    image->xsize = static_cast<unsigned short>(xsize);
    image->ysize = dim < 2 ? 1 : static_cast<unsigned short>(ysize);
    image->zsize = dim < 3 ? 1 : static_cast<unsigned short>(zsize);
    image->dim = image->zsize != 1 ? 3 : image->ysize != 1 ? 2 : 1;
    // No value is greater or less: the first row sets both.
    image->min = 10000000;
    image->max = 0;
    isetname(image, "no name");
    image->dorev =
        order_of_new_files == IMAGE_BIG_ENDIAN && std::endian::native == std::endian::little;
    if (img_write_header(image)) return true;
    i_errhdlr("iopen: error on write of image header\n");
    return false;
}

static bool start_reading(IMAGE* image, const char* name) {
    if (name) {
        image->file = std_above_standard(::open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        if (image->file < 0) return false;
    }
    char bytes[stored_size];
    if (!img_optseek(image, 0) || !img_read(image, bytes, sizeof bytes)) {
        i_errhdlr("iopen: error on read of image header\n");
        return false;
    }
    // The record begins as the file does. A file from a machine of the other byte order shows its
    // mark reversed.
    std::memcpy(static_cast<void*>(image), bytes, header_size);
    if (swapped(image->imagic) == image_magic) {
        image->dorev = 1;
        cvtimage(image);
    }
    if (image->imagic == image_magic) return true;
    i_errhdlr("iopen: bad magic in image file %x\n", image->imagic);
    return false;
}

static bool read_table(IMAGE* image, unsigned int* table, const char* error) {
    const std::size_t bytes = table_entries(image) * sizeof *table;
    if (!img_read(image, table, bytes)) {
        i_errhdlr("%s", error);
        return false;
    }
    if (image->dorev) cvtlongs(table, bytes);
    return true;
}

static bool make_tables(IMAGE* image, bool is_new) {
    const char* const rowstart_error = "iopen: error on read of rowstart\n";
    const char* const rowsize_error = "iopen: error on read of rowsize\n";
    const std::size_t bytes = table_entries(image) * sizeof(unsigned int);
    const unsigned long long data = image_data_start + 2ull * bytes;
    struct stat status;
    // A header may claim tables of any size: look for them before room is made.
    if (!is_new) {
        const bool is_file = fstat(image->file, &status) == 0 && S_ISREG(status.st_mode);
        const auto size = static_cast<unsigned long long>(is_file ? status.st_size : 0);
        if (size < data) {
            i_errhdlr("%s", size < data - bytes ? rowstart_error : rowsize_error);
            return false;
        }
    }
    if (data <= UINT32_MAX) {
        image->rowstart = static_cast<unsigned int*>(std::calloc(1, bytes + 1));
        image->rowsize = static_cast<unsigned int*>(std::malloc(bytes + 1));
    }
    if (!image->rowstart || !image->rowsize) {
        i_errhdlr("iopen: error on table alloc\n");
        return false;
    }
    // Where the next encoded row goes: behind the tables, at first.
    image->rleend = static_cast<unsigned int>(data);
    if (is_new) {
        std::memset(image->rowsize, 0xFF, bytes); // -1: not written yet
        return true;
    }
    return img_optseek(image, image_data_start) &&
           read_table(image, image->rowstart, rowstart_error) &&
           read_table(image, image->rowsize, rowsize_error);
}

static bool make_work_row(IMAGE* image) {
    image->tmpbuf = ibufalloc(image);
    if (image->tmpbuf) return img_optseek(image, image_data_start);
    i_errhdlr("iopen: error on tmpbuf alloc %d\n", image->xsize);
    return false;
}

IMAGE* imgopen(int fd, const char* name, const char* mode, unsigned type, unsigned dim,
               unsigned xsize, unsigned ysize, unsigned zsize) {
    // Of malloc, like all that it points to: programs may keep the only pointer to it anywhere.
    auto* const image = static_cast<IMAGE*>(std::calloc(1, sizeof(IMAGE)));
    if (!image) {
        i_errhdlr("iopen: error on image struct alloc\n");
        return nullptr;
    }
    image->file = fd;
    // Nowhere: reading and writing fail until somebody seeks.
    image->offset = -1;
    if (mode[0] != '\0' && mode[1] == '+') {
        i_errhdlr("iopen: read/write mode not supported\n");
        std::free(image);
        return nullptr;
    }
    const bool is_new = mode[0] == 'w';
    bool is_open = is_new ? start_writing(image, name, type, dim, xsize, ysize, zsize)
                          : start_reading(image, name);
    image->flags = mode[0] == 'r' ? IMAGE_READ : IMAGE_WRITE;
    if (is_open && is_rle(image)) is_open = make_tables(image, is_new);
    if (is_open) is_open = make_work_row(image);
    if (is_open) return image;
    std::free(image->rowstart);
    std::free(image->rowsize);
    std::free(image->tmpbuf);
    // A descriptor that was handed in stays the caller's.
    if (name && image->file >= 0) ::close(image->file);
    std::free(image);
    return nullptr;
}

IMAGE* iopen(const char* name, const char* mode, unsigned type, unsigned dim, unsigned xsize,
             unsigned ysize, unsigned zsize) {
    return imgopen(-1, name, mode, type, dim, xsize, ysize, zsize);
}

IMAGE* fiopen(int fd, const char* mode, unsigned type, unsigned dim, unsigned xsize, unsigned ysize,
              unsigned zsize) {
    return imgopen(fd, nullptr, mode, type, dim, xsize, ysize, zsize);
}
