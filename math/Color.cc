#include "math/Color.h"

#include <ostream>

namespace {

// Where all that a colour and a point have in common is computed.
Point as_point(const Color& c) {
    return Point(c.r, c.g, c.b);
}
Vector as_vector(const Color& c) {
    return Vector(c.r, c.g, c.b);
}
Color as_color(const Point& p) {
    return Color(p.x, p.y, p.z);
}

// In single precision throughout, where points take the magnitude in double.
bool component_agrees(float a, float b, float eps) {
    const float d = a - b;
    return d < 0 ? -d <= eps : d <= eps;
}

} // namespace

Color& Color::operator*=(const Frame& f) {
    return *this = *this * f;
}

bool Color::is_epsilon_equal(const Color& other, float eps) const {
    return component_agrees(r, other.r, eps) && component_agrees(g, other.g, eps) &&
           component_agrees(b, other.b, eps);
}

int compare(const Color& a, const Color& b) {
    return compare(as_point(a), as_point(b));
}
int compare(const Color& a, const Color& b, float eps) {
    return compare(as_point(a), as_point(b), eps);
}

float dist2(const Color& a, const Color& b) {
    return dist2(as_point(a), as_point(b));
}
float dist(const Color& a, const Color& b) {
    return dist(as_point(a), as_point(b));
}

Color interp(const Color& a, const Color& b, float t) {
    return as_color(interp(as_point(a), as_point(b), t));
}

Color interp(const Color& a, const Color& b, const Color& c, float s, float t) {
    const float w = static_cast<float>((1.0 - static_cast<double>(s)) - static_cast<double>(t));
    return toColor((s * as_vector(a) + t * as_vector(b)) + w * as_vector(c));
}

Color operator*(const Color& c, const Frame& f) {
    return as_color(as_point(c) * f);
}

Vector cross(const Color& a, const Color& b, const Color& c) {
    return cross(b - a, c - a);
}

float area2(const Color& a, const Color& b, const Color& c) {
    return area2(as_point(a), as_point(b), as_point(c));
}

std::ostream& operator<<(std::ostream& os, const Color& c) {
    return os << "Color(" << static_cast<double>(c.r) << ',' << static_cast<double>(c.g) << ','
              << static_cast<double>(c.b) << ")\n";
}
