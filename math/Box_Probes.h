// What a Box_Index is asked: tests of sixteen boxes at a time.
//
//     index.visit(Box_Probe(query), take);
//
// Box_Probe is exact. The others let pass whatever the tests of Bbox let pass, for the box itself
// and for every box that holds it, and a little more: they are there to leave out the rest.
// meets(lanes) answers a bit for each lane, holds(lanes) one for those that lie wholly inside.
#ifndef MATH_BOX_PROBES_H
#define MATH_BOX_PROBES_H

#include "math/Bbox.h"
#include "math/Box_Index.h"
#include "math/Matrix4.h"

// As Bbox::is_overlapping. Requires: an ordered query without NaN.
struct Box_Probe {
    explicit Box_Probe(const Bbox& q) : query(q) {}
    unsigned int meets(const Box_Lanes& lanes) const;
    unsigned int holds(const Box_Lanes& lanes) const;

    Bbox query;
};

// Boxes that hold p or are met by the segment from p to q.
class Segment_Probe {
public:
    Segment_Probe(const Point& p, const Point& q);

    // False where the arithmetic of the segment overflows: then the probe is of no use.
    bool is_usable() const { return is_usable_; }
    unsigned int meets(const Box_Lanes& lanes) const;
    static unsigned int holds(const Box_Lanes&) { return 0; }

private:
    Point start_;
    float length_;
    float inverse_[3]; // of the direction
    enum Kind { SLAB, FIXED, FREE } kind_[3];
    bool is_usable_;
};

// Boxes that are visible through `m`, or touch a cell inside `world` that is inside the volume.
class View_Probe {
public:
    // `reach` holds all boxes that the probe is to meet, and the cells.
    View_Probe(const Matrix4& m, const Bbox& reach);
    unsigned int meets(const Box_Lanes& lanes) const;
    unsigned int holds(const Box_Lanes& lanes) const;

private:
    static constexpr int planes_ = 6;

    // Inside is where x * plane[0] + y * plane[1] + z * plane[2] + plane[3] is not below 0.
    float plane_[planes_][4];
    float slack_[planes_];
};

#endif
