// Any bytes as a JPEG picture, in the converter itself.
#include "tests/fuzz/foreign_image.h"
#include "tools/Jpeg_Reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return read_picture(jpeg_read, data, size);
}
