#include <cstring>

#include "images/image_internal.h"

void isetname(IMAGE* image, const char* name) {
    const std::size_t length = strnlen(name, sizeof image->name);
    // The whole field goes to the file: nothing of a longer name may stay behind a shorter one. One
    // that fills the field has no zero at its end.
    std::memset(image->name, 0, sizeof image->name);
    std::memcpy(image->name, name, length);
}

void isetcolormap(IMAGE* image, int colormap) {
    image->colormap = static_cast<unsigned int>(colormap);
}
