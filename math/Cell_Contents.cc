#include "math/Cell_Contents.h"

#include <cmath>

float Cell_Contents::Side::empty() const {
    Bbox box;
    box.clear();
    return coordinate(box);
}

// Whether all leaves below the cell hold the same boxes.
bool Cell_Contents::all_cover(const Side& side, const Bbox& cell, int first) const {
    // What is flat, or becomes so further down, may be flat between two zeros, and divide into
    // either.
    const float least_edge = 1e-30f;
    if (!(cell.max[side.axis] - cell.min[side.axis] > least_edge)) return false;
    for (int i = first; i < boxes_.count(); ++i)
        if (!Box_Cells::covers(*boxes_[i], cell)) return false;
    return true;
}

float Cell_Contents::coordinate(const Side& side, const Box_Cells::Cell& cell, int first) {
    if (first == boxes_.count()) return side.empty();
    for (int i = boxes_.count() - 1; i > first; --i) {
        if (!std::isnan(side.coordinate(*boxes_[i])) || !Box_Cells::covers(*boxes_[i], cell.box))
            continue;
        first = i;
        break;
    }
    float result = side.empty();
    if (cells_.is_leaf(cell) || all_cover(side, cell.box, first)) {
        for (int i = first; i < boxes_.count(); ++i)
            result = side.merged(result, side.coordinate(*boxes_[i]));
        return side.limited(result, side.coordinate(cell.box));
    }
    const Cell_Division division = cells_.division(cell);
    const int last = boxes_.count();
    for (int child = 0; child < division.count(); ++child) {
        for (int i = first; i < last; ++i)
            if (division.reaches(*boxes_[i], child)) boxes_.insert_last(boxes_[i]);
        result = side.merged(result, coordinate(side, cells_.child(cell, division, child), last));
        while (boxes_.count() > last) boxes_.remove(boxes_.count() - 1);
    }
    return result;
}

Bbox Cell_Contents::get_bbox() {
    Bbox box;
    for (int axis = 0; axis < 3; ++axis) {
        box.min[axis] = coordinate({false, axis}, cells_.root(), 0);
        box.max[axis] = coordinate({true, axis}, cells_.root(), 0);
    }
    return box;
}
