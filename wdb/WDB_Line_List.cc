#include "wdb/WDB_Line_List.h"

#include <cfloat>
#include <cmath>

#include "wdb/Corner_Vertices.h"

static constexpr Color line_grey(0.5f, 0.5f, 0.5f);
// A line has no face. The length is 1, so that the scene reader keeps such lines.
static constexpr Vector down(0, 0, -1);

// The form that all others end in.
WDB_Line::WDB_Line(const Point& a, const Point& b, const Vector& na, const Vector& nb,
                   const Color& ca, const Color& cb, const Point& ta, const Point& tb)
    : p0(a), p1(b), n0(na), n1(nb), c0(ca), c1(cb), t0(ta), t1(tb) {}

WDB_Line::WDB_Line(const Point& a, const Point& b, const Vector& na, const Vector& nb,
                   const Color& color, const Point& ta, const Point& tb)
    : WDB_Line(a, b, na, nb, color, color, ta, tb) {}

WDB_Line::WDB_Line(const Point& a, const Point& b, const Vector& na, const Vector& nb,
                   const Point& ta, const Point& tb)
    : WDB_Line(a, b, na, nb, line_grey, line_grey, ta, tb) {}

WDB_Line::WDB_Line(const Point& a, const Point& b, const Vector& na, const Vector& nb,
                   const Color& ca, const Color& cb)
    : WDB_Line(a, b, na, nb, ca, cb, toPoint(na), toPoint(nb)) {}

WDB_Line::WDB_Line(const Point& a, const Point& b, const Vector& na, const Vector& nb,
                   const Color& color)
    : WDB_Line(a, b, na, nb, color, color) {}

WDB_Line::WDB_Line(const Point& a, const Point& b, const Vector& na, const Vector& nb)
    : WDB_Line(a, b, na, nb, line_grey) {}

WDB_Line::WDB_Line(const Point& a, const Point& b, const Color& ca, const Color& cb,
                   const Point& ta, const Point& tb)
    : WDB_Line(a, b, down, down, ca, cb, ta, tb) {}

WDB_Line::WDB_Line(const Point& a, const Point& b, const Color& color, const Point& ta,
                   const Point& tb)
    : WDB_Line(a, b, down, down, color, ta, tb) {}

WDB_Line::WDB_Line(const Point& a, const Point& b, const Point& ta, const Point& tb)
    : WDB_Line(a, b, down, down, ta, tb) {}

WDB_Line::WDB_Line(const Point& a, const Point& b, const Color& ca, const Color& cb)
    : WDB_Line(a, b, down, down, ca, cb) {}

WDB_Line::WDB_Line(const Point& a, const Point& b, const Color& color)
    : WDB_Line(a, b, down, down, color) {}

WDB_Line::WDB_Line(const Point& a, const Point& b) : WDB_Line(a, b, down, down) {}

static bool is_fraction(float value) {
    return 0 <= value && value <= 1;
}

float WDB_Line::line_intersection(const Point& p, const Point& q, float tolerance) const {
    const Vector d = q - p, e = p1 - p0, w = p - p0;
    // The shortest way between two lines is at right angles to both.
    const Vector c = cross(d, e);
    const float length = mag(c);
    // Parallel lines are as close everywhere: no point is the one that is met.
    if (length == 0) return FLT_MAX;
    const Vector u = oknormalize(c);
    // The distance of the endless lines; whether it is reached between the ends comes after.
    if (std::fabs(dot(w, u)) > tolerance) return FLT_MAX;
    const float s = -dot(cross(w, e), u) / length;
    const float r = -dot(cross(w, d), u) / length;
    return is_fraction(s) && is_fraction(r) ? s : FLT_MAX;
}

bool operator==(const WDB_Line& a, const WDB_Line& b) {
    return a.p0 == b.p0 && a.p1 == b.p1 && a.n0 == b.n0 && a.n1 == b.n1 && a.c0 == b.c0 &&
           a.c1 == b.c1 && a.t0 == b.t0 && a.t1 == b.t1;
}

std::ostream& operator<<(std::ostream& os, const WDB_Line& l) {
    os << "Line{\n";
    os << "  p0 = " << l.p0 << "  p1 = " << l.p1;
    os << "  n0 = " << l.n0 << "  n1 = " << l.n1;
    os << "  c0 = " << l.c0 << "  c1 = " << l.c1;
    return os << "}\n";
}

bool WDB_Line_List::copy_vertices(const WDB_Vertex_Layout& layout, void* out,
                                  std::size_t size) const {
    return copy_corners(*this, layout, out, size);
}

// Here, for its vtable to have a home.
WDB_Line_List::~WDB_Line_List() = default;
