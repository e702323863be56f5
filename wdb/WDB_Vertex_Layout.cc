#include "wdb/WDB_Vertex_Layout.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>

static_assert(sizeof(WDB_Vertex) == 12 * sizeof(float));

static std::size_t texture_size(const WDB_Vertex_Layout& layout) {
    return (layout.texture_form == WDB_TEXTURE_2 ? 2 : 3) * sizeof(float);
}

static std::size_t color_size(const WDB_Vertex_Layout& layout) {
    return layout.color_form == WDB_COLOR_BYTES ? 4 : sizeof(Color);
}

// SIZE_MAX is the failure, of a sum as well.
static std::size_t end_of(const WDB_Vertex_Attribute& attribute, std::size_t size,
                          std::size_t vertices) {
    if (attribute.stride == 0 || vertices == 0) return 0;
    if (attribute.stride < size || attribute.offset > SIZE_MAX - size) return SIZE_MAX;
    const std::size_t start = attribute.offset + size, steps = vertices - 1;
    return steps > (SIZE_MAX - start) / attribute.stride ? SIZE_MAX
                                                         : start + steps * attribute.stride;
}

std::size_t WDB_Vertex_Layout::byte_count(std::size_t vertices) const {
    return std::max({end_of(positions, sizeof(Point), vertices),
                     end_of(normals, sizeof(Vector), vertices),
                     end_of(texture_points, texture_size(*this), vertices),
                     end_of(colors, color_size(*this), vertices)});
}

static unsigned char byte_of(float value) {
    // In this form a NaN takes the limit, too.
    if (!(value > 0)) return 0;
    return static_cast<unsigned char>(std::lround(std::min(value, 1.0f) * 255));
}

void WDB_Vertex_Layout::write(const WDB_Vertex& vertex, std::size_t number, void* memory) const {
    const auto put = [&](const WDB_Vertex_Attribute& attribute, const void* value,
                         std::size_t size) {
        std::memcpy(static_cast<std::byte*>(memory) + attribute.offset + number * attribute.stride,
                    value, size);
    };
    if (positions.stride > 0) put(positions, &vertex.position, sizeof(Point));
    if (normals.stride > 0) put(normals, &vertex.normal, sizeof(Vector));
    if (texture_points.stride > 0) put(texture_points, &vertex.texture_point, texture_size(*this));
    if (colors.stride == 0) return;
    if (color_form == WDB_COLOR_FLOATS) {
        put(colors, &vertex.color, sizeof(Color));
    } else {
        const unsigned char opaque = 255;
        const unsigned char bytes[] = {byte_of(vertex.color.r), byte_of(vertex.color.g),
                                       byte_of(vertex.color.b), opaque};
        put(colors, bytes, sizeof bytes);
    }
}
