#include "math/Viewer_Moves.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

// In double, so that one rounding is all that a move costs.
struct Wide {
    Wide(double px, double py, double pz) : x(px), y(py), z(pz) {}
    explicit Wide(const Affine& a)
        : x(static_cast<double>(a.x)), y(static_cast<double>(a.y)), z(static_cast<double>(a.z)) {}

    Wide operator+(const Wide& o) const { return {x + o.x, y + o.y, z + o.z}; }
    Wide operator-(const Wide& o) const { return {x - o.x, y - o.y, z - o.z}; }
    Wide operator*(double s) const { return {x * s, y * s, z * s}; }
    Vector rounded() const {
        return Vector(static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
    }

    double x, y, z;
};

double dot(const Wide& a, const Wide& b) {
    return (a.x * b.x + a.y * b.y) + a.z * b.z;
}
Wide cross(const Wide& a, const Wide& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
// NaN for a vector without length.
Wide unit(const Wide& v) {
    return v * (1 / std::sqrt(dot(v, v)));
}
Wide turned(const Wide& v, const Wide& unit_axis, double angle) {
    const double c = std::cos(angle), s = std::sin(angle);
    return (v * c + cross(unit_axis, v) * s) + unit_axis * (dot(unit_axis, v) * (1 - c));
}

// Rows of length 1 at right angles. The direction of view counts most, then what is right; a frame
// that is left-handed stays so.
struct Axes {
    explicit Axes(const Frame& f)
        : back(unit(Wide(f[2]))), right(across(Wide(f[0]))), up(across(Wide(f[1]))) {
        up = unit(up - right * dot(up, right));
    }
    Wide across(const Wide& v) const {
        const Wide direction = unit(v);
        return unit(direction - back * dot(direction, back));
    }
    void turn(const Wide& axis, double angle) {
        back = turned(back, axis, angle);
        right = turned(right, axis, angle);
        up = turned(up, axis, angle);
    }
    Frame at(const Wide& origin) const {
        return Frame(right.rounded(), up.rounded(), back.rounded(), toPoint(origin.rounded()));
    }

    Wide back, right, up;
};

bool is_finite(const Frame& f) {
    for (int i = 0; i < 4; ++i)
        if (!std::isfinite(f[i].x) || !std::isfinite(f[i].y) || !std::isfinite(f[i].z))
            return false;
    return true;
}

Frame or_else(const Frame& moved, const Frame& before) {
    return is_finite(moved) ? moved : before;
}

} // namespace

Frame orbit_viewer(const Frame& viewer, const Point& centre, float right, float over,
                   const Vector& up) {
    Axes axes(viewer);
    const Wide above = up.iszero() ? axes.up : unit(Wide(up));
    // Height of the eye over the horizon of what it looks at, from -pi/2 to pi/2.
    const Wide level = cross(above, axes.back);
    const double height = std::atan2(dot(axes.back, above), std::sqrt(dot(level, level)));
    const double quarter = std::numbers::pi / 2;
    const double climb = std::clamp(height + static_cast<double>(over), -quarter, quarter) - height;
    // Straight above or below, where rounding alone tells what is level, the viewer's right is.
    const double least_level = 1e-2;
    const Wide axis = dot(level, level) < least_level * least_level ? axes.right : unit(level);
    const auto move = [&](const Wide& v) {
        return turned(turned(v, axis, -climb), above, static_cast<double>(right));
    };
    const Wide origin = Wide(centre) + move(Wide(viewer[3]) - Wide(centre));
    axes.turn(axis, -climb);
    axes.turn(above, static_cast<double>(right));
    return or_else(axes.at(origin), viewer);
}

Frame fly_viewer(const Frame& viewer, float forward, float right, float above) {
    const Axes axes(viewer);
    const Wide way =
        (axes.right * static_cast<double>(right) + axes.up * static_cast<double>(above)) -
        axes.back * static_cast<double>(forward);
    return or_else(axes.at(Wide(viewer[3]) + way), viewer);
}

// The same turn that carries a viewer to the right round a centre turns one to the left in place.
Frame turn_viewer(const Frame& viewer, float left, float upwards, const Vector& up) {
    return orbit_viewer(viewer, toPoint(viewer[3]), left, -upwards, up);
}
