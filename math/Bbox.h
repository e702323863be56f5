// Axis-aligned box in world units: two corners, six floats, no heap.
//
//     Bbox box;
//     box.clear();                      // empty: any merge overwrites it
//     box.merge(p);
//     if (box.bounds_line_intersection(eye, target) <= 1) pick(node);
//
// min > max on an axis means empty; nothing tests for it. The default constructor sets nothing.
// Corner i takes x, y, z from max where bit 0, 1, 2 of i is set, and otherwise from min: corner 0
// is min, 1 is (max.x, min.y, min.z), 7 is max. No operation reports an error or allocates, and
// all may run within one another.
#ifndef MATH_BBOX_H
#define MATH_BBOX_H

#include <iosfwd>

#include "math/Geometry.h"

class Homogeneous;
class Matrix4;

class Bbox {
public:
    Bbox() = default;
    // Stored as they are, unordered.
    constexpr Bbox(const Point& lo, const Point& hi) : min(lo), max(hi) {}

    // 0 is min, 1 is max.
    Point& operator[](int i) { return i == 0 ? min : max; }
    const Point& operator[](int i) const { return i == 0 ? min : max; }

    // Empty: min is 1e30 and max -1e30 throughout.
    void clear();
    // From -1e30 to 1e30.
    void infinite();
    void zero();

    Point center() const;
    Vector size() const { return max - min; }

    void to(const Bbox& o) { *this = o; }
    void to(const Point& p) { min = max = p; }

    void merge(const Bbox& o) { merge(o.min, o.max); }
    void merge(const Point& p) { merge(p, p); }
    // Two disjoint boxes leave min above max.
    void intersect(const Bbox& o);

    // Boxes that only touch overlap.
    bool is_overlapping(const Bbox& o) const {
        return !(max.x < o.min.x || o.max.x < min.x || max.y < o.min.y || o.max.y < min.y ||
                 max.z < o.min.z || o.max.z < min.z);
    }
    // No min above max, and no NaN.
    bool is_ordered() const { return min.x <= max.x && min.y <= max.y && min.z <= max.z; }
    // Both ends included.
    bool contains(const Point& p) const {
        return min.x <= p.x && p.x <= max.x && min.y <= p.y && p.y <= max.y && min.z <= p.z &&
               p.z <= max.z;
    }
    bool contains(const Bbox& o) const { return contains(o.min) && contains(o.max); }

    // What this box is to o: 0 disjoint, 2 this contains o (also when equal), 1 this lies inside o,
    // 3 they overlap in part.
    int classification_with_respect_to(const Bbox& o) const;

    // out[i] = corner i * f, without division by w in the second form.
    // Requires: room for 8 values at `out`, outside this box.
    void transform_to(const Frame& f, Point* out) const;
    void transform_to(const Matrix4& m, Homogeneous* out) const;

    // The bounds of the eight moved corners; through a matrix each corner is divided by its w,
    // which is neither tested nor clipped. An empty box is not spared.
    void transform(const Frame& f);
    void transform(const Matrix4& m);
    Bbox transformed_by(const Frame& f) const;
    Bbox transformed_by(const Matrix4& m) const;

    // Fraction of the segment p..q where it meets the surface: 0 at p, 1 at q.
    // On failure: FLT_MAX; so also for p == q and for a segment wholly inside.
    float line_intersection(const Point& p, const Point& q) const;
    // The same for the solid box: 0 for p inside.
    float bounds_line_intersection(const Point& p, const Point& q) const;

    // Carries the box into the unit cube, scaled uniformly by its largest extent: centred in x and
    // y, from 0 up in z. A box without extent is moved, unscaled, to (0.5, 0.5, 0).
    Frame getFrameToCube() const;
    // The same into 0.1 to 0.9 of the cube; a diagonal entry within 0.05 of 1 becomes 1, a
    // component of the origin within 0.05 of 0 becomes 0.
    Frame getFrameToSmallCube() const;

    // The questions of viewing: m leads to clip space, where -w <= x, y, z <= w is inside.

    // False only if all corners lie beyond one and the same side of the volume.
    bool is_visible(const Matrix4& m) const;
    // What this box is to the volume: 0 not visible, 1 inside, 3 its contents need a test.
    int classification_with_respect_to(const Matrix4& m) const;
    // Fraction of the screen square -1..1 that the corners' rectangle fills. Not clipped to the
    // square, so it may exceed 1. Corners with w = 0 are skipped.
    float coverage(const Matrix4& m) const;
    // Area of the silhouette in projected x and y. Corners with w = 0 count as the origin.
    float projected_area(const Matrix4& m) const;

    Point min, max;

private:
    void merge(const Point& lo, const Point& hi);
};

// Slab test of the ray o + s*d against the box lo..hi, for s from t_min to *t.
// Stores the entry in *t, or the exit for a ray that starts inside; true when that is below *t.
// On failure: false, and *t stays as it was.
bool BoundsIntersect(const Point& o, const Vector& d, const Point& lo, const Point& hi, float t_min,
                     float* t);

inline void Bbox::merge(const Point& lo, const Point& hi) {
    min = Point(min.x < lo.x ? min.x : lo.x, min.y < lo.y ? min.y : lo.y,
                min.z < lo.z ? min.z : lo.z);
    max = Point(hi.x < max.x ? max.x : hi.x, hi.y < max.y ? max.y : hi.y,
                hi.z < max.z ? max.z : hi.z);
}

// "BBox {", the two points indented, "}", a line each.
std::ostream& operator<<(std::ostream& os, const Bbox& box);

#endif
