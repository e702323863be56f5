#include "math/Bbox.h"

#include <cfloat>
#include <cmath>
#include <ostream>

#include "math/Homogeneous.h"

namespace {

// Beyond every coordinate in use, and its sums and differences are still finite.
const float beyond = 1e30f;

const int n_corners = 8;

// The small cube leaves a margin of 0.1 on each side, and what is this near to its plain value
// becomes it.
const float small_cube_size = 0.8f;
const float small_cube_margin = 0.1f;
const double snap_distance = 0.05;

void assign(Point& out, const Vector& v) {
    out = toPoint(v);
}
void assign(Homogeneous& out, const Vector4& v) {
    out = v;
}

// out[i] = x * f[0] + y * f[1] + z * f[2] + f[3] of corner i, added from the left. Each product
// serves the four corners that share its coordinate, with the same bits as one by one.
template<class Row, class Transform, class Out>
void transform_corners(const Point& lo, const Point& hi, const Transform& f, Out* out) {
    const Row x[2] = {lo.x * f[0], hi.x * f[0]};
    const Row y[2] = {lo.y * f[1], hi.y * f[1]};
    const Row z[2] = {lo.z * f[2], hi.z * f[2]};
    for (int i = 0; i < n_corners; ++i)
        assign(out[i], ((x[i & 1] + y[i >> 1 & 1]) + z[i >> 2]) + f[3]);
}

Bbox bounds_of(const Point* corner) {
    Bbox box(corner[0], corner[0]);
    for (int i = 1; i < n_corners; ++i) box.merge(corner[i]);
    return box;
}

// Where eight corners lie along one axis of the clip volume.
struct Side_Counts {
    int below = 0, inside = 0, above = 0;
};

// A NaN is neither below nor above, and so inside: what cannot be told is not thrown away.
Side_Counts count_sides(const Homogeneous* h, int axis) {
    Side_Counts n;
    for (int i = 0; i < n_corners; ++i) {
        if (h[i][axis] < -h[i].w)
            ++n.below;
        else if (h[i][axis] > h[i].w)
            ++n.above;
        else
            ++n.inside;
    }
    return n;
}

// All corners on the outer side of one and the same plane. A box that fails this may still lie
// outside, in front of an edge of the view.
bool all_beyond(const Homogeneous* h, int axis) {
    bool above = true, below = true;
    for (int i = 0; i < n_corners; ++i) {
        above = above && h[i][axis] > h[i].w;
        below = below && h[i][axis] < -h[i].w;
    }
    return above || below;
}

// Signed, by the shoelace rule.
float area_of_2D_rectangle(float xa, float ya, float xb, float yb, float xc, float yc, float xd,
                           float yd) {
    const float sum =
        ((((((xd * ya - xa * yd) + xa * yb) - xb * ya) + xb * yc) - xc * yb) + xc * yd) - xd * yc;
    return static_cast<float>(static_cast<double>(sum) * 0.5);
}

float face_area(const Homogeneous* h, const int* face) {
    const Homogeneous &a = h[face[0]], &b = h[face[1]], &c = h[face[2]], &d = h[face[3]];
    return area_of_2D_rectangle(a.x, a.y, b.x, b.y, c.x, c.y, d.x, d.y);
}

// The interval of a ray that lies within the slabs met so far.
struct Interval {
    float near, far;

    // False when nothing is left of it.
    bool narrow(float origin, float direction, float lo, float hi) {
        // Along the slab, also with a NaN: the ray lies within all the way, or not at all.
        if (!(direction < 0) && !(direction > 0)) return !(origin < lo || hi < origin);
        const float exit = ((direction < 0 ? lo : hi) - origin) / direction;
        const float entry = ((direction < 0 ? hi : lo) - origin) / direction;
        if (exit < near) return false;
        if (exit <= far) far = exit;
        // The entry may lie behind the exit of another slab: then the ray passes by an edge of the
        // box.
        if (near <= entry) {
            if (far < entry) return false;
            near = entry;
        }
        return true;
    }
};

// 0 for an inverted box, as for a flat one.
float largest_extent(const Vector& size) {
    float m = 0;
    for (int i = 0; i < 3; ++i)
        if (m < size[i]) m = size[i];
    return m;
}

} // namespace

void Bbox::clear() {
    min = Point(beyond, beyond, beyond);
    max = Point(-beyond, -beyond, -beyond);
}

void Bbox::infinite() {
    min = Point(-beyond, -beyond, -beyond);
    max = Point(beyond, beyond, beyond);
}

void Bbox::zero() {
    min.zero();
    max.zero();
}

Point Bbox::center() const {
    return Point(min.x * 0.5f + max.x * 0.5f, min.y * 0.5f + max.y * 0.5f,
                 min.z * 0.5f + max.z * 0.5f);
}

// What stands first in a comparison is what stays when both are equal, or one is a NaN: 0 and -0
// differ in their bits.
void Bbox::intersect(const Bbox& o) {
    min = Point(o.min.x < min.x ? min.x : o.min.x, o.min.y < min.y ? min.y : o.min.y,
                o.min.z < min.z ? min.z : o.min.z);
    max = Point(max.x < o.max.x ? max.x : o.max.x, max.y < o.max.y ? max.y : o.max.y,
                max.z < o.max.z ? max.z : o.max.z);
}

// Containing comes first: of two equal boxes each contains the other.
int Bbox::classification_with_respect_to(const Bbox& o) const {
    if (!is_overlapping(o)) return 0;
    if (contains(o)) return 2;
    return o.contains(*this) ? 1 : 3;
}

void Bbox::transform_to(const Frame& f, Point* out) const {
    transform_corners<Vector>(min, max, f, out);
}

void Bbox::transform_to(const Matrix4& m, Homogeneous* out) const {
    transform_corners<Vector4>(min, max, m, out);
}

void Bbox::transform(const Frame& f) {
    *this = transformed_by(f);
}
void Bbox::transform(const Matrix4& m) {
    *this = transformed_by(m);
}

Bbox Bbox::transformed_by(const Frame& f) const {
    Point corner[n_corners];
    transform_to(f, corner);
    return bounds_of(corner);
}

Bbox Bbox::transformed_by(const Matrix4& m) const {
    Homogeneous h[n_corners];
    Point corner[n_corners];
    transform_to(m, h);
    for (int i = 0; i < n_corners; ++i) corner[i] = toPoint(normalize(h[i]));
    return bounds_of(corner);
}

bool BoundsIntersect(const Point& o, const Vector& d, const Point& lo, const Point& hi, float t_min,
                     float* t) {
    Interval within = {t_min, *t};
    for (int i = 0; i < 3; ++i)
        if (!within.narrow(o[i], d[i], lo[i], hi[i])) return false;
    // From inside, the way out is the hit.
    const float candidate = within.near == t_min ? within.far : within.near;
    if (!(candidate < *t)) return false;
    *t = candidate;
    return true;
}

float Bbox::line_intersection(const Point& p, const Point& q) const {
    // The ray wants a direction of length 1, and gives a length; the fraction is what is asked for.
    const Vector v = q - p;
    const float length = mag(v);
    if (!(length > 0)) return FLT_MAX;
    float t = length;
    return BoundsIntersect(p, v / length, min, max, 0, &t) ? t / length : FLT_MAX;
}

float Bbox::bounds_line_intersection(const Point& p, const Point& q) const {
    return contains(p) ? 0.0f : line_intersection(p, q);
}

Frame Bbox::getFrameToCube() const {
    const Vector extent = size();
    const float m = largest_extent(extent);
    const bool is_flat = m == 0;
    Vector offset;
    for (int i = 0; i < 3; ++i) {
        // Middles the smaller sides within the cube; z stays at the front of it.
        const float used = is_flat ? 0.0f : extent[i] / m;
        offset[i] = static_cast<float>(static_cast<double>(1.0f - used) * 0.5);
    }
    offset.z = 0;
    return Frame::translation(-min.x, -min.y, -min.z) * Frame::scaling(is_flat ? 1.0f : 1.0f / m) *
           Frame::translation(offset);
}

Frame Bbox::getFrameToSmallCube() const {
    Frame f = getFrameToCube();
    f *= Frame::scaling(small_cube_size) *
         Frame::translation(small_cube_margin, small_cube_margin, small_cube_margin);
    for (int i = 0; i < 3; ++i) {
        if (std::fabs(static_cast<double>(f[i][i]) - 1.0) < snap_distance) f[i][i] = 1;
        if (std::fabs(static_cast<double>(f[3][i])) < snap_distance) f[3][i] = 0;
    }
    return f;
}

bool Bbox::is_visible(const Matrix4& m) const {
    Homogeneous h[n_corners];
    transform_to(m, h);
    return !all_beyond(h, 0) && !all_beyond(h, 1) && !all_beyond(h, 2);
}

int Bbox::classification_with_respect_to(const Matrix4& m) const {
    Homogeneous h[n_corners];
    transform_to(m, h);
    bool is_inside = true;
    for (int axis = 0; axis < 3; ++axis) {
        const Side_Counts n = count_sides(h, axis);
        if (n.below == n_corners || n.above == n_corners) return 0;
        is_inside = is_inside && n.inside == n_corners;
    }
    return is_inside ? 1 : 3;
}

float Bbox::coverage(const Matrix4& m) const {
    Homogeneous h[n_corners];
    transform_to(m, h);
    float xmin = beyond, ymin = beyond, xmax = -beyond, ymax = -beyond;
    for (const Homogeneous& corner : h) {
        if (corner.w == 0) continue;
        const float x = corner.x / corner.w, y = corner.y / corner.w;
        if (x < xmin) xmin = x;
        if (x > xmax) xmax = x;
        if (y < ymin) ymin = y;
        if (y > ymax) ymax = y;
    }
    const float dx = xmax - xmin, dy = ymax - ymin;
    return dx > 0 && dy > 0 ? (dx * 0.25f) * dy : 0.0f;
}

// Each point of the silhouette lies under a front face and a back face, so it is half of what the
// six faces cover.
float Bbox::projected_area(const Matrix4& m) const {
    static const int faces[6][4] = {{0, 1, 3, 2}, {4, 6, 7, 5}, {4, 6, 2, 0},
                                    {1, 3, 7, 5}, {2, 6, 7, 3}, {0, 1, 5, 4}};
    Homogeneous h[n_corners];
    transform_to(m, h);
    if (!m.is_affine())
        for (Homogeneous& corner : h) corner = corner.w == 0 ? Homogeneous() : normalize(corner);
    float sum = 0;
    for (const int* face : faces) sum += std::fabs(face_area(h, face));
    return static_cast<float>(static_cast<double>(sum) * 0.5);
}

std::ostream& operator<<(std::ostream& os, const Bbox& box) {
    return os << "BBox {\n  " << box.min << "  " << box.max << "}\n";
}
