// A node that can be looked through.
//
//     WDB_Camera* eye = new WDB_Camera("eye", HFrame::identity(),
//                                      Matrix4::perspective(deg_to_rad(45), 1, 1000),
//                                      nullptr, nullptr);
//     world.put(eye);
//     eye->lookat(world, false);                // in front of the world
//     draw(eye->get_viewing(), eye->get_render_projection(width / height));
//     WDB_Node* node = eye->pick_at_x_y(0, 0, width / height, 0.01f, false);
//
// The camera looks along its -z with +y up. Beside the projection that was set it keeps a render
// projection whose near and far planes follow the extent of its world, and the product of viewing
// and render projection. Both are caches: they are computed at the next use after something
// changed, so asking is cheap; and a world tells all its cameras of a change at one price, so its
// put and update are cheap too. Several threads may ask at once. A camera keeps the place of its
// last pick, so it picks in one thread at a time.
//
// aspect is width over height of the picture. Positions in the picture run from -1 to 1.
#ifndef WDB_WDB_CAMERA_H
#define WDB_WDB_CAMERA_H

#include <ostream>

#include "math/Geometry.h"
#include "math/Homogeneous.h"
#include "math/Matrix4.h"
#include "wdb/Extent_Signal.h"
#include "wdb/WDB_Node.h"
#include "wdb/WDB_Pick.h"

class WDB_Lod_View;

class WDB_Camera : public WDB_Node {
    STD_OBJ_CLASS(WDB_Camera, WDB_Node)

    // Outside any world. Geometry and material may be null.
    // Stamp 5 with a geometry, 4 without.
    WDB_Camera(const char* name, const HFrame& transform, const Matrix4& projection,
               const WDB_Geometry* geometry, const WDB_Material* material);

    void set_projection(const Matrix4& m);
    const Matrix4& get_projection() const { return projection_; }
    Matrix4 get_projection(float aspect) const;

    // Distance between the eyes, in world units; 0 at first.
    void set_ipd(float ipd);
    float get_ipd() const { return ipd_; }

    // World to camera space: the inverse of the transform. A singular transform leaves it as it
    // was, at first the identity.
    const HFrame& get_viewing() const { return viewing_; }

    Matrix4 get_render_projection(float aspect);
    Matrix4 get_left_render_projection(float aspect);
    Matrix4 get_right_render_projection(float aspect);
    Matrix4 get_viewing_x_render_projection(float aspect);

    // Whether the node's box may be seen, and the fraction of the picture that it covers (which is
    // not clipped to the picture). False and 0 for null, this camera, and nodes without geometry.
    bool is_visible(const WDB_Node* node);
    float coverage(const WDB_Node* node);

    // Place the camera in front of the box of the node or world, on its +z side, as far away as a
    // picture 22.5 degrees high needs for the larger of its height and depth. Neither the width of
    // the box nor the camera's own angle takes part. The twist about the view axis becomes 0 unless
    // it is kept.
    void lookat(const WDB_Node& node, bool keep_twist);
    void lookat(const WDB_Database& world, bool keep_twist);

    // Turn the camera where it stands, towards the centre of that box.
    void pointat(const WDB_Node& node, bool keep_twist);
    void pointat(const WDB_Database& world, bool keep_twist);

    // Moves the camera, which does not turn, to where its picture of that aspect holds all of the
    // box and is filled by it: on one axis the box touches both edges, up to rounding, and on the
    // other it lies in the middle. The opening angle stays; so do the near and far planes, which in
    // a world follow its extent and else may cut the box.
    // The camera comes no nearer to the box than a thousandth of its diagonal, nor, outside of
    // worlds or to a point, than its near plane, even if the box then touches nothing.
    // A parallel projection (affine, with scales and a shift of z alone) is scaled to the box, its
    // proportions kept, and its planes move apart for what is deeper; but not to a box that has no
    // extent across the view.
    // On failure: false, and nothing changes: for a box that is empty, reaches 1e30 or has a NaN,
    // an aspect not above 0, a singular transform, and projections of other kinds.
    bool fit(const Bbox& box, float aspect);

    // What lies under a position of the picture: the segment from the near to the far plane, in
    // world space, along which a pick looks.
    void get_segment(float x, float y, float aspect, Point* near_end, Point* far_end);

    // Where the picture shows a point of the world: x and y, and -1 (on the near plane) to 1 (on
    // the far one) as z. What lies in the picture is within -1 and 1 in all three.
    // On failure: false, for a point that is not in front of the eye.
    bool project(const Point& point, float aspect, Point* position);

    // The nearest shape under a position of the picture, or null. Shapes within `tolerance` of the
    // position, a length in the picture, are found if their geometry heeds a tolerance. `stereo`
    // picks in the right eye's picture.
    // Afterwards get_last_picked_point tells where, in world space; (0, 0, 0) for no hit. A camera
    // without a world answers null and leaves that point. May add a default camera to the world.
    WDB_Node* pick_at_x_y(float x, float y, float aspect, float tolerance, bool stereo);
    // The same, with the triangle or line that was hit, its normal and its texture point.
    WDB_Pick detailed_pick_at_x_y(float x, float y, float aspect, float tolerance, bool stereo);
    // The same of what the picture shows: where the others look at level 0 of each node, the level
    // that `levels` chooses is looked at, and this camera's own geometry is not. Tolerances are
    // those of depths in the view of this camera, so that no default camera is needed, or added.
    WDB_Pick detailed_pick_at_x_y(float x, float y, float aspect, float tolerance, bool stereo,
                                  const WDB_Lod_View& levels);
    const Point& get_last_picked_point() const { return last_picked_point_; }

    // The next use computes both caches anew.
    void invalidate_render_projection();

    // For worlds: while one lists this camera, its signal says that the same is due.
    // Requires: begin and end in turns for each signal.
    void begin_listing(Extent_Signal* signal);
    void end_listing(const Extent_Signal* signal) { extent_.end(signal); }
    void update_after_naming() override {
        extent_.forget_names();
        WDB_Node::update_after_naming();
    }

    void print_contents(std::ostream& os) const override;
    void update_after_transform_change() override;
    void update_after_world_change() override;

    // The projection with near and far planes fitted to the box of the world, with 5 percent to
    // spare; the near plane never comes closer than 1/10020 of the far one, nor than 0.0001. A
    // camera without a world, or with a projection that is no standard perspective, answers the
    // projection as it is.
    // Lifetime: valid until the camera or its world changes.
    virtual const Matrix4& get_render_projection();
    virtual const Matrix4& get_viewing_x_render_projection();

    // Notifications: each touches.
    virtual void update_after_projection_change();
    virtual void update_after_ipd_change();

private:
    struct Pick_Line;

    Pick_Line pick_line(float x, float y, float aspect, float tolerance, bool stereo);
    WDB_Node* closest_object_on(const Pick_Line& line);
    void drop_stale_projection();
    bool is_valid(const Shared_Flag& flag) const { return !extent_.is_raised() && flag; }
    Matrix4 fitted_projection() const;
    Matrix4 eye_projection(float aspect, float ipd);
    float twist(bool keep_twist) const;
    void place(const Frame& world_to_viewer);
    void pointat(const Bbox& box, bool keep_twist);

    Matrix4 projection_;
    Matrix4 render_projection_;
    HFrame viewing_;
    Matrix4 viewing_x_render_projection_;
    Shared_Flag render_projection_valid_;
    Shared_Flag viewing_x_render_projection_valid_;
    Extent_Watch extent_; // asked before a flag is believed or set
    float ipd_;
    Point last_picked_point_;
};

// Angle in radians by which the frame's up row is turned from +y about the view axis, from -pi to
// pi; pi/2 for a frame whose up row lies along the view axis. Never NaN for finite rows: a unit
// vector that rounding left a little too long counts as one.
float compute_twist(const HFrame& h);

#endif
