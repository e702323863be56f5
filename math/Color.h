// A colour as a point of a three-dimensional space: red, green and blue.
//
//     Color c = interp(Color(1, 0, 0), Color(0, 0, 1), 0.25f);  // a quarter red, the rest blue
//     c += 0.5f * (Color(1, 1, 1) - c);                         // halfway to white
//     Color lit = ambient + 0.8f * (sun * c);                   // light adds up, surfaces filter
//
// A plain value of three contiguous floats. Nothing clamps or tests them: values below 0 and above
// 1 pass through everything. The default constructor sets nothing, indices are not tested.
#ifndef MATH_COLOR_H
#define MATH_COLOR_H

#include <concepts>
#include <iosfwd>

#include "math/Geometry.h"

class Color {
public:
    Color() = default;
    constexpr Color(float red, float green, float blue) : r(red), g(green), b(blue) {}

    float& operator[](int i) { return (&r)[i]; }
    float operator[](int i) const { return (&r)[i]; }

    Color& operator+=(const Vector& v) { return *this = Color(r + v.x, g + v.y, b + v.z); }
    Color& operator-=(const Vector& v) { return *this = Color(r - v.x, g - v.y, b - v.z); }
    // Light of two sources. A template, so that c += {x, y, z} keeps meaning a Vector.
    template<std::same_as<Color> Light>
    Color& operator+=(const Light& c) {
        return *this = Color(r + c.r, g + c.g, b + c.b);
    }
    Color& operator*=(float s) { return *this = Color(r * s, g * s, b * s); }
    // Three divisions, as for Vector.
    Color& operator/=(float s) { return *this = Color(r / s, g / s, b / s); }
    // Light through a filter, or on a surface: component by component.
    Color& operator*=(const Color& c) { return *this = Color(r * c.r, g * c.g, b * c.b); }
    // Moves like a Point, with the frame's origin.
    Color& operator*=(const Frame& f);

    // Each component differs by at most eps; 0 passes equal values.
    bool is_epsilon_equal(const Color& other, float eps) const;

    float r, g, b;
};

inline Color toColor(const Vector& v) {
    return Color(v.x, v.y, v.z);
}

// Exact, component by component.
inline bool operator==(const Color& a, const Color& b) {
    return a.r == b.r && a.g == b.g && a.b == b.b;
}
// -1, 0 or 1: the first of r, g, b that differs decides; with eps, that differs by more than eps.
int compare(const Color& a, const Color& b);
int compare(const Color& a, const Color& b, float eps);

inline Vector operator-(const Color& a, const Color& b) {
    return Vector(a.r - b.r, a.g - b.g, a.b - b.b);
}
inline Color operator+(const Color& c, const Vector& v) {
    return Color(c) += v;
}
inline Color operator+(const Vector& v, const Color& c) {
    return Color(c) += v;
}
inline Color operator-(const Color& c, const Vector& v) {
    return Color(c) -= v;
}
inline Color operator+(const Color& a, const Color& b) {
    return Color(a) += b;
}
inline Color operator*(const Color& c, float s) {
    return Color(c) *= s;
}
inline Color operator*(float s, const Color& c) {
    return Color(c) *= s;
}
inline Color operator/(const Color& c, float s) {
    return Color(c) /= s;
}
inline Color operator*(const Color& a, const Color& b) {
    return Color(a) *= b;
}
inline float pvdot(const Color& c, const Vector& v) {
    return (c.r * v.x + c.g * v.y) + c.b * v.z;
}

// Squared distance, and distance.
float dist2(const Color& a, const Color& b);
float dist(const Color& a, const Color& b);

// t*a + (1-t)*b: the weight t belongs to the first colour.
Color interp(const Color& a, const Color& b, float t);
// s*a + t*b + (1-s-t)*c, where the third weight is formed in double and rounded once.
Color interp(const Color& a, const Color& b, const Color& c, float s, float t);

Color operator*(const Color& c, const Frame& f);

// As for three points.
Vector cross(const Color& a, const Color& b, const Color& c);
float area2(const Color& a, const Color& b, const Color& c);

// "Color(1,0.5,0)\n"
std::ostream& operator<<(std::ostream& os, const Color& c);

#endif
