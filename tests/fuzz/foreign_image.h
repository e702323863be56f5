// What fuzz targets of pictures do with one.
#ifndef TESTS_FUZZ_FOREIGN_IMAGE_H
#define TESTS_FUZZ_FOREIGN_IMAGE_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tools/Image_Raster.h"

template<class Read>
int read_picture(Read read, const std::uint8_t* data, std::size_t size) {
    std::FILE* const in =
        size == 0 ? nullptr : fmemopen(const_cast<std::uint8_t*>(data), size, "rb");
    static std::FILE* const nowhere = std::fopen("/dev/null", "w");
    if (!in || !nowhere) return 0;
    const long long most_pixels = 1 << 14; // larger ones would only take time
    Image_Raster raster;
    std::string trouble;
    const bool is_read = read(in, most_pixels, &raster, &trouble);
    std::fclose(in);
    // Nothing is lost without a word.
    if (trouble.empty() && (!is_read || raster.missing_rows() > 0)) std::abort();
    if (is_read && !raster.write_sgi(nowhere)) std::abort();
    return 0;
}

#endif
