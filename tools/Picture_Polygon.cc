#include "tools/Picture_Polygon.h"

#include <cmath>

Picture_Projection::Picture_Projection(const HFrame& place, const Matrix4& view) {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            m_[i][j] = 0;
            for (int k = 0; k < 4; ++k)
                m_[i][j] += static_cast<double>(place[i][k]) * static_cast<double>(view[k][j]);
        }
}

void Picture_Polygon::add(const Picture_Clip_Point& at, int whose) {
    Picture_Corner corner = {at, {0, 0, 0}};
    corner.share[whose] = 1;
    add(corner);
}

static constexpr int sides = 6;

// Not negative on the inner side.
static double inside(const Picture_Clip_Point& p, int side) {
    switch (side) {
    case 0:
        return p.w - p.x;
    case 1:
        return p.w + p.x;
    case 2:
        return p.w - p.y;
    case 3:
        return p.w + p.y;
    case 4:
        return p.w - p.z;
    default:
        return p.w + p.z;
    }
}

static unsigned sides_outside_of(const Picture_Clip_Point& p) {
    unsigned bits = 0;
    for (int side = 0; side < sides; ++side)
        if (inside(p, side) < 0) bits |= 1u << side;
    return bits;
}

// One that is infinite or no number makes the sum so; infinities of both signs make it no number.
static bool is_point(const Picture_Clip_Point& p) {
    return std::isfinite((p.x + p.y) + (p.z + p.w));
}

// Always from the corner outside to the one inside, so that two triangles cut their common edge in
// the same place.
static Picture_Corner crossing(const Picture_Corner& out, const Picture_Corner& in, int side) {
    const double a = inside(out.at, side), b = inside(in.at, side);
    const double t = a / (a - b);
    const auto mix = [t](double from, double to) { return from + t * (to - from); };
    return {{mix(out.at.x, in.at.x), mix(out.at.y, in.at.y), mix(out.at.z, in.at.z),
             mix(out.at.w, in.at.w)},
            {mix(out.share[0], in.share[0]), mix(out.share[1], in.share[1]),
             mix(out.share[2], in.share[2])}};
}

// A convex polygon crosses a side twice at most, so each cut adds one corner at most. Rounding may
// bend it: then the room ends the loop.
void Picture_Polygon::cut(int side) {
    Picture_Corner kept[room_];
    int n = 0;
    for (int i = 0; i < count_ && n + 2 <= room_; ++i) {
        const Picture_Corner &from = corners_[i], &to = corners_[(i + 1) % count_];
        const bool from_is_in = inside(from.at, side) >= 0, to_is_in = inside(to.at, side) >= 0;
        if (from_is_in) kept[n++] = from;
        if (from_is_in != to_is_in)
            kept[n++] = from_is_in ? crossing(to, from, side) : crossing(from, to, side);
    }
    count_ = n;
    for (int i = 0; i < n; ++i) corners_[i] = kept[i];
}

bool Picture_Polygon::clip() {
    unsigned beyond_some = 0, beyond_all = ~0u;
    for (int i = 0; i < count_; ++i) {
        if (!is_point(corners_[i].at)) return false;
        const unsigned bits = sides_outside_of(corners_[i].at);
        beyond_some |= bits;
        beyond_all &= bits;
    }
    if (beyond_all != 0) return false;
    for (int side = 0; side < sides; ++side)
        if (beyond_some & (1u << side)) cut(side);
    // The tip of the pyramid of view passes all six sides.
    for (int i = 0; i < count_; ++i)
        if (!(corners_[i].at.w > 0)) return false;
    return count_ > 0;
}
