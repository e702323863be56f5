// The box of what cells hold, where boxes with a NaN or with min above max are among it.
//
//     Cell_Contents contents(cells, boxes);  // the boxes that reach the cells, as they came
//     Bbox all = contents.get_bbox();
//
// Each leaf merges the boxes that reach it in the order of their arrival and cuts the result to its
// cell; then the leaves are merged. With a NaN that is no union any more: merging forgets what came
// before the NaN, and cutting puts the side of the cell in its place. So each of the six sides is
// worked out leaf by leaf.
#ifndef MATH_CELL_CONTENTS_H
#define MATH_CELL_CONTENTS_H

#include "base/Gap_List.h"
#include "math/Bbox.h"
#include "math/Box_Cells.h"

class Cell_Contents {
public:
    Cell_Contents(const Box_Cells& cells, const Gap_List<const Bbox*>& boxes)
        : cells_(cells), boxes_(boxes) {}

    // Cost: six walks over the cells that are partly covered by the boxes; a box that covers a cell
    // with a NaN on the side in question makes those that came before it forgotten at once.
    Bbox get_bbox();

private:
    struct Side {
        bool is_max;
        int axis;
        float coordinate(const Bbox& box) const { return box[is_max ? 1 : 0][axis]; }
        // As Bbox::merge and Bbox::intersect.
        float merged(float a, float b) const { return is_max ? (b < a ? a : b) : (a < b ? a : b); }
        float limited(float a, float cell) const {
            return is_max ? (a < cell ? a : cell) : (cell < a ? a : cell);
        }
        float empty() const;
    };

    float coordinate(const Side& side, const Box_Cells::Cell& cell, int first);
    bool all_cover(const Side& side, const Bbox& cell, int first) const;

    const Box_Cells& cells_;
    // Of the cell at hand from `first` to the end; before it, of the cells above.
    Gap_List<const Bbox*> boxes_;
};

#endif
