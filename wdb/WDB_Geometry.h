// Abstract shape of a node: a box that is recomputed when editing ends, and a ray query behind it.
//
//     list->begin_editing();
//     list->put(triangle, 0);              // stamp moves on, the box is now stale
//     list->end_editing();                 // the box is computed once, here
//     if (list->line_intersection(eye, target, 0) <= 1) pick(list);
//
// All coordinates are in the geometry's own space. A node reads the box only when it is told of a
// change: finish a geometry before it is attached, or call WDB_Node::update_after_geometry_change.
// A new geometry counts as up to date although its box is the empty one.
#ifndef WDB_WDB_GEOMETRY_H
#define WDB_WDB_GEOMETRY_H

#include <atomic>

#include "math/Bbox.h"
#include "wdb/WDB_Obj.h"

class WDB_Geometry : public WDB_Obj {
    STD_OBJ_CLASS(WDB_Geometry, WDB_Obj)

    WDB_Geometry();

    void begin_editing() { editing_ = true; }

    // Recomputes a stale box. The bracket blocks nothing: without begin_editing it does the same.
    void end_editing();
    bool is_editing() const { return editing_; }
    bool is_bbox_up_to_date() const { return bbox_stamp_ == get_stamp(); }

    // A warning that names the geometry, if end_editing was forgotten: it is being edited, or has
    // no box yet. Once, until the next end_editing. Worlds call it for what they are given.
    void tell_if_unfinished() const;

    virtual bool get_with_colors() const = 0;
    virtual bool get_with_normals() const = 0;
    virtual bool get_with_textures() const = 0;

    // The box as of the last recomputation; never computes.
    virtual const Bbox& get_bbox() const;

    // Fraction of the segment p..q where it first meets the geometry: 0 at p, 1 at q.
    // Segments that miss the box, which `tolerance` does not widen, are not looked at further.
    // On failure: FLT_MAX.
    virtual float line_intersection(const Point& p, const Point& q, float tolerance) const;

    // The same without the test of the box.
    virtual float detailed_line_intersection(const Point& p, const Point& q,
                                             float tolerance) const = 0;

    virtual void update_bbox() = 0;

protected:
    // For update_bbox: the new box, valid for the present stamp.
    void set_bbox(const Bbox& box);

    // One change that leaves the box as fresh, or as stale, as it is.
    void touch_beside_bbox();

private:
    Bbox bbox_;
    int bbox_stamp_;
    bool editing_;
    bool was_finished_ = false;                 // once, or its box was set
    mutable std::atomic<bool> is_told_ = false; // that it is unfinished; several worlds may ask
};

#endif
