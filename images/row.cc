#include <algorithm>
#include <cstdint>
#include <cstring>

#include "images/image_internal.h"

static void tell_damage(const char* what, unsigned y, unsigned z) {
    i_errhdlr("getrow: %s in row %u of channel %u\n", what, y, z);
}

// Both return how many values came.
static int get_verbatim(IMAGE* image, unsigned short* buffer) {
    const std::size_t xsize = image->xsize;
    const unsigned bpp = bytes_per_channel(image);
    const void* const row = img_read_row(image, xsize * bpp);
    if (!row) return 0;
    if (bpp == 1) {
        const auto* const bytes = static_cast<const unsigned char*>(row);
        std::copy(bytes, bytes + xsize, buffer);
    } else {
        std::memcpy(buffer, row, xsize * sizeof *buffer);
        if (image->dorev) cvtshorts(buffer, xsize * sizeof *buffer);
    }
    return image->xsize;
}

static int get_encoded(IMAGE* image, unsigned short* buffer, unsigned y, unsigned z) {
    const unsigned bpp = bytes_per_channel(image);
    // -1 is a row that was never written.
    const int size = img_getrowsize(image, y, z);
    if (size == -1) return 0;
    const auto bytes = static_cast<std::size_t>(static_cast<unsigned int>(size));
    if (bytes > img_work_row_size(image)) {
        tell_damage("too many bytes", y, z);
        return 0;
    }
    const void* packets = img_read_row(image, bytes);
    if (!packets) return 0;
    // Packets may begin at an odd byte of the file, where shorts are not to be read.
    if (bpp == 2) {
        packets = std::memmove(image->tmpbuf, packets, bytes);
        if (image->dorev) cvtshorts(image->tmpbuf, bytes);
    }
    const int got = img_rle_expand(packets, static_cast<int>(bpp), static_cast<int>(bytes / bpp),
                                   buffer, 2, image->xsize);
    if (got != image->xsize) tell_damage("wrong number of values", y, z);
    return got;
}

// The row of a file with less than two or three dimensions.
static void limit_to_dimensions(const IMAGE* image, unsigned& y, unsigned& z) {
    if (image->dim < 2) y = 0;
    if (image->dim < 3) z = 0;
}

static bool is_bpp_known(const IMAGE* image, const char* error) {
    const unsigned bpp = bytes_per_channel(image);
    if (bpp == 1 || bpp == 2) return true;
    i_errhdlr("%s", error);
    return false;
}

int getrow(IMAGE* image, unsigned short* buffer, unsigned y, unsigned z) {
    if (!(image->flags & IMAGE_READ)) return -1;
    limit_to_dimensions(image, y, z);
    int got = 0;
    if (img_seek(image, y, z) == 0 && is_bpp_known(image, "getrow: weird bpp\n"))
        got = is_verbatim(image) ? get_verbatim(image, buffer) : get_encoded(image, buffer, y, z);
    if (got == image->xsize) return got;
    // Too many values are as bad as too few, but fill the row.
    if (got < image->xsize) std::fill(buffer + got, buffer + image->xsize, 0);
    return -1;
}

static void track_range(IMAGE* image, const unsigned short* buffer) {
    const unsigned short mask =
        is_verbatim(image) && bytes_per_channel(image) == 1 ? 0x00FF : 0xFFFF;
    if (image->xsize == 0) return;
    // With the top bit turned the order is that of signed shorts, which machines compare many at a
    // time.
    const unsigned short top = 0x8000;
    short least = INT16_MAX, greatest = INT16_MIN;
    for (unsigned x = 0; x < image->xsize; ++x) {
        const auto value = static_cast<short>((buffer[x] & mask) ^ top);
        least = std::min(least, value);
        greatest = std::max(greatest, value);
    }
    image->min = std::min<unsigned int>(image->min, static_cast<unsigned short>(least ^ top));
    image->max = std::max<unsigned int>(image->max, static_cast<unsigned short>(greatest ^ top));
}

static bool put_verbatim(IMAGE* image, unsigned short* buffer, unsigned y, unsigned z) {
    const std::size_t xsize = image->xsize;
    // What does not fit a byte loses its upper half, as track_range has it too.
    if (bytes_per_channel(image) == 1) {
        auto* const bytes = reinterpret_cast<unsigned char*>(image->tmpbuf);
        for (std::size_t x = 0; x < xsize; ++x) bytes[x] = static_cast<unsigned char>(buffer[x]);
        return img_seek(image, y, z) == 0 && img_write(image, bytes, xsize);
    }
    if (img_seek(image, y, z) < 0) return false;
    const std::size_t size = xsize * sizeof *buffer;
    // The buffer is the caller's: turned for the file, and turned back.
    if (image->dorev) cvtshorts(buffer, size);
    const bool is_written = img_write(image, buffer, size);
    if (image->dorev) cvtshorts(buffer, size);
    return is_written;
}

static bool put_encoded(IMAGE* image, const unsigned short* buffer, unsigned y, unsigned z) {
    const unsigned bpp = bytes_per_channel(image);
    const int values =
        img_rle_compact(buffer, 2, image->tmpbuf, static_cast<int>(bpp), image->xsize);
    const unsigned size = static_cast<unsigned>(values) * bpp;
    // Places of rows have 32 bits in the tables.
    if (size > UINT32_MAX - image->rleend) {
        i_errhdlr("putrow: file too large for its tables\n");
        return false;
    }
    img_setrowsize(image, size, y, z);
    if (img_seek(image, y, z) < 0) return false;
    if (bpp == 2 && image->dorev) cvtshorts(image->tmpbuf, size);
    return img_write(image, image->tmpbuf, size);
}

int putrow(IMAGE* image, unsigned short* buffer, unsigned y, unsigned z) {
    if (!(image->flags & IMAGE_WRITE)) return -1;
    limit_to_dimensions(image, y, z);
    if (!is_verbatim(image) && !is_rle(image)) {
        i_errhdlr("putrow: weird image type\n");
        return -1;
    }
    if (!is_bpp_known(image, "putrow: weird bpp\n")) return -1;
    track_range(image, buffer);
    const bool is_written =
        is_verbatim(image) ? put_verbatim(image, buffer, y, z) : put_encoded(image, buffer, y, z);
    return is_written ? image->xsize : -1;
}
