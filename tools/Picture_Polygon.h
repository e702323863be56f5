// A triangle on its way to the screen, in clip space, cut to what the camera sees.
//
//     Picture_Polygon polygon;
//     polygon.add(to_clip(t.p0), 0);
//     polygon.add(to_clip(t.p1), 1);
//     polygon.add(to_clip(t.p2), 2);
//     if (polygon.clip()) draw(polygon);
//
// A corner carries no normal, colour or texture point, but its shares of the three corners that the
// polygon began with: whoever needs more of a place on the triangle mixes it by these.
#ifndef TOOLS_PICTURE_POLYGON_H
#define TOOLS_PICTURE_POLYGON_H

#include "math/Homogeneous.h"

// In the view where -w <= x, y, z <= w.
struct Picture_Clip_Point {
    double x, y, z, w;
};

// From a node's space to clip space. In double: a scene may hold any float, and no product of three
// of them leaves the range.
class Picture_Projection {
public:
    // `place` is the node's transform, `view` leads from the world to clip space.
    Picture_Projection(const HFrame& place, const Matrix4& view);

    Picture_Clip_Point operator()(const Point& p) const {
        return {column(p, 0), column(p, 1), column(p, 2), column(p, 3)};
    }

private:
    double column(const Point& p, int j) const {
        return ((static_cast<double>(p.x) * m_[0][j] + static_cast<double>(p.y) * m_[1][j]) +
                static_cast<double>(p.z) * m_[2][j]) +
               m_[3][j];
    }

    double m_[4][4];
};

struct Picture_Corner {
    Picture_Clip_Point at;
    double share[3];
};

class Picture_Polygon {
public:
    // A corner of its own, number 0, 1 or 2; and one with shares of these.
    // Requires: at most four corners in all.
    void add(const Picture_Clip_Point& at, int whose);
    void add(const Picture_Corner& corner) { corners_[count_++] = corner; }

    // Cuts off what the camera does not see. False if nothing is left, or if a corner is infinite
    // or NaN. All corners have w > 0 afterwards.
    bool clip();

    int count() const { return count_; }
    const Picture_Corner& operator[](int i) const { return corners_[i]; }

private:
    void cut(int side);

    // Each of six sides adds one corner to a convex polygon; rounding may leave it not quite
    // convex.
    static constexpr int room_ = 16;
    Picture_Corner corners_[room_];
    int count_ = 0;
};

#endif
