// The questions that walks over boxes ask.
//
// classify(cell) answers 0 (nothing of the cell takes part), 1 (all of it does) or
// anything else (its contents need a test); accepts(box) tests one entry.
#ifndef MATH_BOX_QUERIES_H
#define MATH_BOX_QUERIES_H

#include "math/Bbox.h"
#include "math/Matrix4.h"

// Leaves with fewer entries than this are not tested as a whole: testing the entries is as cheap.
inline constexpr int small_leaf = 4;

struct Everything {
    static int classify(const Bbox&) { return 1; }
    static bool accepts(const Bbox&) { return true; }
};

struct In_Box {
    const Bbox& query;
    int classify(const Bbox& cell) const { return cell.classification_with_respect_to(query); }
    bool accepts(const Bbox& box) const { return box.is_overlapping(query); }
};

struct In_View {
    const Matrix4& m;
    int classify(const Bbox& cell) const { return cell.classification_with_respect_to(m); }
    bool accepts(const Bbox& box) const { return box.is_visible(m); }
};

struct In_Either_View {
    const Matrix4 &m1, &m2;
    int classify(const Bbox& cell) const {
        const int c = cell.classification_with_respect_to(m1);
        return c != 0 ? c : cell.classification_with_respect_to(m2);
    }
    bool accepts(const Bbox& box) const { return box.is_visible(m1) || box.is_visible(m2); }
};

// There is no telling that all of a cell is hit.
struct On_Segment {
    const Point &p, &q;
    int classify(const Bbox& cell) const { return accepts(cell) ? 3 : 0; }
    bool accepts(const Bbox& box) const {
        return box.contains(p) || static_cast<double>(box.line_intersection(p, q)) <= 1.0;
    }
};

#endif
