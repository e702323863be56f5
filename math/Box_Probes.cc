#include "math/Box_Probes.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "math/Quad.h"

static const int width = Box_Lanes::width;

// A bit for each lane that misses(first lane of a Quad) does not mark.
template<class Misses>
static unsigned int lanes_that_meet(Misses misses) {
    unsigned int missed = 0;
    for (int i = 0; i < width; i += Quad::width) missed |= misses(i).bits() << i;
    return ~missed;
}

unsigned int Box_Probe::meets(const Box_Lanes& lanes) const {
    return lanes_that_meet([&](int i) {
        Quad missed = 0.0f;
        for (int axis = 0; axis < 3; ++axis) {
            missed = missed | is_less(Quad(lanes.max[axis] + i), query.min[axis]) |
                     is_less(Quad(query.max[axis]), Quad(lanes.min[axis] + i));
        }
        return missed;
    });
}

unsigned int Box_Probe::holds(const Box_Lanes& lanes) const {
    return lanes_that_meet([&](int i) {
        Quad reaches_out = 0.0f;
        for (int axis = 0; axis < 3; ++axis)
            reaches_out = reaches_out | is_less(Quad(lanes.min[axis] + i), query.min[axis]) |
                          is_less(Quad(query.max[axis]), Quad(lanes.max[axis] + i));
        return reaches_out;
    });
}

// Below the normal numbers roundings are not relative any more.
static const float underflow = FLT_MIN;

// Bbox::line_intersection divides by the direction of length 1; here it is multiplied by the
// inverse, which is off by three roundings at most.
static const float slab_slack = 16 * FLT_EPSILON;

Segment_Probe::Segment_Probe(const Point& p, const Point& q) : start_(p) {
    const float least_direction = 1e-30f; // whose inverse is still finite
    Vector v = q - p;
    length_ = mag(v);
    is_usable_ = length_ <= FLT_MAX;
    for (int axis = 0; axis < 3; ++axis) {
        // Without a length, only boxes that hold p pass.
        const float direction = length_ > 0 ? v[axis] / length_ : 0;
        kind_[axis] = direction == 0 ? FIXED : std::fabs(direction) < least_direction ? FREE : SLAB;
        inverse_[axis] = kind_[axis] == SLAB ? 1 / direction : 0;
    }
}

unsigned int Segment_Probe::meets(const Box_Lanes& lanes) const {
    return lanes_that_meet([&](int i) {
        Quad near = 0.0f, far = length_, missed = 0.0f;
        for (int axis = 0; axis < 3; ++axis) {
            const Quad start = start_[axis];
            const Quad min(lanes.min[axis] + i), max(lanes.max[axis] + i);
            if (kind_[axis] == SLAB) {
                const Quad a = (min - start) * inverse_[axis], b = (max - start) * inverse_[axis];
                near = greater(near, lesser(a, b));
                far = lesser(far, greater(a, b));
            } else if (kind_[axis] == FIXED) {
                missed = missed | is_less(start, min) | is_less(max, start);
            }
        }
        return missed | is_less(far * (1 + slab_slack) + underflow, near * (1 - slab_slack));
    });
}

View_Probe::View_Probe(const Matrix4& m, const Bbox& reach) {
    // The tests of Bbox and ours each add some ten roundings of terms like these.
    const float slack = 64 * FLT_EPSILON;
    for (int k = 0; k < planes_; ++k) {
        const int axis = k / 2;
        const float side = k % 2 == 0 ? 1.0f : -1.0f;
        float terms = 0;
        for (int i = 0; i < 4; ++i) {
            const float most =
                i == 3 ? 1 : std::max(std::fabs(reach.min[i]), std::fabs(reach.max[i]));
            plane_[k][i] = m[i][3] + side * m[i][axis];
            terms += (std::fabs(m[i][3]) + std::fabs(m[i][axis])) * most;
        }
        slack_[k] = terms * slack + underflow;
    }
}

// How far the corner of each box that lies furthest out, or in, lies inside of the plane.
static Quad distances(const Box_Lanes& lanes, int i, const float* plane, bool furthest_in) {
    Quad sum = plane[3];
    for (int axis = 0; axis < 3; ++axis) {
        const float* const side =
            (plane[axis] < 0) == furthest_in ? lanes.min[axis] : lanes.max[axis];
        sum = sum + Quad(side + i) * plane[axis];
    }
    return sum;
}

// A NaN anywhere leaves nothing out.
unsigned int View_Probe::meets(const Box_Lanes& lanes) const {
    return lanes_that_meet([&](int i) {
        Quad missed = 0.0f;
        for (int k = 0; k < planes_; ++k)
            missed = missed | is_less(distances(lanes, i, plane_[k], true), -slack_[k]);
        return missed;
    });
}

// And here lets nothing in.
unsigned int View_Probe::holds(const Box_Lanes& lanes) const {
    unsigned int held = ~0u;
    for (int k = 0; k < planes_; ++k)
        held &= ~lanes_that_meet(
            [&](int i) { return is_less(slack_[k], distances(lanes, i, plane_[k], false)); });
    return held;
}
