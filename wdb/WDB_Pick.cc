#include "wdb/WDB_Pick.h"

#include <algorithm>
#include <cmath>

#include "wdb/WDB_Line_List.h"
#include "wdb/WDB_Tri_List.h"

namespace {

// The first of the smallest fractions, which is the one that the list answers. -1 for none.
template<class List>
int nearest_item(const List& list, const Point& p, const Point& q, float tolerance,
                 float& fraction) {
    int index = -1;
    fraction = FLT_MAX;
    for (int i = 0; i < list.count(); ++i) {
        const float t = list[i].line_intersection(p, q, tolerance);
        if (t < fraction) {
            fraction = t;
            index = i;
        }
    }
    return index;
}

// In double: products of small edges and of their normal would leave single precision.
double wide_dot(const Vector& a, const Vector& b) {
    const double x = static_cast<double>(a.x) * static_cast<double>(b.x);
    const double y = static_cast<double>(a.y) * static_cast<double>(b.y);
    return (x + y) + static_cast<double>(a.z) * static_cast<double>(b.z);
}

// The areas that the hit makes with each edge, over the whole.
Bary triangle_weights(const WDB_Triangle& t, const Point& hit) {
    const Vector n = cross(t.p0, t.p1, t.p2);
    const double area = wide_dot(n, n);
    const float a = static_cast<float>(wide_dot(cross(t.p1, t.p2, hit), n) / area);
    const float b = static_cast<float>(wide_dot(cross(t.p2, t.p0, hit), n) / area);
    // The third from the sum: three roundings would not add up to 1.
    return Bary(a, b, (1 - a) - b);
}

Bary line_weights(const WDB_Line& line, const Point& hit) {
    const Vector e = line.p1 - line.p0;
    const double r = wide_dot(hit - line.p0, e) / wide_dot(e, e);
    // Rounding may carry a hit at an end a little beyond it.
    const float b = static_cast<float>(std::clamp(r, 0.0, 1.0));
    return Bary(1 - b, b, 0);
}

// A normal keeps its right angle if it is moved as a column by the inverse of the transform. That
// may be tiny or huge: the root of its square must not be.
Vector placed_normal(const Vector& n, const Frame& to_object) {
    const Vector v = to_object * n;
    const float largest = std::max({std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)});
    return largest == 0 ? v : oknormalize(v / largest);
}

} // namespace

// The geometry tells a fraction and no more, so its items are gone through once again.
void WDB_Pick::look_up(const WDB_Geometry* geometry, const Point& p, const Point& q,
                       float tolerance, const Frame& to_object) {
    float t;
    tri_list = WDB_Tri_List::const_castdown(geometry);
    line_list = WDB_Line_List::const_castdown(geometry);
    if (tri_list && (index = nearest_item(*tri_list, p, q, tolerance, t)) >= 0) {
        const WDB_Triangle& triangle = (*tri_list)[index];
        weights = triangle_weights(triangle, p + t * (q - p));
        const float a = weights.a, b = weights.b, c = weights.c;
        normal = placed_normal((a * triangle.n0 + b * triangle.n1) + c * triangle.n2, to_object);
        color = interp(triangle.c0, triangle.c1, triangle.c2, a, b);
        texture_point = interp(triangle.t0, triangle.t1, triangle.t2, a, b);
        face_normal = placed_normal(cross(triangle.p0, triangle.p1, triangle.p2), to_object);
    } else if (line_list && (index = nearest_item(*line_list, p, q, tolerance, t)) >= 0) {
        const WDB_Line& line = (*line_list)[index];
        weights = line_weights(line, p + t * (q - p));
        normal = placed_normal(weights.a * line.n0 + weights.b * line.n1, to_object);
        color = interp(line.c0, line.c1, weights.a);
        texture_point = interp(line.t0, line.t1, weights.a);
    } else { // a derived class that answers in its own way
        tri_list = nullptr;
        line_list = nullptr;
    }
}
