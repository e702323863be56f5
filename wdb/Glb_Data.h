// The binary half of a GLB file: vertices, indices and pictures, on their way through a file
// without a name. Internal.
//
//     Glb_Data data;
//     const int mesh = data.add_mesh(list, HFrame::identity(), false, &lost);
//     ... data.shapes()[mesh].vertices ...
#ifndef WDB_GLB_DATA_H
#define WDB_GLB_DATA_H

#include <cstdint>

#include "base/Plain_Array.h"
#include "math/Bbox.h"
#include "math/Homogeneous.h"
#include "std/Std_Descriptor.h"
#include "wdb/WDB_Mesh_Arrays.h"

class PX_Map;
class WDB_Geometry;

// Within 0 and 1, also what is no number.
float glb_unit(float value);
// A part of a colour of ours, which is what a screen is told, as the amount of light that it shows.
float glb_light(float value);

class Glb_Data {
public:
    struct View {
        std::uint64_t offset, size;
        std::uint32_t stride; // of vertices; 0 for others
        bool holds_indices;
    };
    // Vertices are positions, normals, and what is told here, one behind the other.
    struct Shape {
        int vertices, indices; // numbers of views
        std::uint32_t vertex_count, index_count;
        int index_size;
        bool is_lines, has_normals, has_colors, has_texture_points;
        Bbox box; // of the positions
    };

    Glb_Data();
    Glb_Data(const Glb_Data&) = delete;
    Glb_Data& operator=(const Glb_Data&) = delete;
    ~Glb_Data();

    // What nodes of that geometry show, moved by the transform; with texture points only if they
    // are asked for, as corners that differ in nothing else are shared without. Triangles and lines
    // with a number that is none, or none when moved, are left out, and counted. -1 if none is
    // left.
    int add_mesh(const WDB_Geometry& geometry, const HFrame& transform, bool with_texture_points,
                 int* lost);

    // The view of the picture as PNG; -1 if it has no such form.
    int add_picture(const PX_Map& picture);

    // The view of numbers that are no vertices.
    int add_numbers(const Plain_Array<float>& numbers) {
        return add_view(numbers.cells(), numbers.count() * sizeof(float), 0, false);
    }

    const Plain_Array<View>& views() const { return views_; }
    const Plain_Array<Shape>& shapes() const { return shapes_; }
    std::uint64_t size() const { return size_; }

    // False if something could not be stored, with errno.
    bool is_good() const { return error_ == 0; }
    bool copy_to(int descriptor) const { return std_copy_all(file_, descriptor); }

private:
    int add_view(const void* bytes, std::size_t size, std::uint32_t stride, bool holds_indices);
    void keep_good_items(const WDB_Mesh_Arrays& mesh, const Frame& place, int* lost);
    void write_vertices(Shape& shape, const HFrame& transform);

    const int file_;
    int error_ = 0;
    std::uint64_t size_ = 0;
    Plain_Array<View> views_;
    Plain_Array<Shape> shapes_;
    // Of the mesh that is added.
    Plain_Array<WDB_Vertex> vertices_;
    Plain_Array<std::uint32_t> indices_;
    Plain_Array<float> floats_;
};

#endif
