// Which level of detail of a node a picture needs: the rule that nolt_picture goes by.
//
//     const WDB_Lod_View levels(*camera, 640, 480);      // anew for each picture
//     const float aspect = 640 / 480.0f;
//     world->for_each_shape_unordered(camera, aspect, [&](const WDB_Node& node, const Bbox&) {
//         const int level = levels.level_of(node);
//         if (level >= 0) draw(node.lod_item(level), node.get_transform());
//     });
//
// Levels stand from fine to coarse. The last one is taken that has at least eight triangles, or
// lines, for each pixel of the node's edge in the picture: so the outline of a sphere is off by
// little more than half a pixel. If none has so many, the first is taken; so also for a node that
// lies beside or behind the eye in part.
// A program that knows better gives the node distances, which then decide alone; see
// WDB_Node::set_lod_distance. Scene files do not keep them.
//
// A plain value: it knows the view as it was when made.
#ifndef WDB_WDB_LOD_VIEW_H
#define WDB_WDB_LOD_VIEW_H

#include "math/Geometry.h"
#include "math/Matrix4.h"

class WDB_Camera;
class WDB_Node;

class WDB_Lod_View {
public:
    // Of what the camera shows in a picture of so many pixels.
    WDB_Lod_View(WDB_Camera& camera, int width, int height);

    // The same with a camera of the program's own: from the world to clip space for the aspect of
    // the picture, and where it stands.
    WDB_Lod_View(const Matrix4& world_to_clip, const Point& eye, int width, int height);

    // From 0 to lod_count() - 1. -1 if there is nothing to draw: no level, or all distances are
    // exceeded.
    int level_of(const WDB_Node& node) const;

    // Of a square as large as the rectangle around the node's box, in pixels; that may reach beyond
    // the picture. Infinite for a node that is not wholly in front of the eye.
    double edge_of(const WDB_Node& node) const;

    // From the eye to the middle of the node's box, in units of the world.
    float distance_of(const WDB_Node& node) const;

private:
    Matrix4 world_to_clip_;
    Point eye_;
    double width_, height_; // pixels
};

#endif
