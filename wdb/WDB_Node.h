// One placed thing in a world: a transform, levels of detail, a material, a texture, a URL.
//
//     WDB_Node* ball = new WDB_Node("Ball", HFrame::identity(), fine, red, nullptr);
//     ball->insert_lod(coarse, ball->lod_count());
//     world.put(ball);
//     ball->set_transform(HFrame(Frame::translation(1, 0, 0)));    // the world files it anew
//
// What a node points to is shared, never owned. Every change of its shape or place adds one to the
// stamp and reaches the world that holds it. The geometry of a node is its first level of detail.
#ifndef WDB_WDB_NODE_H
#define WDB_WDB_NODE_H

#include <ostream>

#include "base/Gap_List.h"
#include "math/Bbox.h"
#include "math/Homogeneous.h"
#include "wdb/WDB_Obj.h"

class Default_View;
class Std_URL;
class WDB_Database;
class WDB_Geometry;
class WDB_Material;
class WDB_Texture;
struct WDB_Pick;

class WDB_Node : public WDB_Obj {
    STD_OBJ_CLASS(WDB_Node, WDB_Obj)

    // Outside any world, without a URL. Geometry, material and texture may be null.
    // Stamp 3 with a geometry, 2 without.
    WDB_Node(const char* name, const HFrame& transform, const WDB_Geometry* geometry,
             const WDB_Material* material, const WDB_Texture* texture);

    // Null outside a world.
    WDB_Database* get_world() const { return world_; }

    // Object space to world space.
    void set_transform(const HFrame& transform);
    const HFrame& get_transform() const { return transform_; }

    // Union of the boxes of all levels, in object space; the point (0, 0, 0) if there are none.
    const Bbox& get_bbox() const { return bbox_; }

    int lod_count() const { return lods_.count(); }

    // Requires: 0 <= index < lod_count().
    WDB_Geometry* lod_item(int index) const { return lods_[index]; }

    // How far from the eye a level is shown; see WDB_Lod_View, which takes the first level that is
    // shown at least as far as the node is away. Units of the world; FLT_MAX, without an end, for a
    // level that was given none. For programs alone: scene files do not keep distances, and
    // whatever changes the number of levels, or sets the geometry, forgets them.
    // Touches. Requires: 0 <= index < lod_count().
    void set_lod_distance(int index, float distance);
    float lod_distance(int index) const;
    // Whether one was set.
    bool has_lod_distances() const { return lod_distances_; }

    // Makes `geometry` the only level, with one notification. Null leaves none.
    void set_geometry(const WDB_Geometry* geometry);

    // Level 0, or null.
    WDB_Geometry* get_geometry() const { return lods_.is_empty() ? nullptr : lods_[0]; }

    void set_material(const WDB_Material* material);
    const WDB_Material* get_material() const { return material_; }
    void set_texture(const WDB_Texture* texture);
    const WDB_Texture* get_texture() const { return texture_; }

    // Stores and touches.
    void set_url(Std_URL* url);
    const Std_URL* get_url() const { return url_; }
    Std_URL* get_url() { return url_; }

    // Fraction of the segment p..q, in world space, where it first meets the geometry: 0 at p, 1
    // at q. The tolerance, a length in object space, is that of the depth of the node's origin in
    // the view of the world's default camera, on the straight line through the two given pairs of
    // tolerance and depth. May add that camera to the world.
    // Requires: two different depths.
    // On failure: FLT_MAX; so also without a geometry or a world, and for a singular transform.
    float line_intersection(const Point& p, const Point& q, float near_tolerance, float near_depth,
                            float far_tolerance, float far_depth) const;

    // The same for worlds, with the view of theirs.
    float line_intersection(Default_View& view, const Point& p, const Point& q,
                            float near_tolerance, float near_depth, float far_tolerance,
                            float far_depth) const;

    // The same with all that is known of the place; see WDB_Pick. No node in it on failure.
    WDB_Pick detailed_line_intersection(const Point& p, const Point& q, float near_tolerance,
                                        float near_depth, float far_tolerance, float far_depth);

    // Both for one level of detail, and with the tolerance of the depth in that view in place of
    // the default camera's: no world is asked, and none changes.
    // Requires: 0 <= level < lod_count(); two different depths.
    struct View_Query {
        Frame viewing; // from the world to the viewer
        Point p, q;
        float near_tolerance, near_depth, far_tolerance, far_depth;
    };
    float line_intersection(const View_Query& query, int level) const;
    WDB_Pick detailed_line_intersection(const View_Query& query, int level);

    void print_contents(std::ostream& os) const override;

    // Leaves the present world and enters `world`, or none if null. Same state as after
    // WDB_Database::put or remove. Nothing happens, not even to the stamp, if it is there already.
    virtual void set_world(WDB_Database* world);

    // Makes `geometry` level `index` and moves later levels up. One geometry may stand many times.
    // Requires: geometry is not null, 0 <= index <= lod_count().
    virtual void insert_lod(const WDB_Geometry* geometry, int index);

    // Requires: 0 <= index < lod_count().
    virtual void remove_lod(int index);

    // Requires: geometry is not null, 0 <= index < lod_count().
    virtual void replace_lod(const WDB_Geometry* geometry, int index);

    virtual void wipe_out_lods();

    // Notifications: each adds one to the stamp. Who has changed a shared geometry calls the first
    // for every node that shows it. The first two have the world file the node anew.
    virtual void update_after_geometry_change();
    virtual void update_after_transform_change();
    virtual void update_after_material_change();
    virtual void update_after_texture_change();
    virtual void update_after_world_change();

protected:
    void update_after_naming() override { tell_otherwise_changed(); }
    // The world counts and tells a change that has no notification of its own.
    void tell_otherwise_changed();
    // Without a notification, for constructors of derived classes.
    void store_transform(const HFrame& transform) { transform_ = transform; }
    void store_material(const WDB_Material* material) { material_ = material; }

private:
    void recompute_bbox();

    WDB_Database* world_;
    HFrame transform_;
    Gap_List<WDB_Geometry*> lods_;
    const float* lod_distances_ = nullptr; // as many; never written again, as copies share them
    const WDB_Material* material_;
    const WDB_Texture* texture_;
    Bbox bbox_;
    Std_URL* url_;
};

#endif
