// Rows of numbers as text, each written out once however often it is used: a corner belongs to six
// triangles or so.
//
//     Vrml_Rows corners(points, 3);
//     out.put(corners.text(i));                // " 1 0 0.5"
#ifndef TOOLS_VRML_ROWS_H
#define TOOLS_VRML_ROWS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/Vrml_Place.h"

class Vrml_Rows {
public:
    // Row i begins at values[i * width]. Rows of two numbers, texture points, get a zero for the
    // third. Lifetime: the values must outlive this.
    Vrml_Rows() = default;
    Vrml_Rows(std::span<const double> values, std::size_t width)
        : values_(values), width_(width), texts_(values.size() / width) {}
    // Moves the rows of two numbers.
    void set_transform(const Vrml_Place& place) { place_ = place, has_place_ = true; }

    std::size_t count() const { return texts_.size(); }
    // Overwritten by the next new one.
    // Requires: i < count().
    std::string_view text(std::size_t i) {
        const Text& t = texts_[i].length ? texts_[i] : format(i);
        return std::string_view(all_).substr(t.start, t.length);
    }

private:
    struct Text {
        std::uint32_t start = 0, length = 0;
    };
    const Text& format(std::size_t i);

    std::span<const double> values_;
    std::size_t width_ = 1;
    std::vector<Text> texts_;
    std::string all_;
    Vrml_Place place_;
    bool has_place_ = false;
};

#endif
