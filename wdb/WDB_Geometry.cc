#include "wdb/WDB_Geometry.h"

#include <cfloat>

#include "std/Std_Assert.h"
#include "std/Std_Common.h"

WDB_Geometry::WDB_Geometry() : bbox_stamp_(0), editing_(false) {
    bbox_.clear();
}

void WDB_Geometry::end_editing() {
    // Once for all changes: each of them alone would cost a pass over the whole list.
    if (!is_bbox_up_to_date()) {
        update_bbox();
        bbox_stamp_ = get_stamp();
    }
    editing_ = false;
    was_finished_ = true;
    is_told_.store(false, std::memory_order_relaxed);
}

void WDB_Geometry::tell_if_unfinished() const {
    // A name given later makes the stamp pass that of the box, too.
    if (is_bbox_up_to_date() || (!editing_ && was_finished_)) return;
    if (is_told_.exchange(true, std::memory_order_relaxed)) return;
    const int warning = 2;
    std_assert(warning,
               str_format("%.200s is put into a world without end_editing: its box is not that of "
                          "its corners, so that it may not be found",
                          get_printable_name()),
               __FILE__, __LINE__);
}

const Bbox& WDB_Geometry::get_bbox() const {
    return bbox_;
}

float WDB_Geometry::line_intersection(const Point& p, const Point& q, float tolerance) const {
    // FLT_MAX included, where the box is missed.
    if (get_bbox().bounds_line_intersection(p, q) > 1) return FLT_MAX;
    return detailed_line_intersection(p, q, tolerance);
}

void WDB_Geometry::set_bbox(const Bbox& box) {
    bbox_ = box;
    bbox_stamp_ = get_stamp();
    was_finished_ = true;
}

void WDB_Geometry::touch_beside_bbox() {
    const bool fresh = is_bbox_up_to_date();
    touch();
    // A stale box stays stale: its stamp is behind as before.
    if (fresh) bbox_stamp_ = get_stamp();
}
