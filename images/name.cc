#include <cstring>

#include "images/image_internal.h"

void isetname(IMAGE* image, const char* name) {
    const std::size_t length = strnlen(name, sizeof image->name);
    std::memset(image->name, 0, sizeof image->name);
    std::memcpy(image->name, name, length);
}

void isetcolormap(IMAGE* image, int colormap) {
    image->colormap = static_cast<unsigned int>(colormap);
}
