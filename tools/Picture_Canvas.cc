#include "tools/Picture_Canvas.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

// A power of two: steps of 1/256 of a sample. A picture of 16384 pixels is 2^24 of them wide, so
// that products of two differences stay far below 2^63.
static constexpr int steps = 256;
static constexpr int step_bits = 8;

// Ratios are within -1 to 1 but for the width of lines and for rounding; beyond 2 nothing is exact.
static std::int64_t in_steps(double ratio, int samples) {
    const std::int64_t half = static_cast<std::int64_t>(samples) * steps / 2;
    const double clamped = ratio > -2 ? (ratio < 2 ? ratio : 2) : -2;
    // Positive before the fraction is cut off, so that all is rounded alike.
    const double offset = 2 * static_cast<double>(half) + 0.5;
    return static_cast<std::int64_t>(clamped * static_cast<double>(half) + offset) - half;
}

// The first sample whose middle lies at or behind the step, and the last at or before it.
static int first_sample(std::int64_t step) {
    return static_cast<int>((step - steps / 2 + steps - 1) >> step_bits);
}
static int last_sample(std::int64_t step) {
    return static_cast<int>((step - steps / 2) >> step_bits);
}

bool Picture_Triangle::set_up(const Picture_Corner& a, const Picture_Corner& b,
                              const Picture_Corner& c, int width, int height, const Range& limits) {
    corner_[0] = &a;
    corner_[1] = &b;
    corner_[2] = &c;
    for (int i = 0; i < 3; ++i) {
        const Picture_Clip_Point& at = corner_[i]->at;
        x_[i] = in_steps(at.x / at.w, width);
        y_[i] = in_steps(at.y / at.w, height);
    }
    range_.left = std::max(limits.left, first_sample(std::min({x_[0], x_[1], x_[2]})));
    range_.right = std::min(limits.right, last_sample(std::max({x_[0], x_[1], x_[2]})));
    range_.bottom = std::max(limits.bottom, first_sample(std::min({y_[0], y_[1], y_[2]})));
    range_.top = std::min(limits.top, last_sample(std::max({y_[0], y_[1], y_[2]})));
    if (range_.left > range_.right || range_.bottom > range_.top) return false;

    std::int64_t area = (x_[1] - x_[0]) * (y_[2] - y_[0]) - (x_[2] - x_[0]) * (y_[1] - y_[0]);
    if (area == 0) return false;
    if (area < 0) { // seen from behind: the other way round
        area = -area;
        std::swap(corner_[1], corner_[2]);
        std::swap(x_[1], x_[2]);
        std::swap(y_[1], y_[2]);
    }
    for (int i = 0; i < 3; ++i) {
        const int from = (i + 1) % 3, to = (i + 2) % 3;
        const std::int64_t dx = x_[to] - x_[from], dy = y_[to] - y_[from];
        step_x_[i] = -dy * steps;
        // Of two triangles at an edge one goes along it this way, and the other one back.
        bias_[i] = dy < 0 || (dy == 0 && dx < 0) ? 0 : 1;
        weight_[i] = 1 / (corner_[i]->at.w * static_cast<double>(area));
    }
    return true;
}

Picture_Triangle::Edges Picture_Triangle::edges_at(int x, int y) const {
    const std::int64_t px = static_cast<std::int64_t>(x) * steps + steps / 2;
    const std::int64_t py = static_cast<std::int64_t>(y) * steps + steps / 2;
    Edges at;
    for (int i = 0; i < 3; ++i) {
        const int from = (i + 1) % 3, to = (i + 2) % 3;
        at.e[i] = (x_[to] - x_[from]) * (py - y_[from]) - (y_[to] - y_[from]) * (px - x_[from]) -
                  bias_[i];
    }
    return at;
}

void Picture_Triangle::shares(const Edges& at, double* out) const {
    const double scale = 1 / nearness(at);
    out[0] = out[1] = out[2] = 0;
    for (int i = 0; i < 3; ++i) {
        const double part = static_cast<double>(at.e[i]) * weight_[i] * scale;
        for (int j = 0; j < 3; ++j) out[j] += part * corner_[i]->share[j];
    }
}

// What a band may hold: 32 MB.
static constexpr int samples_in_band = 1 << 21;

Picture_Canvas::Picture_Canvas(int width, int height, const Color& background)
    : width_(width), height_(height), background_(background) {
    const int samples_in_row = width * picture_samples * picture_samples;
    rows_in_band_ = std::clamp(samples_in_band / samples_in_row, 1, height);
    limits_ = {0, width * picture_samples - 1, 0, 0};
    cells_ = new (GCAtomic)
        Cell[static_cast<std::size_t>(rows_in_band_) * static_cast<std::size_t>(samples_in_row)];
}

void Picture_Canvas::begin_band(int first_row) {
    const int end = std::min(first_row + rows_in_band_, height_);
    limits_.bottom = first_row * picture_samples;
    limits_.top = end * picture_samples - 1;
    std::fill(cell_at(0, limits_.bottom), cell_at(0, limits_.top + 1), Cell{0, background_});
}

Color Picture_Canvas::mean(int x, int y) const {
    Color sum(0, 0, 0);
    for (int j = 0; j < picture_samples; ++j) {
        const Cell* const cell = cell_at(x * picture_samples, y * picture_samples + j);
        for (int i = 0; i < picture_samples; ++i) sum += cell[i].color;
    }
    return sum / static_cast<float>(picture_samples * picture_samples);
}

static unsigned char to_byte(float f) {
    return static_cast<unsigned char>(std::lround(std::clamp(f, 0.0f, 1.0f) * 255.0f));
}

void Picture_Canvas::end_band(PX_Map* map) const {
    for (int y = limits_.bottom / picture_samples; y <= limits_.top / picture_samples; ++y)
        for (int x = 0; x < width_; ++x) {
            const Color color = mean(x, y);
            for (int c = 0; c < 3; ++c) map->put_pixel_component(to_byte(color[c]), x, y, c);
        }
}
