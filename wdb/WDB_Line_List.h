// Fixed number of self-contained line segments.
//
//     WDB_Line_List* list = new WDB_Line_List(1);
//     list->begin_editing();
//     list->put(WDB_Line(a, b), 0);            // normals down, grey
//     list->end_editing();
//
// All that is not told here is as in WDB_Tri_List, but colours, normals and texture points each
// have a flag that says whether they mean anything; all are false at first.
#ifndef WDB_WDB_LINE_LIST_H
#define WDB_WDB_LINE_LIST_H

#include <concepts>
#include <ostream>

#include "math/Color.h"
#include "math/Geometry.h"
#include "wdb/WDB_Item_List.h"

struct WDB_Vertex_Layout;

// Plain value. What a constructor is not given: normals are (0, 0, -1), as a line has no face;
// colours are grey (0.5, 0.5, 0.5); texture points are the components of their end's normal.
struct WDB_Line {
    Point p0, p1;
    Vector n0, n1;
    Color c0, c1;
    Point t0, t1;

    // Sets nothing.
    WDB_Line() = default;

    WDB_Line(const Point& p0, const Point& p1, const Vector& n0, const Vector& n1, const Color& c0,
             const Color& c1, const Point& t0, const Point& t1);
    WDB_Line(const Point& p0, const Point& p1, const Vector& n0, const Vector& n1, const Color& c,
             const Point& t0, const Point& t1);
    WDB_Line(const Point& p0, const Point& p1, const Vector& n0, const Vector& n1, const Point& t0,
             const Point& t1);
    WDB_Line(const Point& p0, const Point& p1, const Vector& n0, const Vector& n1, const Color& c0,
             const Color& c1);
    WDB_Line(const Point& p0, const Point& p1, const Vector& n0, const Vector& n1, const Color& c);
    WDB_Line(const Point& p0, const Point& p1, const Vector& n0, const Vector& n1);
    WDB_Line(const Point& p0, const Point& p1, const Color& c0, const Color& c1, const Point& t0,
             const Point& t1);
    WDB_Line(const Point& p0, const Point& p1, const Color& c, const Point& t0, const Point& t1);
    WDB_Line(const Point& p0, const Point& p1, const Point& t0, const Point& t1);
    WDB_Line(const Point& p0, const Point& p1, const Color& c0, const Color& c1);
    WDB_Line(const Point& p0, const Point& p1, const Color& c);
    WDB_Line(const Point& p0, const Point& p1);

    // Fraction of the segment p..q where it passes this line most closely: 0 at p, 1 at q. The two
    // closest points must both lie on their segments, at most `tolerance` apart.
    // On failure: FLT_MAX; so also for parallel lines, however close.
    float line_intersection(const Point& p, const Point& q, float tolerance) const;
};

// Exact equality of all 24 floats.
bool operator==(const WDB_Line& a, const WDB_Line& b);

// Ends, normals and colours; texture points are not written.
std::ostream& operator<<(std::ostream& os, const WDB_Line& line);

class WDB_Line_List : public WDB_Item_List<WDB_Line> {
    STD_OBJ_CLASS(WDB_Line_List, WDB_Geometry)

    // On failure: a fatal report, if `n` is negative.
    explicit WDB_Line_List(int n) : WDB_Item_List(n, "lines") {}
    // With what `fill` writes into the array of `n` lines that it is given, as if each had been
    // put.
    template<std::invocable<WDB_Line*> Fill>
    WDB_Line_List(int n, Fill fill) : WDB_Item_List(n, "lines", fill) {}

    bool get_with_colors() const override { return with_colors_; }
    bool get_with_normals() const override { return with_normals_; }
    bool get_with_textures() const override { return with_textures_; }

    // The ends p0, p1 of all lines.
    bool copy_vertices(const WDB_Vertex_Layout& layout, void* out, std::size_t size) const;

    virtual ~WDB_Line_List();

    // Each touches if the value changes, and never makes the box stale.
    virtual void set_with_normals(bool value) { set_flag(with_normals_, value); }
    virtual void set_with_colors(bool value) { set_flag(with_colors_, value); }
    virtual void set_with_textures(bool value) { set_flag(with_textures_, value); }

private:
    bool with_colors_ = false, with_normals_ = false, with_textures_ = false;
};

#endif
