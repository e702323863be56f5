// Positions as keys of hash tables: corners of triangles that meet.
#ifndef WDB_POINT_KEY_H
#define WDB_POINT_KEY_H

#include <cfloat>
#include <cmath>

#include "math/Geometry.h"

// Below 4096. Cells of 16 units share a hash, in all eight octants alike, and so do positions
// that are equal in the sense of pnt_equal.
unsigned int pnt_hash(const Point* const& point);

// Each coordinate agrees within 2^-23: from magnitude 2 on, only exactly.
inline bool pnt_equal(const Point* const& a, const Point* const& b) {
    return std::fabs(a->x - b->x) <= FLT_EPSILON && std::fabs(a->y - b->y) <= FLT_EPSILON &&
           std::fabs(a->z - b->z) <= FLT_EPSILON;
}

#endif
