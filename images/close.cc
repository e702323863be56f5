#include <cstdlib>
#include <unistd.h>

#include "images/image_internal.h"

int iflush(IMAGE* image) {
    const bool is_pending =
        (image->flags & IMAGE_WRITE) && image->base && image->ptr - image->base >= 2;
    if (!is_pending || putrow(image, image->base, image->y, image->z) == image->xsize) return 0;
    image->flags |= IMAGE_ERROR;
    return -1;
}

// The table stays in the machine's order in memory.
static bool write_table(IMAGE* image, unsigned int* table, const char* error) {
    const std::size_t bytes = table_entries(image) * sizeof *table;
    if (image->dorev) cvtlongs(table, bytes);
    const bool is_written = img_write(image, table, bytes);
    if (image->dorev) cvtlongs(table, bytes);
    if (!is_written) i_errhdlr("%s", error);
    return is_written;
}

// The header once more: only now are the least and the greatest value known.
static bool complete(IMAGE* image) {
    if (!img_write_header(image)) {
        i_errhdlr("iclose: error on write of image header\n");
        return false;
    }
    return !is_rle(image) ||
           (img_optseek(image, image_data_start) &&
            write_table(image, image->rowstart, "iclose: error on write of rowstart\n") &&
            write_table(image, image->rowsize, "iclose: error on write of rowsize\n"));
}

int iclose(IMAGE* image) {
    const bool are_put = iflush(image) == 0 && img_release_writes(image);
    // Tried also after a failure: what could be written is then at least readable.
    bool is_complete = !(image->flags & IMAGE_WRITE) || complete(image);
    if (!are_put || image->flags & IMAGE_ERROR) {
        i_errhdlr("iclose: error on write of rows\n");
        is_complete = false;
    }
    std::free(image->transfers);
    std::free(image->base);
    std::free(image->tmpbuf);
    std::free(image->rowstart);
    std::free(image->rowsize);
    image->transfers = nullptr;
    image->base = image->tmpbuf = nullptr;
    image->rowstart = image->rowsize = nullptr;
    const int closed = ::close(image->file);
    return is_complete ? closed : -1;
}
