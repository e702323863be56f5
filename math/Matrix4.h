// Four-vectors and four-by-four matrices: projections, viewing and inversion.
//
//     Matrix4 m = Matrix4::perspective(fov, 1, 100);
//     Vector4 clip = Vector4(p.x, p.y, p.z, 1) * m;  // inside: -w <= x, y, z <= w
//     Matrix4 back;
//     if (invert(m, back)) ...
//
// Rows are vectors and the transformation stands on the right; `a * b` is a, then b. An affine
// matrix has the last column (0, 0, 0, 1) and is the matrix form of a Frame. The viewer looks
// along -z with +y up. Sixteen floats row by row, single precision in the grouping written here.
// Default constructors set nothing. Indices are not tested and nothing is reported: equal planes
// or a zero opening run on into the floating-point result.
#ifndef MATH_MATRIX4_H
#define MATH_MATRIX4_H

#include <iosfwd>

#include "math/Geometry.h"

class Matrix4;

class Vector4 {
public:
    Vector4() = default;
    constexpr Vector4(float px, float py, float pz, float pw) : x(px), y(py), z(pz), w(pw) {}

    float& operator[](int i) { return (&x)[i]; }
    float operator[](int i) const { return (&x)[i]; }
    float* to_c() { return &x; }
    const float* to_c() const { return &x; }

    void zero() { *this = Vector4(0, 0, 0, 0); }

    Vector4 operator-() const { return Vector4(-x, -y, -z, -w); }
    Vector4& operator+=(const Vector4& v) {
        return *this = Vector4(x + v.x, y + v.y, z + v.z, w + v.w);
    }
    Vector4& operator-=(const Vector4& v) {
        return *this = Vector4(x - v.x, y - v.y, z - v.z, w - v.w);
    }
    Vector4& operator*=(float s) { return *this = Vector4(x * s, y * s, z * s, w * s); }
    // Four products with one reciprocal, where Vector divides three times.
    Vector4& operator/=(float s) { return *this *= 1.0f / s; }
    inline Vector4& operator*=(const Matrix4& m);

    float x, y, z, w;
};

class Matrix4 {
public:
    Matrix4() = default;
    Matrix4(const Vector4& r0, const Vector4& r1, const Vector4& r2, const Vector4& r3)
        : row_{r0, r1, r2, r3} {}
    // Row by row.
    Matrix4(float m00, float m01, float m02, float m03, float m10, float m11, float m12, float m13,
            float m20, float m21, float m22, float m23, float m30, float m31, float m32, float m33)
        : row_{{m00, m01, m02, m03},
               {m10, m11, m12, m13},
               {m20, m21, m22, m23},
               {m30, m31, m32, m33}} {}

    Vector4& operator[](int i) { return row_[i]; }
    const Vector4& operator[](int i) const { return row_[i]; }
    float* to_c() { return row_[0].to_c(); }
    const float* to_c() const { return row_[0].to_c(); }

    static Matrix4 identity();

    // The projection of aspect 1 with the full vertical opening angle `fov`, between the planes at
    // distances `near` and `far`; w becomes the distance in front of the viewer.
    static Matrix4 perspective(float fov, float near, float far);
    // The projection of the frustum with the given edges on its near plane.
    static Matrix4 window(float left, float right, float bottom, float top, float near, float far);
    // The projection of one eye, from a standard perspective matrix. `eye_offset` is the eye's
    // place along x, `aspect` multiplies the opening angle for the horizontal extent. The pictures
    // of both eyes agree on the plane halfway between near and far.
    static Matrix4 stereo_perspective(const Matrix4& standard, float aspect, float eye_offset);

    void zero();
    void ident();

    // The last column is exactly (0, 0, 0, 1).
    bool is_affine() const {
        return row_[0].w == 0 && row_[1].w == 0 && row_[2].w == 0 && row_[3].w == 1;
    }
    bool is_identity() const;
    // Affine, and the determinant of the linear part is within 0.001 of 1.
    bool is_scale_preserving() const;
    // Has exactly the zeros and the -1 of `perspective`; the two scales need not agree.
    bool is_std_perspective() const;

    // What `perspective` was given, up to rounding; the angle is read from m[1][1] alone.
    // Requires: is_std_perspective().
    float fov_from_std_perspective() const;
    float near_from_std_perspective() const;
    float far_from_std_perspective() const;

    Matrix4& operator*=(const Matrix4& m);

    // The inverse; of a singular matrix the matrix itself, unchanged. Who can meet one uses invert.
    Matrix4 operator~() const;

    Matrix4& transpose();

    // Makes a matrix exactly affine whose last column is so within 0.001 in sum, and leaves any
    // other alone. The matrix itself.
    Matrix4& fix();

private:
    Vector4 row_[4];
};

inline Vector4 operator+(const Vector4& a, const Vector4& b) {
    return Vector4(a) += b;
}
inline Vector4 operator-(const Vector4& a, const Vector4& b) {
    return Vector4(a) -= b;
}
inline Vector4 operator*(const Vector4& v, float s) {
    return Vector4(v) *= s;
}
inline Vector4 operator*(float s, const Vector4& v) {
    return Vector4(v) *= s;
}
inline Vector4 operator/(const Vector4& v, float s) {
    return Vector4(v) /= s;
}

inline Vector4 operator*(const Vector4& v, const Matrix4& m) {
    return ((v.x * m[0] + v.y * m[1]) + v.z * m[2]) + v.w * m[3];
}
// v as a column: the transposed matrix applied to it.
Vector4 operator*(const Matrix4& m, const Vector4& v);

inline Vector4& Vector4::operator*=(const Matrix4& m) {
    return *this = *this * m;
}

// Leaves out the terms that an affine operand makes 0 or 1.
Matrix4 operator*(const Matrix4& a, const Matrix4& b);

// Writes the inverse to `out`, which may be m: an affine matrix by cofactors, any other by
// elimination with a search for the largest pivot in its column.
// On failure, for a determinant or pivot of exactly 0: false, and `out` stays as it was. A matrix
// that is singular but for rounding passes, with large entries.
bool invert(const Matrix4& m, Matrix4& out);
// The same by cofactors. Requires: an affine matrix; its last column is not read.
bool affine_invert(const Matrix4& m, Matrix4& out);
// As operator~.
Matrix4 inverse(const Matrix4& m);

Matrix4 transpose(const Matrix4& m);

// "Vector4(1,2,3,4)\n"; a matrix six lines, its rows indented. Numbers as the stream's settings
// have them.
std::ostream& operator<<(std::ostream& os, const Vector4& v);
std::ostream& operator<<(std::ostream& os, const Matrix4& m);

#endif
