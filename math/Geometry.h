// Points, vectors, barycentric weights and affine frames: the values that everything computes with.
//
//     Frame f = Frame::scaling(2) * Frame::translation(1, 0, 0); // scale first, then move
//     Point p = Point(1, 1, 1) * f;                              // (3, 2, 2)
//     Vector v = p - Point(1, 2, 2);                             // (2, 0, 0)
//     if (v.normalize()) std::cout << v;                         // Vector(1,0,0)
//
// Points and vectors are rows and the transformation stands on the right; `a * b` is a, then b.
// Space is right-handed, angles are radians. Components are contiguous floats, and each operation
// rounds to single precision in the grouping written here, so that results are the same bits
// everywhere; a root, sine or cosine is taken in double and rounded once.
// Default constructors set nothing. Indices are not tested. Nothing is reported: a division by
// zero runs on into its floating-point result.
// A point times a float is a Homogeneous, see math/Homogeneous.h.
#ifndef MATH_GEOMETRY_H
#define MATH_GEOMETRY_H

#include <iosfwd>

class Bbox;
class Frame;

// What Point and Vector share: whatever takes an Affine takes either.
class Affine {
public:
    Affine() = default;
    constexpr Affine(float px, float py, float pz) : x(px), y(py), z(pz) {}

    float& operator[](int i) { return (&x)[i]; }
    float operator[](int i) const { return (&x)[i]; }
    float* to_c() { return &x; }
    const float* to_c() const { return &x; }

    bool iszero() const { return x == 0 && y == 0 && z == 0; }

    float x, y, z;
};

// A direction or displacement: a frame acts on it without its origin.
class Vector : public Affine {
public:
    Vector() = default;
    constexpr Vector(float px, float py, float pz) : Affine(px, py, pz) {}

    void zero() { *this = Vector(0, 0, 0); }

    Vector operator-() const { return Vector(-x, -y, -z); }
    Vector& operator+=(const Vector& v) { return *this = Vector(x + v.x, y + v.y, z + v.z); }
    Vector& operator-=(const Vector& v) { return *this = Vector(x - v.x, y - v.y, z - v.z); }
    Vector& operator*=(float s) { return *this = Vector(x * s, y * s, z * s); }
    // Three divisions, no reciprocal.
    Vector& operator/=(float s) { return *this = Vector(x / s, y / s, z / s); }
    inline Vector& operator*=(const Frame& f);

    // On failure, for a length of exactly 0: false, and the vector stays as it was.
    bool normalize();

    // Each component differs by at most eps; 0 passes equal values.
    bool is_epsilon_equal(const Vector& other, float eps) const;
};

// A position: a frame acts on it with its origin.
class Point : public Affine {
public:
    Point() = default;
    constexpr Point(float px, float py, float pz) : Affine(px, py, pz) {}

    void zero() { *this = Point(0, 0, 0); }

    Point& operator+=(const Vector& v) { return *this = Point(x + v.x, y + v.y, z + v.z); }
    Point& operator-=(const Vector& v) { return *this = Point(x - v.x, y - v.y, z - v.z); }
    inline Point& operator*=(const Frame& f);

    bool is_epsilon_equal(const Point& other, float eps) const;
};

// Barycentric weights of a triangle's three corners.
class Bary {
public:
    Bary() = default;
    constexpr Bary(float wa, float wb, float wc) : a(wa), b(wb), c(wc) {}

    float& operator[](int i) { return (&a)[i]; }
    float operator[](int i) const { return (&a)[i]; }

    void zero() { *this = Bary(0, 0, 0); }

    bool is_epsilon_equal(const Bary& other, float eps) const;

    float a, b, c;
};

// An affine transformation: the images of the three unit axes, then that of the origin.
class Frame {
public:
    Frame() = default;
    Frame(const Vector& x, const Vector& y, const Vector& z, const Point& origin)
        : row_{x, y, z, Vector(origin.x, origin.y, origin.z)} {}

    // Row 0 to 2; 3 is the origin, viewed as a vector.
    Vector& operator[](int i) { return row_[i]; }
    const Vector& operator[](int i) const { return row_[i]; }

    static Frame identity();
    static Frame translation(float x, float y, float z);
    static Frame translation(const Affine& by);
    static Frame scaling(float x, float y, float z);
    static Frame scaling(float s);
    // (x, y, z) goes to (x, a*x + y, b*x + c*y + z).
    static Frame shear(float a, float b, float c);
    // About axis 0, 1 or 2, by the right-hand rule; about any other axis: the identity.
    static Frame rotation(int axis, float angle);

    // World to viewer: the viewer at `eye` looks at `at` along its -z with +y up, turned by
    // `twist` about its z. `at` goes to (0, 0, -distance); for eye == at only the twist turns.
    static Frame lookat(const Point& eye, const Point& at, float twist);
    // The same for a viewer on the +z side of a box, so far off that the larger of its height and
    // depth fills an angle of pi/8 at the near face. The width takes no part.
    static Frame lookat(const Bbox& box, float twist);

    void zero();
    void ident();
    bool isident() const;

    Frame& operator*=(const Frame& f);

    // On failure, for a determinant of exactly 0: false, and the frame stays as it was.
    bool invert();
    // The inverse; of a singular frame the frame itself, unchanged. Who can meet one uses invert.
    Frame operator~() const;

    // Exchanges rows and columns of the linear part; the origin stays. The frame itself.
    Frame& transpose();

    // Negates row 0 of a left-handed frame; a flat one stays as it is.
    void makerighthand();

private:
    Vector row_[4];
};

inline Vector toVector(const Point& p) {
    return Vector(p.x, p.y, p.z);
}
inline Point toPoint(const Vector& v) {
    return Point(v.x, v.y, v.z);
}

inline Vector operator+(const Vector& a, const Vector& b) {
    return Vector(a) += b;
}
inline Vector operator-(const Vector& a, const Vector& b) {
    return Vector(a) -= b;
}
inline Vector operator*(const Vector& v, float s) {
    return Vector(v) *= s;
}
inline Vector operator*(float s, const Vector& v) {
    return Vector(v) *= s;
}
inline Vector operator/(const Vector& v, float s) {
    return Vector(v) /= s;
}

inline float dot(const Vector& a, const Vector& b) {
    return (a.x * b.x + a.y * b.y) + a.z * b.z;
}
inline Vector cross(const Vector& a, const Vector& b) {
    return Vector(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

// Squared length, and length.
inline float mag2(const Vector& v) {
    return dot(v, v);
}
float mag(const Vector& v);

// Writes the unit vector to `out`, which may be v.
// On failure, for a length of exactly 0: false, and `out` stays as it was.
bool normalize(const Vector& v, Vector& out);
// The unit vector, or zero where there is none.
Vector oknormalize(const Vector& v);

inline Vector operator-(const Point& a, const Point& b) {
    return Vector(a.x - b.x, a.y - b.y, a.z - b.z);
}
inline Point operator+(const Point& p, const Vector& v) {
    return Point(p) += v;
}
inline Point operator+(const Vector& v, const Point& p) {
    return Point(p) += v;
}
inline Point operator-(const Point& p, const Vector& v) {
    return Point(p) -= v;
}

// dot, with a point for its first vector.
inline float pvdot(const Point& p, const Vector& v) {
    return dot(toVector(p), v);
}

// Squared distance, and distance.
inline float dist2(const Point& a, const Point& b) {
    return mag2(a - b);
}
float dist(const Point& a, const Point& b);

// t*a + (1-t)*b: the weight t belongs to the first point.
Point interp(const Point& a, const Point& b, float t);
// s*a + t*b + (1-s-t)*c.
Point interp(const Point& a, const Point& b, const Point& c, float s, float t);

// The triangle a, b, c: its normal, twice its area long, and the square of its area.
inline Vector cross(const Point& a, const Point& b, const Point& c) {
    return cross(b - a, c - a);
}
float area2(const Point& a, const Point& b, const Point& c);

// Exact, component by component.
inline bool operator==(const Vector& a, const Vector& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}
inline bool operator==(const Point& a, const Point& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}
inline bool operator==(const Bary& a, const Bary& b) {
    return a.a == b.a && a.b == b.b && a.c == b.c;
}

// -1, 0 or 1 as a lies before, at or after b: the first of x, y, z that differs decides.
int compare(const Vector& a, const Vector& b);
int compare(const Point& a, const Point& b);
// The same, where a difference of at most eps is none.
int compare(const Vector& a, const Vector& b, float eps);
int compare(const Point& a, const Point& b, float eps);

inline Vector operator*(const Vector& v, const Frame& f) {
    return (v.x * f[0] + v.y * f[1]) + v.z * f[2];
}
inline Point operator*(const Point& p, const Frame& f) {
    return toPoint(((p.x * f[0] + p.y * f[1]) + p.z * f[2]) + f[3]);
}
// The transposed linear part applied to v, without the origin.
inline Vector operator*(const Frame& f, const Vector& v) {
    return Vector(dot(f[0], v), dot(f[1], v), dot(f[2], v));
}
Frame operator*(const Frame& a, const Frame& b);

inline Vector& Vector::operator*=(const Frame& f) {
    return *this = *this * f;
}
inline Point& Point::operator*=(const Frame& f) {
    return *this = *this * f;
}

// As Frame::transpose; `out` may be f.
void transpose(const Frame& f, Frame& out);
Frame transpose(const Frame& f);
// As Frame::invert and operator~; `out` may be f, and stays as it was on failure.
bool invert(const Frame& f, Frame& out);
Frame inverse(const Frame& f);

// One line each, a frame six: "Point(1,2,3)\n". Numbers as the stream's settings have them.
std::ostream& operator<<(std::ostream& os, const Affine& a);
std::ostream& operator<<(std::ostream& os, const Vector& v);
std::ostream& operator<<(std::ostream& os, const Point& p);
std::ostream& operator<<(std::ostream& os, const Frame& f);
std::ostream& operator<<(std::ostream& os, const Bary& b);

#endif
