#include "wdb/WDB_Tri_List.h"

#include <cfloat>
#include <cmath>

#include "wdb/Corner_Vertices.h"

// A plain member initialiser per corner: this form is the one that all others end in.
WDB_Triangle::WDB_Triangle(const Point& a, const Point& b, const Point& c, const Vector& na,
                           const Vector& nb, const Vector& nc, const Color& ca, const Color& cb,
                           const Color& cc, const Point& ta, const Point& tb, const Point& tc)
    : p0(a), p1(b), p2(c), n0(na), n1(nb), n2(nc), c0(ca), c1(cb), c2(cc), t0(ta), t1(tb), t2(tc) {}

static constexpr Color triangle_grey(0.5f, 0.5f, 0.5f);

static Vector face_normal(const Point& a, const Point& b, const Point& c) {
    return oknormalize(cross(a, b, c));
}

WDB_Triangle::WDB_Triangle(const Point& a, const Point& b, const Point& c, const Vector& na,
                           const Vector& nb, const Vector& nc, const Color& color, const Point& ta,
                           const Point& tb, const Point& tc)
    : WDB_Triangle(a, b, c, na, nb, nc, color, color, color, ta, tb, tc) {}

WDB_Triangle::WDB_Triangle(const Point& a, const Point& b, const Point& c, const Vector& na,
                           const Vector& nb, const Vector& nc, const Point& ta, const Point& tb,
                           const Point& tc)
    : WDB_Triangle(a, b, c, na, nb, nc, triangle_grey, triangle_grey, triangle_grey, ta, tb, tc) {}

WDB_Triangle::WDB_Triangle(const Point& a, const Point& b, const Point& c, const Vector& na,
                           const Vector& nb, const Vector& nc, const Color& ca, const Color& cb,
                           const Color& cc)
    : WDB_Triangle(a, b, c, na, nb, nc, ca, cb, cc, toPoint(na), toPoint(nb), toPoint(nc)) {}

WDB_Triangle::WDB_Triangle(const Point& a, const Point& b, const Point& c, const Vector& na,
                           const Vector& nb, const Vector& nc, const Color& color)
    : WDB_Triangle(a, b, c, na, nb, nc, color, color, color) {}

WDB_Triangle::WDB_Triangle(const Point& a, const Point& b, const Point& c, const Vector& na,
                           const Vector& nb, const Vector& nc)
    : WDB_Triangle(a, b, c, na, nb, nc, triangle_grey) {}

// The face normal is computed once for the three corners, which the full form could not do.

WDB_Triangle::WDB_Triangle(const Point& a, const Point& b, const Point& c, const Color& ca,
                           const Color& cb, const Color& cc, const Point& ta, const Point& tb,
                           const Point& tc)
    : p0(a), p1(b), p2(c), n0(face_normal(a, b, c)), n1(n0), n2(n0), c0(ca), c1(cb), c2(cc), t0(ta),
      t1(tb), t2(tc) {}

WDB_Triangle::WDB_Triangle(const Point& a, const Point& b, const Point& c, const Color& color,
                           const Point& ta, const Point& tb, const Point& tc)
    : WDB_Triangle(a, b, c, color, color, color, ta, tb, tc) {}

WDB_Triangle::WDB_Triangle(const Point& a, const Point& b, const Point& c, const Point& ta,
                           const Point& tb, const Point& tc)
    : WDB_Triangle(a, b, c, triangle_grey, triangle_grey, triangle_grey, ta, tb, tc) {}

WDB_Triangle::WDB_Triangle(const Point& a, const Point& b, const Point& c, const Color& ca,
                           const Color& cb, const Color& cc)
    : p0(a), p1(b), p2(c), n0(face_normal(a, b, c)), n1(n0), n2(n0), c0(ca), c1(cb), c2(cc),
      t0(toPoint(n0)), t1(t0), t2(t0) {}

WDB_Triangle::WDB_Triangle(const Point& a, const Point& b, const Point& c, const Color& color)
    : WDB_Triangle(a, b, c, color, color, color) {}

WDB_Triangle::WDB_Triangle(const Point& a, const Point& b, const Point& c)
    : WDB_Triangle(a, b, c, triangle_grey) {}

// Ties fall towards z, then y.
static int largest_axis(const Vector& n) {
    const float x = std::fabs(n.x), y = std::fabs(n.y), z = std::fabs(n.z);
    if (y < x) return z < x ? 0 : 2;
    return z < y ? 1 : 2;
}

// Whether `hit`, which lies in the plane of the normal, lies on the inner side of the edge that
// starts at `corner`, no further in than the opposite corner. Only the component `axis` is looked
// at.
static bool is_edge_passed(const Vector& edge, const Point& corner, const Point& hit,
                           const Vector& normal, int axis) {
    const float n = normal[axis];
    const float c = cross(edge, hit - corner)[axis];
    return n <= 0 ? n <= c && c <= 0 : 0 <= c && c <= n;
}

float WDB_Triangle::line_intersection(const Point& p, const Point& q, float) const {
    // Of normals that are not scaled: it takes small triangles for parallel ones as well.
    const float nearly_parallel = 0.0001f;
    const Vector e0 = p1 - p0, e1 = p2 - p1, e2 = p0 - p2;
    const Vector n = cross(e0, e1);
    const Vector d = q - p;
    const float denominator = dot(n, d);
    if (std::fabs(denominator) < nearly_parallel) return FLT_MAX;
    const float t = (pvdot(p0, n) - pvdot(p, n)) / denominator;
    if (t < 0 || t > 1) return FLT_MAX;
    const Point hit = p + d * t;
    // All cross products lie along the normal: one component compares them, best the largest.
    const int axis = largest_axis(n);
    if (!is_edge_passed(e1, p1, hit, n, axis) || !is_edge_passed(e2, p2, hit, n, axis) ||
        !is_edge_passed(e0, p0, hit, n, axis))
        return FLT_MAX;
    return t;
}

bool operator==(const WDB_Triangle& a, const WDB_Triangle& b) {
    return a.p0 == b.p0 && a.p1 == b.p1 && a.p2 == b.p2 && a.n0 == b.n0 && a.n1 == b.n1 &&
           a.n2 == b.n2 && a.c0 == b.c0 && a.c1 == b.c1 && a.c2 == b.c2 && a.t0 == b.t0 &&
           a.t1 == b.t1 && a.t2 == b.t2;
}

std::ostream& operator<<(std::ostream& os, const WDB_Triangle& t) {
    os << "TRIANGLE{\n";
    os << "  p0 = " << t.p0 << "  p1 = " << t.p1 << "  p2 = " << t.p2;
    os << "  n0 = " << t.n0 << "  n1 = " << t.n1 << "  n2 = " << t.n2;
    os << "  c0 = " << t.c0 << "  c1 = " << t.c1 << "  c2 = " << t.c2;
    return os << "}\n";
}

bool WDB_Tri_List::copy_vertices(const WDB_Vertex_Layout& layout, void* out,
                                 std::size_t size) const {
    return copy_corners(*this, layout, out, size);
}

// Here, for its vtable to have a home.
WDB_Tri_List::~WDB_Tri_List() = default;
