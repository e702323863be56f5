// Whether all of something are numbers. Internal.
#ifndef MATH_FINITE_H
#define MATH_FINITE_H

#include <cmath>

#include "math/Geometry.h"

inline bool is_finite(const Affine& a) {
    return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z);
}

#endif
