#include "math/Geometry.h"

#include <cfloat>
#include <cmath>
#include <ostream>

static_assert(FLT_EVAL_METHOD == 0, "single precision must round after every operation");

namespace {

// Below this a viewer stands straight above its target, or on it: nothing tells where to turn.
const double smallest_distance = 1e-7;

// Root in double, one rounding back.
float root(float f) {
    return static_cast<float>(std::sqrt(static_cast<double>(f)));
}

// Requires: m2 is the squared length, not 0.
Vector scaled_to_unit(const Vector& v, float m2) {
    return v * static_cast<float>(1.0 / std::sqrt(static_cast<double>(m2)));
}

bool coordinate_agrees(float a, float b, float eps) {
    return std::fabs(static_cast<double>(a - b)) <= static_cast<double>(eps);
}

bool triple_agrees(const float* a, const float* b, float eps) {
    return coordinate_agrees(a[0], b[0], eps) && coordinate_agrees(a[1], b[1], eps) &&
           coordinate_agrees(a[2], b[2], eps);
}

// By x, then y, then z, by the signs of differences: a NaN is equal to all.
int triple_compare(const Affine& a, const Affine& b) {
    for (int i = 0; i < 3; ++i) {
        const float d = a[i] - b[i];
        if (d != 0) return d < 0 ? -1 : 1;
    }
    return 0;
}

// Not transitive: a chain of equal points may have unequal ends.
int triple_compare(const Affine& a, const Affine& b, float eps) {
    for (int i = 0; i < 3; ++i) {
        const float d = a[i] - b[i];
        if (d < -eps) return -1;
        if (d > eps) return 1;
    }
    return 0;
}

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

std::ostream& print_triple(std::ostream& os, const char* name, const Affine& a) {
    return os << name << '(' << static_cast<double>(a.x) << ',' << static_cast<double>(a.y) << ','
              << static_cast<double>(a.z) << ")\n";
}

} // namespace

bool Vector::normalize() {
    return ::normalize(*this, *this);
}

bool Vector::is_epsilon_equal(const Vector& other, float eps) const {
    return triple_agrees(to_c(), other.to_c(), eps);
}

bool Point::is_epsilon_equal(const Point& other, float eps) const {
    return triple_agrees(to_c(), other.to_c(), eps);
}

bool Bary::is_epsilon_equal(const Bary& other, float eps) const {
    return triple_agrees(&a, &other.a, eps);
}

float mag(const Vector& v) {
    return root(mag2(v));
}

bool normalize(const Vector& v, Vector& out) {
    const float m2 = mag2(v);
    if (m2 == 0) return false;
    out = scaled_to_unit(v, m2);
    return true;
}

Vector oknormalize(const Vector& v) {
    const float m2 = mag2(v);
    return m2 == 0 ? Vector(0, 0, 0) : scaled_to_unit(v, m2);
}

float dist(const Point& a, const Point& b) {
    return root(dist2(a, b));
}

// The product form, not a + t * (b - a): at 1 it gives b itself.
Point interp(const Point& a, const Point& b, float t) {
    return toPoint(t * toVector(a) + (1 - t) * toVector(b));
}

Point interp(const Point& a, const Point& b, const Point& c, float s, float t) {
    return toPoint((s * toVector(a) + t * toVector(b)) + ((1 - s) - t) * toVector(c));
}

float area2(const Point& a, const Point& b, const Point& c) {
    return static_cast<float>(static_cast<double>(mag2(cross(a, b, c))) * 0.25);
}

int compare(const Vector& a, const Vector& b) {
    return triple_compare(a, b);
}
int compare(const Point& a, const Point& b) {
    return triple_compare(a, b);
}
int compare(const Vector& a, const Vector& b, float eps) {
    return triple_compare(a, b, eps);
}
int compare(const Point& a, const Point& b, float eps) {
    return triple_compare(a, b, eps);
}

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
    const float level = root(d.x * d.x + d.z * d.z); // the distance seen from above
    const float distance = root(mag2(d));
    Frame f = translation(-eye.x, -eye.y, -eye.z);
    if (static_cast<double>(level) >= smallest_distance)
        f *= turn_about_y((eye.z - at.z) / level, (at.x - eye.x) / level);
    if (static_cast<double>(distance) >= smallest_distance)
        f *= turn_about_x(level / distance, (eye.y - at.y) / distance);
    return f * rotation(2, -twist);
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

std::ostream& operator<<(std::ostream& os, const Affine& a) {
    return print_triple(os, "Affine", a);
}
std::ostream& operator<<(std::ostream& os, const Vector& v) {
    return print_triple(os, "Vector", v);
}
std::ostream& operator<<(std::ostream& os, const Point& p) {
    return print_triple(os, "Point", p);
}

std::ostream& operator<<(std::ostream& os, const Frame& f) {
    return os << "Frame {\n  " << f[0] << "  " << f[1] << "  " << f[2] << "  " << toPoint(f[3])
              << "}\n";
}

std::ostream& operator<<(std::ostream& os, const Bary& b) {
    return os << "Bary {\n  " << static_cast<double>(b.a) << "  " << static_cast<double>(b.b)
              << "  " << static_cast<double>(b.c) << "}\n";
}
