#include "math/Geometry.h"

#include <cfloat>
#include <cmath>
#include <ostream>

static_assert(FLT_EVAL_METHOD == 0, "single precision must round after every operation");

namespace {

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

std::ostream& operator<<(std::ostream& os, const Affine& a) {
    return print_triple(os, "Affine", a);
}
std::ostream& operator<<(std::ostream& os, const Vector& v) {
    return print_triple(os, "Vector", v);
}
std::ostream& operator<<(std::ostream& os, const Point& p) {
    return print_triple(os, "Point", p);
}

std::ostream& operator<<(std::ostream& os, const Bary& b) {
    return os << "Bary {\n  " << static_cast<double>(b.a) << "  " << static_cast<double>(b.b)
              << "  " << static_cast<double>(b.c) << "}\n";
}
