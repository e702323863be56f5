#include "wdb/Glb_Data.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <unistd.h>

#include "images/Plain_Png.h"
#include "math/Finite.h"
#include "std/Std_Descriptor.h"
#include "wdb/WDB_Line_List.h"
#include "wdb/WDB_Tri_List.h"

Glb_Data::Glb_Data() : file_(std_open_nameless()), error_(file_ < 0 ? errno : 0) {}

Glb_Data::~Glb_Data() {
    if (file_ >= 0) ::close(file_);
}

// Views begin at multiples of 4, as their numbers want it.
int Glb_Data::add_view(const void* bytes, std::size_t size, std::uint32_t stride,
                       bool holds_indices) {
    static const char zeros[4] = {};
    const std::size_t padding = (4 - size % 4) % 4;
    if (error_ == 0 &&
        (!std_write_all(file_, bytes, size) || !std_write_all(file_, zeros, padding)))
        error_ = errno;
    views_.push({size_, size, stride, holds_indices});
    size_ += size + padding;
    return static_cast<int>(views_.count()) - 1;
}

// A normal that is none becomes that of the face.
static void mend_normal(Vector& normal, const Vector& face) {
    const auto square = [](const Vector& v) {
        return static_cast<double>(v.x) * static_cast<double>(v.x) +
               static_cast<double>(v.y) * static_cast<double>(v.y) +
               static_cast<double>(v.z) * static_cast<double>(v.z);
    };
    for (const Vector& v : {normal, face, Vector(0, 0, 1)}) {
        const double length = std::sqrt(square(v));
        if (!(length > 0) || !std::isfinite(length)) continue;
        normal = Vector(static_cast<float>(static_cast<double>(v.x) / length),
                        static_cast<float>(static_cast<double>(v.y) / length),
                        static_cast<float>(static_cast<double>(v.z) / length));
        return;
    }
}

void Glb_Data::keep_good_items(const WDB_Mesh_Arrays& mesh, const Frame& place, int* lost) {
    vertices_.wipe_out();
    indices_.wipe_out();
    for (std::size_t i = 0; i < mesh.vertex_count(); ++i) vertices_.push(mesh.vertices()[i]);
    const auto corners = static_cast<std::size_t>(mesh.corners_of_item());
    for (std::size_t i = 0; i < mesh.index_count(); i += corners) {
        bool is_good = true;
        for (std::size_t c = 0; c < corners; ++c)
            is_good &= is_finite(vertices_[mesh.index(i + c)].position) &&
                       is_finite(vertices_[mesh.index(i + c)].position * place);
        if (!is_good) {
            ++*lost;
            continue;
        }
        const auto at = [&](std::size_t c) -> WDB_Vertex& { return vertices_[mesh.index(i + c)]; };
        const Vector face =
            corners == 3 ? cross(at(0).position, at(1).position, at(2).position) : Vector(0, 0, 0);
        for (std::size_t c = 0; c < corners; ++c) {
            mend_normal(at(c).normal, face);
            indices_.push(mesh.index(i + c));
        }
    }
}

float glb_unit(float value) {
    return value > 0 ? std::min(value, 1.0f) : 0;
}

// As sRGB has it.
float glb_light(float value) {
    const auto part = static_cast<double>(glb_unit(value));
    const double last_linear = 0.04045, slope = 12.92, offset = 0.055, exponent = 2.4;
    return static_cast<float>(
        part <= last_linear ? part / slope : std::pow((part + offset) / (1 + offset), exponent));
}

void Glb_Data::write_vertices(Shape& shape, const HFrame& transform) {
    const bool is_moved = !transform.is_identity();
    const Frame place = toFrame(transform);
    // Normals stand upright on what a shear makes of their faces.
    Frame turned = place;
    if (is_moved && turned.invert()) turned.transpose();
    floats_.wipe_out();
    shape.box.clear();
    for (std::size_t i = 0; i < vertices_.count(); ++i) {
        WDB_Vertex v = vertices_[i];
        if (is_moved) v.position = v.position * place;
        // Of an item that was left out: nothing refers to it.
        if (!is_finite(v.position))
            v = {Point(0, 0, 0), Vector(0, 0, 1), Color(0, 0, 0), {0, 0, 0}};
        if (is_moved) mend_normal(v.normal = v.normal * turned, Vector(0, 0, 1));
        shape.box.merge(v.position);
        for (int k = 0; k < 3; ++k) floats_.push(v.position[k]);
        for (int k = 0; k < 3 && shape.has_normals; ++k) floats_.push(v.normal[k]);
        // The picture's first row is its upper one there.
        const float u = v.texture_point.x, w = 1 - v.texture_point.y;
        if (shape.has_texture_points) floats_.push(std::isfinite(u) ? u : 0);
        if (shape.has_texture_points) floats_.push(std::isfinite(w) ? w : 0);
        for (int k = 0; k < 3 && shape.has_colors; ++k) floats_.push(glb_light(v.color[k]));
    }
    const std::size_t width =
        3u + 3u * shape.has_normals + 2u * shape.has_texture_points + 3u * shape.has_colors;
    const auto stride = static_cast<std::uint32_t>(width * sizeof(float));
    shape.vertices = add_view(floats_.cells(), floats_.count() * sizeof(float), stride, false);
}

int Glb_Data::add_mesh(const WDB_Geometry& geometry, const HFrame& transform,
                       bool with_texture_points, int* lost) {
    Shape shape = {};
    shape.has_texture_points = with_texture_points;
    if (const auto* const lines = WDB_Line_List::const_castdown(&geometry)) {
        shape.is_lines = true;
        shape.has_normals = lines->get_with_normals();
        shape.has_colors = lines->get_with_colors();
    } else if (const auto* const triangles = WDB_Tri_List::const_castdown(&geometry)) {
        shape.has_normals = true;
        shape.has_colors = triangles->get_with_colors();
    } else {
        return -1;
    }
    WDB_Mesh_Arrays arrays((shape.has_normals ? WDB_WITH_NORMALS : 0u) |
                           (shape.has_colors ? WDB_WITH_COLORS : 0u) |
                           (with_texture_points ? WDB_WITH_TEXTURES : 0u));
    arrays.update(geometry);
    keep_good_items(arrays, toFrame(transform), lost);
    if (indices_.count() == 0) return -1;
    write_vertices(shape, transform);
    shape.vertex_count = static_cast<std::uint32_t>(vertices_.count());
    shape.index_count = static_cast<std::uint32_t>(indices_.count());
    shape.index_size = arrays.index_size();
    if (shape.index_size == 4) {
        shape.indices = add_view(indices_.cells(), indices_.count() * 4, 0, true);
    } else {
        Plain_Array<std::uint16_t> narrow;
        narrow.reserve(indices_.count());
        for (std::size_t i = 0; i < indices_.count(); ++i)
            narrow.push(static_cast<std::uint16_t>(indices_[i]));
        shape.indices = add_view(narrow.cells(), narrow.count() * 2, 0, true);
    }
    shapes_.push(shape);
    return static_cast<int>(shapes_.count()) - 1;
}

int Glb_Data::add_picture(const PX_Map& picture) {
    const Std_Plain_Vector<unsigned char> png = plain_png(picture);
    return png.empty() ? -1 : add_view(png.data(), png.size(), 0, false);
}
