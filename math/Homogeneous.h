// Homogeneous coordinates, and the matrix as a transformation of world objects.
//
//     HFrame place = Frame::scaling(2) * Frame::translation(x, y, z);
//     Homogeneous h = Homogeneous(p) * place;                   // p moved, w = 1
//     Point mean = toPoint(normalize(p * 2.0f + q * 3.0f));     // (2p + 3q) / 5
//
// A point has w = 1, a vector w = 0, and both convert without a word. Plain values like Vector4
// and Matrix4, with the same conventions.
#ifndef MATH_HOMOGENEOUS_H
#define MATH_HOMOGENEOUS_H

#include <iosfwd>

#include "math/Geometry.h"
#include "math/Matrix4.h"

// A Vector4 that knows points and vectors.
class Homogeneous : public Vector4 {
public:
    // All 0, unlike the other values.
    constexpr Homogeneous() : Vector4(0, 0, 0, 0) {}
    constexpr Homogeneous(float px, float py, float pz, float pw) : Vector4(px, py, pz, pw) {}
    constexpr Homogeneous(const Vector4& v) : Vector4(v) {}
    constexpr Homogeneous(const Point& p) : Vector4(p.x, p.y, p.z, 1) {}
    constexpr Homogeneous(const Vector& v) : Vector4(v.x, v.y, v.z, 0) {}

    // Exactly 0 throughout, w included.
    bool iszero() const { return x == 0 && y == 0 && z == 0 && w == 0; }

    // Multiplies all four components by 1/w, which is formed in double and rounded. w = 0 runs on
    // into the floating-point result. The object itself.
    Homogeneous& normalize();

    Homogeneous& operator+=(const Homogeneous& h);
    Homogeneous& operator-=(const Homogeneous& h);
};

// A Matrix4 that places things; accepted wherever a matrix is read.
class HFrame : public Matrix4 {
public:
    HFrame() = default;
    HFrame(const Homogeneous& r0, const Homogeneous& r1, const Homogeneous& r2,
           const Homogeneous& r3)
        : Matrix4(r0, r1, r2, r3) {}
    HFrame(const Matrix4& m) : Matrix4(m) {}
    // As toMatrix4.
    HFrame(const Frame& f);

    static HFrame identity() { return Matrix4::identity(); }
};

// Rows (f[0], 0), (f[1], 0), (f[2], 0), (f[3], 1).
Matrix4 toMatrix4(const Frame& f);
// Drops the last column unread.
Frame toFrame(const Matrix4& m);

// The first three components as they stand: nothing is divided by w.
inline Point toPoint(const Vector4& v) {
    return Point(v.x, v.y, v.z);
}
inline Vector toVector(const Vector4& v) {
    return Vector(v.x, v.y, v.z);
}

// As Homogeneous::normalize.
Homogeneous normalize(const Homogeneous& h);

inline Homogeneous operator+(const Homogeneous& a, const Homogeneous& b) {
    return Homogeneous(a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w);
}
inline Homogeneous operator-(const Homogeneous& a, const Homogeneous& b) {
    return Homogeneous(a.x - b.x, a.y - b.y, a.z - b.z, a.w - b.w);
}
inline Homogeneous& Homogeneous::operator+=(const Homogeneous& h) {
    return *this = *this + h;
}
inline Homogeneous& Homogeneous::operator-=(const Homogeneous& h) {
    return *this = *this - h;
}

// A scaled point keeps its place: its w is the scale.
inline Homogeneous operator*(const Point& p, float s) {
    return Homogeneous(p.x * s, p.y * s, p.z * s, s);
}
inline Homogeneous operator*(float s, const Point& p) {
    return p * s;
}

inline Homogeneous operator*(const Homogeneous& h, const HFrame& m) {
    return static_cast<const Vector4&>(h) * static_cast<const Matrix4&>(m);
}
// Named here, or either side could convert and neither product would be the better one.
inline Vector4 operator*(const Vector4& v, const HFrame& m) {
    return v * static_cast<const Matrix4&>(m);
}

inline Homogeneous operator*(const Homogeneous& h, const Matrix4& m) {
    return static_cast<const Vector4&>(h) * m;
}

// A sum of products mixes the two kinds: h * 2.0f is a Vector4.
inline Homogeneous operator+(const Vector4& a, const Homogeneous& b) {
    return Homogeneous(a) + b;
}
inline Homogeneous operator+(const Homogeneous& a, const Vector4& b) {
    return a + Homogeneous(b);
}
inline Homogeneous operator-(const Vector4& a, const Homogeneous& b) {
    return Homogeneous(a) - b;
}
inline Homogeneous operator-(const Homogeneous& a, const Vector4& b) {
    return a - Homogeneous(b);
}

// A frame among matrices is its matrix form. The product is a Matrix4, as that of two HFrames is,
// and converts to an HFrame.
inline Matrix4 operator*(const Matrix4& m, const Frame& f) {
    return m * toMatrix4(f);
}
inline Matrix4 operator*(const Frame& f, const Matrix4& m) {
    return toMatrix4(f) * m;
}
inline Matrix4& operator*=(Matrix4& m, const Frame& f) {
    return m *= toMatrix4(f);
}
inline Vector4& operator*=(Vector4& v, const Frame& f) {
    return v *= toMatrix4(f);
}

// "Homogeneous(1,2,3,1)\n"; an HFrame six lines, whose rows print as Vector4.
std::ostream& operator<<(std::ostream& os, const Homogeneous& h);
std::ostream& operator<<(std::ostream& os, const HFrame& f);

#endif
