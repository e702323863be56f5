// What a line met: which node, which triangle or line of its geometry, and how that looks there.
//
//     const WDB_Pick pick = camera->detailed_pick_at_x_y(x, y, aspect, 0.01f, false);
//     if (pick.node && pick.tri_list) mark((*pick.tri_list)[pick.index], pick.point, pick.normal);
//
// A plain value. Points and normals are in world space. What it points to is shared, not owned.
#ifndef WDB_WDB_PICK_H
#define WDB_WDB_PICK_H

#include <cfloat>

#include "math/Color.h"
#include "math/Geometry.h"

class WDB_Geometry;
class WDB_Line_List;
class WDB_Node;
class WDB_Tri_List;

struct WDB_Pick {
    // Null for no hit; all that follows is then as it stands here.
    WDB_Node* node = nullptr;

    // Where on the line: 0 at its start, 1 at its end; and the point.
    float fraction = FLT_MAX;
    Point point = Point(0, 0, 0);

    // The level of detail that was asked: 0, but for picks of what a picture shows.
    int level = 0;

    // The list that was hit, that level of the node, and the place in it: the first of those that
    // are met at this fraction. Both null and -1 for geometries of other classes, for which nothing
    // below is known either.
    const WDB_Tri_List* tri_list = nullptr;
    const WDB_Line_List* line_list = nullptr;
    int index = -1;

    // Of the corners p0, p1, p2 at the point, sum 1. Of a line: of its ends, and 0.
    Bary weights = Bary(0, 0, 0);

    // What the corners or ends have, by these weights. The normal has unit length, or is zero where
    // there is none; it is the normal of the shape as placed, so uneven scaling turns it.
    Vector normal = Vector(0, 0, 0);
    Color color = Color(0, 0, 0);
    Point texture_point = Point(0, 0, 0);

    // The unit normal of the triangle itself, towards those who see its corners counter-clockwise
    // before it is placed. Zero for lines.
    Vector face_normal = Vector(0, 0, 0);

    // For WDB_Node: fills in what stands below `level` from that level of the node, which the
    // segment p..q, in object space, meets. `to_object` takes world space there.
    void look_up(const WDB_Geometry* geometry, const Point& p, const Point& q, float tolerance,
                 const Frame& to_object);
};

#endif
