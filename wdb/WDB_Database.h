// The world: all placed nodes, filed so that spatial queries are fast.
//
//     static bool name_it(SUniv*, const WDB_Node* node, const Bbox&) {
//         puts(node->get_name());
//         return false;                        // go on
//     }
//     WDB_Database world;                      // -10000..10000 on each axis
//     world.put(node);
//     world.apply_to_shapes(nullptr, Bbox(lo, hi), name_it);
//
// Nodes with a geometry are shapes and stand in a box tree under their world-space box; the others
// stand in a plain set. A node moves between the two by itself as its levels come and go. Lights
// and cameras are listed in sets of their own besides.
// The world owns nothing: it keeps nodes alive by holding them. It must not change during a walk:
// what a callback does to the shapes in a walk over shapes, or to the sets in a walk over one of
// them, is a fatal report. It may move nodes that are not shapes.
//
// Threads: while nobody changes a world, any number of threads may ask it at once, the walks and
// picks included. A pick where there is no default camera yet is a change, as is default_camera:
// call prepare_queries before.
#ifndef WDB_WDB_DATABASE_H
#define WDB_WDB_DATABASE_H

#include <cstdint>
#include <mutex>
#include <ostream>
#include <vector>

#include "base/Hash_Set.h"
#include "math/Bbox.h"
#include "math/Geometry.h"
#include "math/Matrix4.h"
#include "math/Split_Box_Tree.h"
#include "std/Std_Allocator.h"
#include "std/Std_Univ.h"
#include "wdb/WDB_Node.h"
#include "wdb/WDB_Obj.h"
#include "wdb/WDB_Visit.h"

// `box` is the node's box in world space. A true result stops the walk, which then returns true.
using WDB_Apply_Callback = bool (*)(SUniv* user, const WDB_Node* node, const Bbox& box);

class WDB_Camera;
class WDB_Light;
class WDB_Listener;
struct Extent_Signal;

enum WDB_Following { WDB_FOLLOWING };

class WDB_Database : public WDB_Obj {
    STD_OBJ_CLASS(WDB_Database, WDB_Obj)

    // Named "Anonymous world". The default world holds up to 4 shapes in a leaf of its tree, one
    // with given bounds up to 8. A shape outside the bounds is held, but no walk over shapes
    // reaches it, so it is not saved either.
    WDB_Database();
    explicit WDB_Database(const Bbox& bounds);
    // Begins as the default world. Its bounds follow what is put, up to 1e19: they are at least
    // doubled on the axis, so that all puts together cost what they cost otherwise, and not much
    // more.
    explicit WDB_Database(WDB_Following);
    WDB_Database(const WDB_Database&) = delete; // a node is in one world
    WDB_Database& operator=(const WDB_Database&) = delete;

    // Touches. The bracket is a flag only and filters nothing.
    void begin_editing();
    void end_editing() { editing_ = false; }
    bool is_editing() const { return editing_; }

    // Another number after each change of what the world holds or of a node in it: all that a
    // WDB_Listener is told of. Brackets and picks do not count. What several nodes may share does
    // not tell its worlds: whether a material, a geometry or a texture has changed, its own stamp
    // says, and of a picture, PX_Map::get_change_count.
    std::uint64_t get_change_count() const { return changes_; }

    // From now on `listener` is told of the changes, behind those that were added before; once,
    // however often it was added. The world keeps collected ones alive; others are to be removed
    // before they go. Null, and to remove one that was not added, does nothing. Without listeners
    // a change costs what it costs anyway.
    void add_listener(WDB_Listener* listener);
    void remove_listener(WDB_Listener* listener);

    bool has(const WDB_Node* node) const;
    int shape_count() const { return shapes_.count(); }

    // Only nodes without geometry.
    int node_count() const { return nodes_.count(); }

    int light_count() const { return lights_.count(); }
    int camera_count() const { return cameras_.count(); }

    // The box of all shapes, cut to the bounds; the bounds, if there is no shape.
    Bbox get_bbox() const;
    const Bbox& get_bounds() const { return shapes_.get_bbox(); }

    // Nodes first, then shapes, each once.
    bool apply(SUniv* user, WDB_Apply_Callback callback) const;

    // Order: that of the set's table, so addresses decide it.
    bool apply_to_nodes(SUniv* user, WDB_Apply_Callback callback) const;
    bool apply_to_lights(SUniv* user, WDB_Apply_Callback callback) const;
    bool apply_to_cameras(SUniv* user, WDB_Apply_Callback callback) const;

    // All shapes; those whose box overlaps `box`; those visible through `m`, or through `m1` or
    // `m2`; those whose box meets the segment p..q. The callback gets the box under which the shape
    // was filed. Order: that of the tree.
    bool apply_to_shapes(SUniv* user, WDB_Apply_Callback callback) const;
    bool apply_to_shapes(SUniv* user, const Bbox& box, WDB_Apply_Callback callback) const;
    bool apply_to_shapes(SUniv* user, const Matrix4& m, WDB_Apply_Callback callback) const;
    bool apply_to_shapes(SUniv* user, const Matrix4& m1, const Matrix4& m2,
                         WDB_Apply_Callback callback) const;
    bool apply_to_shapes(SUniv* user, const Point& p, const Point& q,
                         WDB_Apply_Callback callback) const;

    // The shapes that `camera`, which may stand outside the world, shows in a picture of that
    // aspect: the form with one matrix, with the product of its viewing and render projection. A
    // shape whose box may be seen is visited, also if another hides it. Cost: that of the parts of
    // the tree in view.
    bool apply_to_shapes(SUniv* user, WDB_Camera* camera, float aspect,
                         WDB_Apply_Callback callback) const;

    // The same in no particular order, which costs much less where much is found: to be drawn, or
    // counted. A part of the tree that is wholly in view is handed out without further tests. There
    // may be shapes among them that lie beside the view by a rounding, that are large where one
    // is infinite, or that meet the box or segment outside the bounds only.
    bool apply_to_shapes_unordered(SUniv* user, const Bbox& box, WDB_Apply_Callback callback) const;
    bool apply_to_shapes_unordered(SUniv* user, const Matrix4& m,
                                   WDB_Apply_Callback callback) const;
    bool apply_to_shapes_unordered(SUniv* user, const Point& p, const Point& q,
                                   WDB_Apply_Callback callback) const;
    bool apply_to_shapes_unordered(SUniv* user, WDB_Camera* camera, float aspect,
                                   WDB_Apply_Callback callback) const;

    // The walks for callables; see WDB_Visit.
    //     world.for_each_shape_unordered(camera, aspect, [&](WDB_Node& node, const Bbox&) {
    //         draw(node);
    //     });
    bool for_each_node(WDB_Visit v) const { return apply_to_nodes(v.user(), v.callback()); }
    bool for_each_light(WDB_Visit v) const { return apply_to_lights(v.user(), v.callback()); }
    bool for_each_camera(WDB_Visit v) const { return apply_to_cameras(v.user(), v.callback()); }
    bool for_each_shape(WDB_Visit v) const { return apply_to_shapes(v.user(), v.callback()); }
    bool for_each_shape(const Bbox& box, WDB_Visit v) const {
        return apply_to_shapes(v.user(), box, v.callback());
    }
    bool for_each_shape(const Matrix4& m, WDB_Visit v) const {
        return apply_to_shapes(v.user(), m, v.callback());
    }
    bool for_each_shape(const Point& p, const Point& q, WDB_Visit v) const {
        return apply_to_shapes(v.user(), p, q, v.callback());
    }
    bool for_each_shape(WDB_Camera* camera, float aspect, WDB_Visit v) const {
        return apply_to_shapes(v.user(), camera, aspect, v.callback());
    }
    bool for_each_shape_unordered(const Bbox& box, WDB_Visit v) const {
        return apply_to_shapes_unordered(v.user(), box, v.callback());
    }
    bool for_each_shape_unordered(const Matrix4& m, WDB_Visit v) const {
        return apply_to_shapes_unordered(v.user(), m, v.callback());
    }
    bool for_each_shape_unordered(const Point& p, const Point& q, WDB_Visit v) const {
        return apply_to_shapes_unordered(v.user(), p, q, v.callback());
    }
    bool for_each_shape_unordered(WDB_Camera* camera, float aspect, WDB_Visit v) const {
        return apply_to_shapes_unordered(v.user(), camera, aspect, v.callback());
    }

    // What the walks of these names meet, in their order, as lists of the caller's own, which stay
    // as they are when the world changes; they keep the objects alive.
    //     for (WDB_Camera* camera : world.cameras()) camera->set_transform(frame);
    template<class T>
    using List = std::vector<T*, std_allocator<T*>>;
    List<WDB_Node> nodes() const;
    List<WDB_Light> lights() const;
    List<WDB_Camera> cameras() const;
    List<WDB_Node> shapes() const;

    // The shapes outside the bounds, in the order in which they were put.
    bool apply_to_shapes_outside(SUniv* user, WDB_Apply_Callback callback) const;

    // The node, or only a shape, camera or light, of that name; null for none, and for a null name.
    // Of several the first of the walk, so addresses may decide it. Shapes outside the bounds are
    // not found. Cost: one walk.
    WDB_Node* find_node(const char* name) const;
    WDB_Node* find_shape(const char* name) const;
    WDB_Camera* find_camera(const char* name) const;
    WDB_Light* find_light(const char* name) const;

    // The same for what the nodes show; of the geometries all levels of detail are looked at. What
    // no node of the world shows is not found.
    const WDB_Material* find_material(const char* name) const;
    const WDB_Texture* find_texture(const char* name) const;
    WDB_Geometry* find_geometry(const char* name) const;

    int visible_shape_count(const Matrix4& m) const;

    // The camera named "default_camera". Where there is none, one is made and put: with the view of
    // the first camera that the world has, or else looking at the whole world. The second form
    // takes `projection` and `frame` (the camera's transform) instead of looking at the whole
    // world, if that view shows at least one shape and more than a tenth of the picture; a singular
    // frame shows nothing.
    // Outside editing each call adds one to the world's stamp.
    WDB_Camera* default_camera();
    WDB_Camera* default_camera(const Matrix4& projection, const HFrame& frame);

    // Does now what the first queries would do on the way: files what was put, and makes the
    // default camera. They change nothing then, but for the stamp, which a pick counts up as
    // default_camera does.
    void prepare_queries();

    // The shape that the segment p..q meets first; of several at one fraction the first of the
    // walk. Null for none. Tolerances and depths: see WDB_Node::line_intersection. May add a
    // default camera to the world.
    WDB_Node* closest_object_on_line(const Point& p, const Point& q, float near_tolerance,
                                     float near_depth, float far_tolerance, float far_depth) const;

    void print_contents(std::ostream& os) const override;

    // As if begin_editing and end_editing had been called so often. For picks.
    void count_edits(int edits) {
        if (!editing_) touch_shared(edits);
    }

    // Files `node` and makes this its world. A node held already is filed anew. A shape makes the
    // render projections of all cameras follow. Null is ignored, here and below.
    virtual void put(WDB_Node* node);

    // Files `node` by its present geometry and transform, and makes the render projections of all
    // cameras follow. Nodes call it after each change, and then tell the listeners themselves.
    // A node that is not held is filed as well, and told as put, but its world is not set.
    virtual void update(WDB_Node* node);

    // As nodes[i]->set_transform(transforms[i]) for all i in turn, with the same state and stamps
    // afterwards, but cheaper where nodes are many and scattered. Nodes may be those of other
    // worlds or of none; null is passed over. Requires: no node of `nodes` is deleted meanwhile.
    void set_transforms(WDB_Node* const* nodes, const HFrame* transforms, int count);

    // Lets go of `node`; nothing happens if it is not held.
    virtual void remove(WDB_Node* node);

    // Lets go of all nodes without telling them: get_world of each still names this world, and a
    // later change of a node files it here again. Detach those that are to be used on.
    virtual void wipe_out();

    // For nodes, after a change that needs no filing, or has been filed: counts it, and tells the
    // listeners if the node is held.
    using Told = void (WDB_Listener::*)(WDB_Database& world, WDB_Node& node);
    void note_change(WDB_Node* node, Told told) {
        ++changes_;
        if (listening_) [[unlikely]]
            tell_if_held(node, told);
    }

private:
    struct Listening;
    class Telling;

    bool is_heard() const;
    void tell(WDB_Node* node, Told told);
    void tell_if_held(WDB_Node* node, Told told);
    void check_walks(WDB_Node* node) const;
    bool find_default_camera();
    template<class Aim>
    WDB_Camera* default_camera_with(Aim aim);
    template<class Aim>
    WDB_Camera* add_default_camera(Aim aim);
    void forget_default_camera(const WDB_Node* node);
    void show_all(WDB_Camera* camera);
    void copy_first_camera(WDB_Camera* camera) const;
    bool shows_enough(const Matrix4& projection, const HFrame& frame) const;
    void file_shape(WDB_Node* node);
    void list_by_class(WDB_Node* node);
    void list_camera(WDB_Camera* camera);
    void drop_camera(WDB_Camera* camera);
    void invalidate_render_projections();

    bool editing_;
    bool is_following_ = false;
    Split_Box_Tree<WDB_Node*> shapes_;
    Hash_Set<WDB_Node*> nodes_;
    Hash_Set<WDB_Node*> lights_;
    Hash_Set<WDB_Node*> cameras_;
    Extent_Signal* signal_; // to the listed cameras
    std::uint64_t changes_ = 0;
    Listening* listening_ = nullptr; // while there are listeners

    // What the last search found, as long as the signal's knows_names is set.
    WDB_Camera* default_camera_ = nullptr;
    bool is_only_default_camera_ = false; // no other has the name, so the order does not matter
    std::recursive_mutex searching_;      // for it; what puts it into the world may ask as well
};

#endif
