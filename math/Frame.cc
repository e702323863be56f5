#include <cmath>
#include <ostream>

#include "math/Bbox.h"
#include "math/Geometry.h"
#include "math/Homogeneous.h"

namespace {

// Below this a viewer stands straight above its target, or on it: nothing tells where to turn.
const double smallest_distance = 1e-7;

// A viewer in front of a box sees it under twice this angle: pi/16, from pi in single precision.
const double half_view_angle = 0.19634954631328583;

Frame linear(const Vector& x, const Vector& y, const Vector& z) {
    return Frame(x, y, z, Point(0, 0, 0));
}

Frame turn_about_x(float c, float s) {
    return linear({1, 0, 0}, {0, c, s}, {0, -s, c});
}
Frame turn_about_y(float c, float s) {
    return linear({c, 0, -s}, {0, 1, 0}, {s, 0, c});
}
Frame turn_about_z(float c, float s) {
    return linear({c, s, 0}, {-s, c, 0}, {0, 0, 1});
}

} // namespace

Frame Frame::identity() {
    return scaling(1);
}
Frame Frame::translation(const Affine& by) {
    return translation(by.x, by.y, by.z);
}
Frame Frame::translation(float x, float y, float z) {
    return Frame({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {x, y, z});
}

Frame Frame::scaling(float s) {
    return scaling(s, s, s);
}
Frame Frame::scaling(float x, float y, float z) {
    return linear({x, 0, 0}, {0, y, 0}, {0, 0, z});
}

Frame Frame::shear(float a, float b, float c) {
    return linear({1, a, b}, {0, 1, c}, {0, 0, 1});
}

Frame Frame::rotation(int axis, float angle) {
    // In double precision, so that quarter turns differ from whole numbers by no more than a
    // rounding.
    const float c = static_cast<float>(std::cos(static_cast<double>(angle)));
    const float s = static_cast<float>(std::sin(static_cast<double>(angle)));
    switch (axis) {
    case 0:
        return turn_about_x(c, s);
    case 1:
        return turn_about_y(c, s);
    case 2:
        return turn_about_z(c, s);
    default:
        return identity();
    }
}

Frame Frame::lookat(const Point& eye, const Point& at, float twist) {
    const Vector d = at - eye;
    // First about the upright axis until the target lies straight ahead, then up or down.
    const float level = mag(Vector(d.x, 0, d.z)); // the distance seen from above
    const float distance = mag(d);
    Frame f = translation(-eye.x, -eye.y, -eye.z);
    if (static_cast<double>(level) >= smallest_distance)
        f *= turn_about_y((eye.z - at.z) / level, (at.x - eye.x) / level);
    if (static_cast<double>(distance) >= smallest_distance)
        f *= turn_about_x(level / distance, (eye.y - at.y) / distance);
    return f * rotation(2, -twist);
}

Frame Frame::lookat(const Bbox& box, float twist) {
    const Point at = box.center();
    const Vector size = box.size();
    const float m = size.z < size.y ? size.y : size.z;
    const double distance = (static_cast<double>(m) / 2.0) / std::tan(half_view_angle);
    const Point eye(at.x, at.y, static_cast<float>(static_cast<double>(box.max.z) + distance));
    return lookat(eye, at, twist);
}

void Frame::zero() {
    *this = scaling(0);
}
void Frame::ident() {
    *this = identity();
}

bool Frame::isident() const {
    const Frame one = identity();
    for (int i = 0; i < 4; ++i)
        if (compare(row_[i], one[i]) != 0) return false;
    return true;
}

Frame& Frame::operator*=(const Frame& f) {
    return *this = *this * f;
}

Frame& Frame::transpose() {
    ::transpose(*this, *this);
    return *this;
}

// The first axis is as good as any to turn.
void Frame::makerighthand() {
    if (dot(cross(row_[0], row_[1]), row_[2]) < 0) row_[0] = -row_[0];
}

Frame operator*(const Frame& a, const Frame& b) {
    return Frame(a[0] * b, a[1] * b, a[2] * b, toPoint(a[3] * b + b[3]));
}

void transpose(const Frame& f, Frame& out) {
    out = Frame({f[0].x, f[1].x, f[2].x}, {f[0].y, f[1].y, f[2].y}, {f[0].z, f[1].z, f[2].z},
                toPoint(f[3]));
}

Frame transpose(const Frame& f) {
    return Frame(f).transpose();
}

bool invert(const Frame& f, Frame& out) {
    // `out` stays as it is where there is no inverse.
    Matrix4 m = toMatrix4(f);
    if (!invert(m, m)) return false;
    out = toFrame(m);
    return true;
}

bool Frame::invert() {
    return ::invert(*this, *this);
}

Frame Frame::operator~() const {
    Frame result = *this;
    ::invert(*this, result);
    return result;
}

Frame inverse(const Frame& f) {
    return ~f;
}

std::ostream& operator<<(std::ostream& os, const Frame& f) {
    return os << "Frame {\n  " << f[0] << "  " << f[1] << "  " << f[2] << "  " << toPoint(f[3])
              << "}\n";
}
