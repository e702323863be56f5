// Any bytes as a PNG picture, in the converter itself.
#include "tests/fuzz/foreign_image.h"
#include "tools/Png_Reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return read_picture(png_read, data, size);
}
