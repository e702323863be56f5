// Any bytes as an image file: loaded with every number of components, or refused.
#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "images/image.h"
#include "images/pix_support.h"
#include "std/Std_Common.h"
#include "std/Std_Limits.h"

static void load(const char* name, int component) {
    if (!pixmap_open_read(name)) return;
    i_seterror([](char*) {});
    // One row at a time would do; all of them in one small block find rows that are too long.
    const int row = pixmap_xsize() * component;
    std::vector<unsigned char> pixels(static_cast<std::size_t>(row) *
                                      static_cast<std::size_t>(pixmap_ysize()));
    pixmap_load(pixels.data(), component, row);
    pixmap_close();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const int file = memfd_create("image", 0);
    if (file < 0 || write(file, data, size) != static_cast<ssize_t>(size)) std::abort();
    const char* const name = str_new(str_format("/proc/self/fd/%d", file));
    std_limits.image_pixels = 1 << 16; // larger ones would only take time
    for (int component = 1; component <= 4; ++component) load(name, component);
    if (IMAGE* const image = iopen(name, "r")) {
        // Also what pixel maps would refuse.
        std::vector<unsigned short> buffer(image->xsize + 1u);
        for (unsigned y : {0u, 1u, image->ysize - 1u})
            for (unsigned z : {0u, 1u, image->zsize - 1u}) getrow(image, buffer.data(), y, z);
        iclose(image);
    }
    close(file);
    return 0;
}
