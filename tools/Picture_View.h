// Finds the place from which all of a world fills a picture.
//
//     WDB_Camera* eye = Picture_View(*world).camera(Vector(0, 0, 1), 640.0f / 480);   // the front
//
// The boxes of the nodes are looked at, each turned as its node is, so that no room is left for
// corners of the world's own box where nothing is.
#ifndef TOOLS_PICTURE_VIEW_H
#define TOOLS_PICTURE_VIEW_H

#include <vector>

#include "math/Geometry.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"

class Picture_View {
public:
    // From the front, a little from the right and above: flat things show some of their area
    // whichever way they lie.
    static const Vector usual_direction;

    // Requires: shapes in the world.
    explicit Picture_View(WDB_Database& world);

    // A new camera in the world, that stands in this direction from its middle and sees all of it:
    // on one axis it fills the picture but for a small border. `aspect` is width over height; y is
    // up, or away from it where y is the direction.
    WDB_Camera* camera(const Vector& direction, float aspect) const;

private:
    WDB_Database& world_;
    std::vector<Point> corners_; // finite, in the world
};

#endif
