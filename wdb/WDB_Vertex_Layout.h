// How a program's memory holds the corners of triangles and the ends of lines: what is wanted of
// each, and where it stands.
//
//     WDB_Vertex_Layout layout;                       // in one array, 24 bytes each
//     layout.positions = {.offset = 0, .stride = 24};
//     layout.normals = {.offset = 12, .stride = 24};
//     std::vector<std::byte> out(layout.byte_count(list->vertex_count()));
//     list->copy_vertices(layout, out.data(), out.size());
//
// The same with stride 12 and an offset of 12 * vertex_count() for the normals makes two arrays,
// one behind the other. A layout is a plain value; what is not named in it is left out.
#ifndef WDB_WDB_VERTEX_LAYOUT_H
#define WDB_WDB_VERTEX_LAYOUT_H

#include <cstddef>

#include "math/Color.h"
#include "math/Geometry.h"

// What a corner has: 12 floats, without a gap.
struct WDB_Vertex {
    Point position;
    Vector normal;
    Color color;
    Point texture_point;
};

enum WDB_Texture_Form {
    WDB_TEXTURE_2, // 2 floats: x and y
    WDB_TEXTURE_3, // 3 floats
};

enum WDB_Color_Form {
    WDB_COLOR_FLOATS, // 3 floats as they are: red, green, blue
    WDB_COLOR_BYTES, // 4 bytes: the same from 0 to 255, cut to that and rounded, and 255; 0 for NaN
};

// In bytes, from the start of the memory.
struct WDB_Vertex_Attribute {
    std::size_t offset = 0; // of the first vertex
    std::size_t stride = 0; // from each vertex to the next; with 0 the attribute is left out
};

struct WDB_Vertex_Layout {
    WDB_Vertex_Attribute positions = {}; // 3 floats
    WDB_Vertex_Attribute normals = {};   // 3 floats
    WDB_Vertex_Attribute texture_points = {};
    WDB_Vertex_Attribute colors = {};
    WDB_Texture_Form texture_form = WDB_TEXTURE_2;
    WDB_Color_Form color_form = WDB_COLOR_FLOATS;

    // From the start of the memory to the end of what so many vertices take; 0 for no vertices.
    // On failure: SIZE_MAX, for a stride in which its attribute has no room, and for what no memory
    // could hold.
    std::size_t byte_count(std::size_t vertices) const;

    // Writes what the layout names of one vertex, and no byte beside.
    // Requires: room for byte_count(number + 1) at `memory`, which need not be aligned. Attributes
    // should not overlap.
    void write(const WDB_Vertex& vertex, std::size_t number, void* memory) const;
};

#endif
