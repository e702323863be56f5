#include "tools/Picture_Texture.h"

#include <algorithm>
#include <cmath>

// The mean of two by two pixels; of two along a side that is only one pixel long.
static PX_Map* halved(const PX_Map& map) {
    const int width = map.get_width(), height = map.get_height();
    auto* const half =
        new PX_Map(std::max(width / 2, 1), std::max(height / 2, 1), map.get_component());
    const int dx = width > 1 ? 1 : 0, dy = height > 1 ? 1 : 0;
    for (int y = 0; y < half->get_height(); ++y)
        for (int x = 0; x < half->get_width(); ++x)
            for (int c = 0; c < map.get_component(); ++c) {
                const int x0 = x << dx, y0 = y << dy;
                const int sum = map.get_pixel_component(x0, y0, c) +
                                map.get_pixel_component(x0 + dx, y0, c) +
                                map.get_pixel_component(x0, y0 + dy, c) +
                                map.get_pixel_component(x0 + dx, y0 + dy, c);
                half->put_pixel_component(static_cast<unsigned char>((sum + 2) / 4), x, y, c);
            }
    return half;
}

Picture_Texture::Picture_Texture(PX_Map* image) {
    for (PX_Map* level = image;; level = halved(*level)) {
        levels_.insert_last(level);
        if (level->get_width() <= 1 && level->get_height() <= 1) break;
    }
}

bool Picture_Texture::is_opaque() const {
    const int n = levels_[0]->get_component();
    return n == 1 || n == 3;
}

namespace {
// Where a texture coordinate lies on a side of the picture: between two pixels, nearer to the
// second by `part`.
struct Texel_Pair {
    int first, second;
    float part;

    Texel_Pair(double t, int size, bool repeats) {
        if (!repeats) {
            // In this order 0 for NaN.
            const double place = std::min(std::max(0.0, t * size - 0.5), size - 1.0);
            first = static_cast<int>(place);
            second = std::min(first + 1, size - 1);
            part = static_cast<float>(place - first);
            return;
        }
        double whole = t - std::floor(t); // NaN for what is infinite
        if (!(whole >= 0 && whole < 1)) whole = 0;
        // The middle of the first pixel is at half a pixel.
        const double place = whole * size + size - 0.5;
        const int pixel = static_cast<int>(place);
        first = pixel % size;
        second = (pixel + 1) % size;
        part = static_cast<float>(place - pixel);
    }
};
} // namespace

static Picture_Paint pixel_of(const PX_Map& map, int x, int y) {
    const auto part = [&](int c) {
        return static_cast<float>(map.get_pixel_component(x, y, c)) / 255.0f;
    };
    switch (map.get_component()) {
    case 1:
        return {Color(part(0), part(0), part(0)), 1};
    case 2:
        return {Color(part(0), part(0), part(0)), part(1)};
    case 3:
        return {Color(part(0), part(1), part(2)), 1};
    default:
        return {Color(part(0), part(1), part(2)), part(3)};
    }
}

static Picture_Paint mixed(const Picture_Paint& a, const Picture_Paint& b, float part) {
    return {interp(b.color, a.color, part), part * b.alpha + (1 - part) * a.alpha};
}

Picture_Paint Picture_Texture::at(double u, double v, double step, bool repeats) const {
    int level = 0;
    // The nearest level: from the root of two on the next one is nearer.
    for (double left = step; left > 1.4142135623730951 && level + 1 < levels_.count(); left /= 2)
        ++level;
    const PX_Map& map = *levels_[level];
    const Texel_Pair x(u, map.get_width(), repeats), y(v, map.get_height(), repeats);
    const Picture_Paint below =
        mixed(pixel_of(map, x.first, y.first), pixel_of(map, x.second, y.first), x.part);
    const Picture_Paint above =
        mixed(pixel_of(map, x.first, y.second), pixel_of(map, x.second, y.second), x.part);
    return mixed(below, above, y.part);
}
