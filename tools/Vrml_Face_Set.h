// Faces over shared points, with what may vary over them: the form that all curved and bounded
// shapes of VRML are brought to.
#ifndef TOOLS_VRML_FACE_SET_H
#define TOOLS_VRML_FACE_SET_H

#include <cstddef>
#include <cstdint>
#include <span>

// Normals, colours or texture points of a face set.
struct Vrml_Attribute {
    enum Binding { NONE, OVERALL, PER_FACE, PER_CORNER };
    Binding binding = NONE;
    std::span<const double> values; // rows
    std::size_t width = 3;          // numbers in a row
    // The row of a face, or of a corner at the same place in coord_index; without an index the rows
    // follow the faces or corners.
    std::span<const double> index;

    static constexpr std::size_t NO_ROW = static_cast<std::size_t>(-1);
    // Row for corner `number` of all, at `place` in the coordinate index, of face `face`; or
    // NO_ROW.
    std::size_t row(std::size_t face, std::size_t place, std::size_t number) const {
        std::size_t i = 0;
        if (binding == NONE) return NO_ROW;
        if (binding == PER_FACE) i = face;
        if (binding == PER_CORNER) i = index.empty() ? number : place;
        if (binding != OVERALL && !index.empty()) {
            if (i >= index.size() || !(index[i] >= 0 && index[i] < static_cast<double>(count())))
                return NO_ROW;
            i = static_cast<std::size_t>(index[i]);
        }
        return i < count() ? i : NO_ROW;
    }
    std::size_t count() const { return values.size() / width; }
};

struct Vrml_Face_Set {
    std::span<const double> points;      // three numbers each
    std::span<const double> coord_index; // faces end with -1
    bool is_clockwise = false;
    bool is_convex = true;
    double crease_angle = 0; // edges up to it are smooth, where there are no normals; radians
    Vrml_Attribute normals, colors, texture_points;
};

// A face that is good: places in the coordinate index.
struct Vrml_Face {
    std::uint32_t begin, end; // its corners
    std::uint32_t number;     // among all faces, good or not
    std::uint32_t corner;     // its first among all corners
};

#endif
