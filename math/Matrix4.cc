#include "math/Matrix4.h"

#include <cmath>
#include <cstring>
#include <ostream>
#include <utility>

#include "math/Homogeneous.h"

namespace {

// How far a determinant may be from 1, and a last column from (0, 0, 0, 1).
const double scale_tolerance = 0.001;
const float affine_tolerance = 0.001f;

float row_by_column(const Vector4& row, const Matrix4& b, int j) {
    return ((row.x * b[0][j] + row.y * b[1][j]) + row.z * b[2][j]) + row.w * b[3][j];
}

// The same for a row whose w is 0.
float row_by_column3(const Vector4& row, const Matrix4& b, int j) {
    return (row.x * b[0][j] + row.y * b[1][j]) + row.z * b[2][j];
}

// The first n columns of a * b, for an affine a.
void affine_product(const Matrix4& a, const Matrix4& b, int n, Matrix4& out) {
    for (int j = 0; j < n; ++j) {
        for (int i = 0; i < 3; ++i) out[i][j] = row_by_column3(a[i], b, j);
        out[3][j] = row_by_column3(a[3], b, j) + b[3][j];
    }
}

void set_affine_column(Matrix4& m) {
    m[0].w = m[1].w = m[2].w = 0;
    m[3].w = 1;
}

// Four rows of a matrix, each followed by its row of the inverse to be.
const int n_augmented = 8;
using Augmented = float[4][n_augmented];

// The row from `i` down with the largest entry in column i, the uppermost of equals.
int pivot_row(const Augmented& a, int i) {
    int best = i;
    for (int p = i + 1; p < 4; ++p)
        if (std::fabs(a[p][i]) > std::fabs(a[best][i])) best = p;
    return best;
}

// Turns column i into that of the identity. Rows above i are cleared with the pivot row as it
// stands, those below it with the pivot row scaled to 1.
void eliminate(Augmented& a, int i) {
    for (int r = 0; r < 4; ++r) {
        if (r == i) {
            const float reciprocal = 1.0f / a[i][i];
            for (float& entry : a[i]) entry *= reciprocal;
        } else {
            // For rows below, the pivot row has been scaled already, and its entry is 1.
            const float f = -a[r][i] / a[i][i];
            for (int k = 0; k < n_augmented; ++k) a[r][k] = a[r][k] + f * a[i][k];
        }
    }
}

bool gauss_jordan(Augmented& a) {
    for (int i = 0; i < 4; ++i) {
        const int p = pivot_row(a, i);
        if (p != i) std::swap(a[p], a[i]);
        if (a[i][i] == 0) return false;
        eliminate(a, i);
    }
    return true;
}

double magnitude(float f) {
    return std::fabs(static_cast<double>(f));
}

} // namespace

Matrix4 Matrix4::identity() {
    return Matrix4({1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1});
}

Matrix4 Matrix4::perspective(float fov, float near, float far) {
    const float depth = far - near;
    const float scale = static_cast<float>(1.0 / std::tan(static_cast<double>(fov) / 2.0));
    // 2 * far * near leaves the range of single precision long before its quotient does.
    const double product = (2.0 * static_cast<double>(far)) * static_cast<double>(near);
    const float z2 = -(far + near) / depth;
    const float z3 = static_cast<float>(-product / static_cast<double>(depth));
    return Matrix4({scale, 0, 0, 0}, {0, scale, 0, 0}, {0, 0, z2, -1}, {0, 0, z3, 0});
}

Matrix4 Matrix4::window(float left, float right, float bottom, float top, float near, float far) {
    const float width = right - left, height = top - bottom, depth = far - near;
    const double near2 = static_cast<double>(near) + static_cast<double>(near);
    const double product = static_cast<double>(near) * -2.0 * static_cast<double>(far);
    return Matrix4({static_cast<float>(near2 / static_cast<double>(width)), 0, 0, 0},
                   {0, static_cast<float>(near2 / static_cast<double>(height)), 0, 0},
                   {(right + left) / width, (top + bottom) / height, -(far + near) / depth, -1},
                   {0, 0, static_cast<float>(product / static_cast<double>(depth)), 0});
}

Matrix4 Matrix4::stereo_perspective(const Matrix4& standard, float aspect, float eye_offset) {
    const float fov = standard.fov_from_std_perspective();
    const float near = standard.near_from_std_perspective();
    const float far = standard.far_from_std_perspective();
    const float up = tanf(static_cast<float>(static_cast<double>(fov) / 2.0));
    const float across = tanf(static_cast<float>(static_cast<double>(fov * aspect) / 2.0));
    // Both eyes see the same there: the windows shift so that their middles meet at that distance.
    const float middle = static_cast<float>(static_cast<double>(near + far) / 2.0);
    const float shift = (eye_offset / middle) * near;
    Matrix4 to_eye = identity();
    to_eye[3].x = -eye_offset;
    return to_eye *
           window(-across * near - shift, across * near - shift, -up * near, up * near, near, far);
}

void Matrix4::zero() {
    for (Vector4& row : row_) row.zero();
}

void Matrix4::ident() {
    *this = identity();
}

bool Matrix4::is_identity() const {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            if (row_[i][j] != (i == j ? 1.0f : 0.0f)) return false;
    return true;
}

bool Matrix4::is_scale_preserving() const {
    if (!is_affine()) return false;
    const Vector4 &a = row_[0], &b = row_[1], &c = row_[2];
    // Of the upper left 3 by 3 part: what it makes of a volume.
    const float det = (a.x * (b.y * c.z - c.y * b.z) - a.y * (b.x * c.z - c.x * b.z)) +
                      a.z * (b.x * c.y - c.x * b.y);
    return std::fabs(static_cast<double>(det) - 1.0) < scale_tolerance;
}

bool Matrix4::is_std_perspective() const {
    const Vector4 &a = row_[0], &b = row_[1], &c = row_[2], &d = row_[3];
    // The fields that `perspective` leaves 0, and the -1 that divides by the distance.
    return a.y == 0 && a.z == 0 && a.w == 0 && b.x == 0 && b.z == 0 && b.w == 0 && c.x == 0 &&
           c.y == 0 && d.x == 0 && d.y == 0 && d.w == 0 && c.w == -1;
}

float Matrix4::fov_from_std_perspective() const {
    return static_cast<float>(2.0 * std::atan(1.0 / static_cast<double>(row_[1].y)));
}

float Matrix4::near_from_std_perspective() const {
    return static_cast<float>(static_cast<double>(row_[3].z) /
                              (static_cast<double>(row_[2].z) - 1.0));
}

float Matrix4::far_from_std_perspective() const {
    return static_cast<float>(static_cast<double>(row_[3].z) /
                              (static_cast<double>(row_[2].z) + 1.0));
}

Matrix4& Matrix4::operator*=(const Matrix4& m) {
    return *this = *this * m;
}

Matrix4 Matrix4::operator~() const {
    Matrix4 result = *this;
    invert(*this, result);
    return result;
}

Matrix4& Matrix4::transpose() {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < i; ++j) std::swap(row_[i][j], row_[j][i]);
    return *this;
}

Matrix4& Matrix4::fix() {
    // Long products drift away from an affine last column, and with it every shortcut for it is
    // lost.
    const double off = ((magnitude(row_[0].w) + magnitude(row_[1].w)) + magnitude(row_[2].w)) +
                       magnitude(row_[3].w - 1.0f);
    if (off > static_cast<double>(affine_tolerance)) return *this;
    set_affine_column(*this);
    return *this;
}

Vector4 operator*(const Matrix4& m, const Vector4& v) {
    Vector4 result;
    for (int i = 0; i < 4; ++i)
        result[i] = ((m[i].x * v.x + m[i].y * v.y) + m[i].z * v.z) + m[i].w * v.w;
    return result;
}

Matrix4 operator*(const Matrix4& a, const Matrix4& b) {
    Matrix4 result;
    // The three ways give the same but for rounding, -0 and what is not finite; which one is taken
    // depends on the last columns alone.
    if (!a.is_affine()) {
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j) result[i][j] = row_by_column(a[i], b, j);
    } else if (!b.is_affine()) {
        affine_product(a, b, 4, result);
    } else {
        affine_product(a, b, 3, result);
        set_affine_column(result);
    }
    return result;
}

bool invert(const Matrix4& m, Matrix4& out) {
    if (m.is_affine()) return affine_invert(m, out);
    Augmented a;
    const Matrix4 one = Matrix4::identity();
    for (int i = 0; i < 4; ++i) {
        std::memcpy(a[i], m[i].to_c(), sizeof(Vector4));
        std::memcpy(a[i] + 4, one[i].to_c(), sizeof(Vector4));
    }
    if (!gauss_jordan(a)) return false;
    for (int i = 0; i < 4; ++i) out[i] = Vector4(a[i][4], a[i][5], a[i][6], a[i][7]);
    return true;
}

bool affine_invert(const Matrix4& m, Matrix4& out) {
    const Vector4 a = m[0], b = m[1], c = m[2], d = m[3];
    const float c00 = b.y * c.z - b.z * c.y, c10 = b.x * c.z - b.z * c.x;
    const float c20 = b.x * c.y - b.y * c.x, c01 = a.y * c.z - a.z * c.y;
    const float c11 = a.x * c.z - a.z * c.x, c21 = a.x * c.y - a.y * c.x;
    const float c02 = a.y * b.z - a.z * b.y, c12 = a.x * b.z - a.z * b.x;
    const float c22 = a.x * b.y - a.y * b.x;
    const float det = (a.x * c00 - a.y * c10) + a.z * c20;
    // Copies of the rows above: `out` may be `m`.
    if (det == 0) return false;
    out = Matrix4({c00 / det, c01 / -det, c02 / det, 0}, {c10 / -det, c11 / det, c12 / -det, 0},
                  {c20 / det, c21 / -det, c22 / det, 0}, {0, 0, 0, 1});
    for (int j = 0; j < 3; ++j)
        out[3][j] = -((out[0][j] * d.x + out[1][j] * d.y) + out[2][j] * d.z);
    return true;
}

Matrix4 inverse(const Matrix4& m) {
    return ~m;
}

Matrix4 transpose(const Matrix4& m) {
    return Matrix4(m).transpose();
}

std::ostream& operator<<(std::ostream& os, const Vector4& v) {
    return os << "Vector4(" << static_cast<double>(v.x) << ',' << static_cast<double>(v.y) << ','
              << static_cast<double>(v.z) << ',' << static_cast<double>(v.w) << ")\n";
}

std::ostream& operator<<(std::ostream& os, const Matrix4& m) {
    os << "Matrix4 {\n";
    for (int i = 0; i < 4; ++i) os << "  " << m[i];
    return os << "}\n";
}
