// Positions as keys of hash tables: corners of triangles that meet.
#ifndef WDB_POINT_KEY_H
#define WDB_POINT_KEY_H

#include <cfloat>
#include <cmath>

#include "math/Geometry.h"

// Below 4096. Cells of 16 units share a hash, in all eight octants alike, and so do positions
// that are equal in the sense of pnt_equal.
unsigned int pnt_hash(const Point* const& point);

// Whether coordinates agree within 2^-23: from magnitude 2 on, only exactly.
inline bool is_close(float a, float b) {
    return std::fabs(a - b) <= FLT_EPSILON;
}

// Each coordinate of one is close to the other's.
inline bool pnt_equal(const Point* const& a, const Point* const& b) {
    return is_close(a->x, b->x) && is_close(a->y, b->y) && is_close(a->z, b->z);
}

#endif
