// Makes a smooth-shaded triangle list of a flat-shaded one.
//
//     WDB_Smoother smoother;
//     WDB_Tri_List* smooth = smoother.smooth_version(faceted);
//
// At each corner of a triangle whose normals are its face normal, the face normals of the
// triangles that meet there are averaged in, as long as they stand at less than 60 degrees to it:
// sharper edges stay creases. Triangles with other normals keep them.
#ifndef WDB_WDB_SMOOTHER_H
#define WDB_WDB_SMOOTHER_H

#include "base/Gap_List.h"
#include "math/Geometry.h"
#include "std/Std_Obj.h"
#include "wdb/Point_Table.h"
#include "wdb/WDB_Tri_List.h"

class WDB_Smoother : public Std_Obj {
    STD_OBJ_CLASS(WDB_Smoother, Std_Obj)

    WDB_Smoother() = default;

    // Null for null. A new list of the same length with the same points, colours and texture
    // points; its name is the default one. The smoother can be used again.
    // Cost: in proportion to the triangles; but each triangle looks at all others that meet at its
    // corners, so that a fan of many around one point takes the square of their number.
    WDB_Tri_List* smooth_version(const WDB_Tri_List* source);

    // The steps of smooth_version, for those who fill the table themselves.

    // Notes that `triangle` has a corner at `point`.
    // Lifetime: both must stay in place as long as this smoother is used.
    void add_triangle(const Point* point, const WDB_Triangle* triangle);

    WDB_Triangle smooth_triangle(const WDB_Triangle* triangle);

    // The normal of `triangle` at `vertex`. Each neighbour is added to the sum in the order of
    // add_triangle, and the sum is brought to length 1 after each.
    // On failure: a warning and the face normal, if `vertex` is no corner of a triangle that keeps
    // its normals.
    Vector smooth_normal(const Point& vertex, const WDB_Triangle* triangle);

private:
    using Triangles = Gap_List<const WDB_Triangle*>;

    Point_Table positions_;
    Gap_List<Triangles*> meeting_; // by the number of the position
};

#endif
