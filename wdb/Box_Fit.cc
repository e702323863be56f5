#include "wdb/Box_Fit.h"

#include <algorithm>
#include <cmath>
#include <limits>

static double wide(float f) {
    return static_cast<double>(f);
}

// An empty box, one that was never filled, and the infinite one reach as far.
static bool has_middle(const Bbox& box) {
    const float no_place = 1e30f;
    for (int axis = 0; axis < 3; ++axis)
        if (!(box.min[axis] > -no_place && box.max[axis] < no_place)) return false;
    return box.is_ordered();
}

// x, y and z are scaled, and z is moved: nothing is mixed, and the middle stays in the middle.
static bool is_upright(const Matrix4& m) {
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 3; ++j) {
            const bool is_free = i == j || (i == 3 && j == 2);
            if (is_free ? i == j && m[i][j] == 0 : m[i][j] != 0) return false;
        }
    return m[0].w == 0 && m[1].w == 0;
}

Box_Fit::Box_Fit(const Matrix4& projection, const Frame& viewing, const Bbox& box, double closest) {
    if (!has_middle(box) || !is_upright(projection)) return;
    const Vector half = box.size() * 0.5f;
    for (int i = 0; i < 8; ++i) {
        const double x = i & 1 ? wide(half.x) : -wide(half.x);
        const double y = i & 2 ? wide(half.y) : -wide(half.y);
        const double z = i & 4 ? wide(half.z) : -wide(half.z);
        for (int j = 0; j < 3; ++j)
            corner_[i][j] =
                (x * wide(viewing[0][j]) + y * wide(viewing[1][j])) + z * wide(viewing[2][j]);
    }
    if (projection.is_std_perspective()) fit_perspective(projection, closest);
    if (projection.is_affine()) fit_parallel(projection);
    is_possible =
        is_possible && std::isfinite(((eye[0] + eye[1]) + (eye[2] + scale)) + depth_scale);
}

// A point (x, z) is in the picture of an eye at (ex, ez) if, with the scale s of the projection,
// s (x - ex) is within -(ez - z) to ez - z, that is, if
//
//     s x + z <= s ex + ez     and     -s x + z <= -s ex + ez
//
// For each side the corner counts that is largest on the left. Both sides added up leave 2 ez on
// the right: the nearest place at which the axis fits. Each axis for itself; the farther place
// holds both, and on the other axis the middle is taken of what fits there. An eye of a wide angle
// may so come to stand on a corner of the box, from where it sees all others.
void Box_Fit::fit_perspective(const Matrix4& projection, double closest) {
    const double none = -std::numeric_limits<double>::infinity();
    double high[2] = {none, none}, low[2] = {none, none}, front = none, diagonal = 0;
    for (const auto& [x, y, z] : corner_) {
        front = std::max(front, z);
        diagonal = std::max(diagonal, 2 * std::hypot(x, y, z));
        for (int axis = 0; axis < 2; ++axis) {
            const double at = wide(projection[axis][axis]) * (axis == 0 ? x : y);
            high[axis] = std::max(high[axis], at + z);
            low[axis] = std::max(low[axis], -at + z);
        }
    }
    const double share = 1e-3; // of the diagonal
    eye[2] = std::max({high[0] + low[0], high[1] + low[1],
                       2 * (front + std::max(closest, share * diagonal))}) /
             2;
    for (int axis = 0; axis < 2; ++axis)
        eye[axis] = (high[axis] - low[axis]) / (2 * wide(projection[axis][axis]));
    is_possible = eye[2] > front;
}

// The middle of the box comes to the middle of the picture and of the depth.
void Box_Fit::fit_parallel(const Matrix4& projection) {
    double reach[3] = {0, 0, 0}; // of the corners, before anything is scaled
    for (const auto& corner : corner_)
        for (int axis = 0; axis < 3; ++axis)
            reach[axis] =
                std::max(reach[axis], std::fabs(wide(projection[axis][axis]) * corner[axis]));
    const double widest = std::max(reach[0], reach[1]);
    if (widest > 0) scale = 1 / widest;
    // To spare at both ends: what lies on a plane must not be cut off by rounding.
    const double spare = 1.05;
    if (reach[2] * spare > 1) depth_scale = 1 / (reach[2] * spare);
    eye[2] = wide(projection[3].z) / wide(projection[2].z);
    is_possible = true;
}
