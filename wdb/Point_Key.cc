#include "wdb/Point_Key.h"

// Bits 4 to 7 of the integer part. Floats from 2^31 on have none there; NaN counts as 0.
static unsigned int cell_of(float coordinate) {
    const float magnitude = std::fabs(coordinate);
    return magnitude < 2147483648.0f ? static_cast<unsigned int>(magnitude) & 0xF0u : 0u;
}

unsigned int pnt_hash(const Point* const& point) {
    return cell_of(point->x) << 4 | cell_of(point->y) | cell_of(point->z) >> 4;
}
