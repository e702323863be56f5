// Fixed number of self-contained triangles: the main geometry of a world.
//
//     WDB_Tri_List* list = new WDB_Tri_List(1);
//     list->begin_editing();
//     list->put(WDB_Triangle(a, b, c), 0);     // face normal, grey
//     list->end_editing();
//
// Each triangle holds its own corners, normals, colours and texture points: nothing is shared and
// there is no index buffer. The array is one pointer-free block of the collected heap.
#ifndef WDB_WDB_TRI_LIST_H
#define WDB_WDB_TRI_LIST_H

#include <concepts>
#include <ostream>

#include "math/Color.h"
#include "math/Geometry.h"
#include "wdb/WDB_Item_List.h"

struct WDB_Vertex_Layout;

// Plain value. Corners given counter-clockwise have their face normal towards the viewer.
// What a constructor is not given: normals are the face normal, the unit vector of
// (p1 - p0) x (p2 - p0), or zero where that has no length; colours are grey (0.5, 0.5, 0.5);
// texture points are the three components of their corner's normal.
struct WDB_Triangle {
    Point p0, p1, p2;
    Vector n0, n1, n2;
    Color c0, c1, c2;
    Point t0, t1, t2;

    // Sets nothing.
    WDB_Triangle() = default;

    WDB_Triangle(const Point& p0, const Point& p1, const Point& p2, const Vector& n0,
                 const Vector& n1, const Vector& n2, const Color& c0, const Color& c1,
                 const Color& c2, const Point& t0, const Point& t1, const Point& t2);
    WDB_Triangle(const Point& p0, const Point& p1, const Point& p2, const Vector& n0,
                 const Vector& n1, const Vector& n2, const Color& c, const Point& t0,
                 const Point& t1, const Point& t2);
    WDB_Triangle(const Point& p0, const Point& p1, const Point& p2, const Vector& n0,
                 const Vector& n1, const Vector& n2, const Point& t0, const Point& t1,
                 const Point& t2);
    WDB_Triangle(const Point& p0, const Point& p1, const Point& p2, const Vector& n0,
                 const Vector& n1, const Vector& n2, const Color& c0, const Color& c1,
                 const Color& c2);
    WDB_Triangle(const Point& p0, const Point& p1, const Point& p2, const Vector& n0,
                 const Vector& n1, const Vector& n2, const Color& c);
    WDB_Triangle(const Point& p0, const Point& p1, const Point& p2, const Vector& n0,
                 const Vector& n1, const Vector& n2);
    WDB_Triangle(const Point& p0, const Point& p1, const Point& p2, const Color& c0,
                 const Color& c1, const Color& c2, const Point& t0, const Point& t1,
                 const Point& t2);
    WDB_Triangle(const Point& p0, const Point& p1, const Point& p2, const Color& c, const Point& t0,
                 const Point& t1, const Point& t2);
    WDB_Triangle(const Point& p0, const Point& p1, const Point& p2, const Point& t0,
                 const Point& t1, const Point& t2);
    WDB_Triangle(const Point& p0, const Point& p1, const Point& p2, const Color& c0,
                 const Color& c1, const Color& c2);
    WDB_Triangle(const Point& p0, const Point& p1, const Point& p2, const Color& c);
    WDB_Triangle(const Point& p0, const Point& p1, const Point& p2);

    // Fraction of the segment p..q where it meets the triangle, from either side: 0 at p, 1 at q;
    // edges and corners belong to it. `tolerance` is not consulted.
    // On failure: FLT_MAX; so also where the segment is nearly parallel, that is, where the
    // unnormalised normal times q - p is below 0.0001.
    float line_intersection(const Point& p, const Point& q, float tolerance) const;
};

// Exact equality of all 36 floats.
bool operator==(const WDB_Triangle& a, const WDB_Triangle& b);

// Corners, normals and colours; texture points are not written.
std::ostream& operator<<(std::ostream& os, const WDB_Triangle& triangle);

class WDB_Tri_List : public WDB_Item_List<WDB_Triangle> {
    STD_OBJ_CLASS(WDB_Tri_List, WDB_Geometry)

    // On failure: a fatal report, if `n` is negative.
    explicit WDB_Tri_List(int n) : WDB_Item_List(n, "triangles") {}
    // With what `fill` writes into the array of `n` triangles that it is given, as if each had been
    // put.
    template<std::invocable<WDB_Triangle*> Fill>
    WDB_Tri_List(int n, Fill fill) : WDB_Item_List(n, "triangles", fill) {}

    // Whether the colours of the triangles mean anything; false at first.
    bool get_with_colors() const override { return with_colors_; }
    bool get_with_normals() const override { return true; }
    bool get_with_textures() const override { return true; }

    // Writes the corners p0, p1, p2 of all triangles, vertex_count() in all, into the program's own
    // `out` in the form that the layout tells; colours also where they mean nothing. See
    // WDB_Mesh_Arrays for vertices that corners share.
    // On failure: false, and nothing is written, if they do not fit into `size` bytes.
    bool copy_vertices(const WDB_Vertex_Layout& layout, void* out, std::size_t size) const;

    virtual ~WDB_Tri_List();

    // Touches if the value changes. Never makes the box stale.
    virtual void set_with_colors(bool value) { set_flag(with_colors_, value); }

private:
    bool with_colors_ = false;
};

#endif
