// The samples of a picture: depth and colour, and the triangles that are drawn into them.
//
//     Picture_Canvas canvas(640, 480, background);
//     for (int row = 0; row < 480; row += canvas.rows_in_band()) {
//         canvas.begin_band(row);
//         canvas.draw(polygon, true, [](const Picture_Sample& s) { return colour_at(s); });
//         canvas.end_band(map);
//     }
//
// A pixel is the mean of 3 by 3 samples, which makes smooth edges. As that is nine times the
// picture, it is drawn in bands of rows, and memory stays in proportion to the picture. Row 0 is
// the bottom, as in a PX_Map.
//
// Corners are rounded to 1/256 of a sample and edges computed in whole numbers. Two triangles with
// a common edge so leave no sample between them and share none, which would show where both are
// transparent.
#ifndef TOOLS_PICTURE_CANVAS_H
#define TOOLS_PICTURE_CANVAS_H

#include <cstdint>

#include "images/PX_Map.h"
#include "math/Color.h"
#include "tools/Picture_Polygon.h"

// Of the edge of a pixel.
inline constexpr int picture_samples = 3;

struct Picture_Paint {
    Color color;
    float alpha; // 0: not to be seen, 1: hides what is behind
};

// Three corners of a polygon, ready to be drawn.
class Picture_Triangle {
public:
    // What is to be drawn: columns and rows, both ends included.
    struct Range {
        int left, right, bottom, top;
    };

    // The corners on a picture of that many samples, and the range that they may cover within
    // `limits`. False if that is empty.
    bool set_up(const Picture_Corner& a, const Picture_Corner& b, const Picture_Corner& c,
                int width, int height, const Range& limits);
    const Range& range() const { return range_; }

    // On the inner side of all three edges the numbers are not negative.
    struct Edges {
        std::int64_t e[3];
        bool is_inside() const { return (e[0] | e[1] | e[2]) >= 0; }
    };
    Edges edges_at(int x, int y) const;
    Edges right_of(const Edges& at) const {
        return {{at.e[0] + step_x_[0], at.e[1] + step_x_[1], at.e[2] + step_x_[2]}};
    }

    // 1/w, which unlike w and the other numbers is linear on the screen; larger is nearer.
    double nearness(const Edges& at) const {
        return (static_cast<double>(at.e[0]) * weight_[0] +
                static_cast<double>(at.e[1]) * weight_[1]) +
               static_cast<double>(at.e[2]) * weight_[2];
    }
    // Of the first corners of the polygon, in perspective; they sum up to 1.
    void shares(const Edges& at, double* out) const;

private:
    Range range_;
    const Picture_Corner* corner_[3];
    std::int64_t x_[3], y_[3];
    std::int64_t step_x_[3];
    std::int64_t bias_[3]; // edges that belong to the neighbour
    double weight_[3];
};

// One sample of a triangle, for whoever paints it.
class Picture_Sample {
public:
    Picture_Sample(const Picture_Triangle& triangle, int x, int y,
                   const Picture_Triangle::Edges& at)
        : triangle_(triangle), x_(x), y_(y), at_(at) {}

    void shares(double* out) const { triangle_.shares(at_, out); }
    // Of the next sample to the right, and above, were the triangle there as well.
    void shares_right(double* out) const { triangle_.shares(triangle_.right_of(at_), out); }
    void shares_above(double* out) const { triangle_.shares(triangle_.edges_at(x_, y_ + 1), out); }

private:
    const Picture_Triangle& triangle_;
    int x_, y_;
    const Picture_Triangle::Edges& at_;
};

class Picture_Canvas {
public:
    // In pixels.
    Picture_Canvas(int width, int height, const Color& background);

    int rows_in_band() const { return rows_in_band_; }
    // From this row of pixels on; all samples become background.
    void begin_band(int first_row);
    // The band's samples, counted from the bottom of the picture.
    int first_sample_row() const { return limits_.bottom; }
    int last_sample_row() const { return limits_.top; }
    // Stores the means of the band's pixels.
    // Requires: a map of the size of the canvas, with 3 components.
    void end_band(PX_Map* map) const;

    // Asks `paint(sample)` for the Picture_Paint of each sample of the polygon that nothing hides.
    // What is not opaque is mixed with what is there, and hides nothing.
    template<class Paint>
    void draw(const Picture_Polygon& polygon, bool is_opaque, const Paint& paint) {
        Picture_Triangle triangle;
        for (int i = 2; i < polygon.count(); ++i)
            if (triangle.set_up(polygon[0], polygon[i - 1], polygon[i], width_ * picture_samples,
                                height_ * picture_samples, limits_))
                draw(triangle, is_opaque, paint);
    }

private:
    struct Cell {
        float nearness; // 0: infinitely far
        Color color;
    };

    template<class Paint>
    void draw(const Picture_Triangle& triangle, bool is_opaque, const Paint& paint) {
        const Picture_Triangle::Range& range = triangle.range();
        for (int y = range.bottom; y <= range.top; ++y) {
            Cell* cell = cell_at(range.left, y);
            Picture_Triangle::Edges at = triangle.edges_at(range.left, y);
            for (int x = range.left; x <= range.right; ++x, ++cell, at = triangle.right_of(at)) {
                if (!at.is_inside()) continue;
                const float nearness = static_cast<float>(triangle.nearness(at));
                if (!(nearness > cell->nearness)) continue;
                const Picture_Paint dab = paint(Picture_Sample(triangle, x, y, at));
                if (is_opaque) {
                    *cell = {nearness, dab.color};
                } else {
                    cell->color = interp(dab.color, cell->color, dab.alpha);
                }
            }
        }
    }
    Cell* cell_at(int x, int y) const {
        return cells_ + static_cast<std::int64_t>(y - limits_.bottom) * width_ * picture_samples +
               x;
    }
    Color mean(int x, int y) const;

    int width_, height_;
    Color background_;
    int rows_in_band_;
    Picture_Triangle::Range limits_;
    Cell* cells_;
};

#endif
