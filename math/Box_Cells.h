// Cells that divide space, and how many boxes reach each: what remains of a tree of cells when the
// boxes themselves stand elsewhere.
//
// A cell divides in the middle of its space, whatever it holds: into 8, or into 2 across its
// longest axis. It does so once more than `limit` boxes have reached it at the same time, and stays
// divided. The facts that this rests on:
//
// 1. A box that reaches a cell (Bbox::is_overlapping) reaches its lower half unless it begins above
//    the middle, and the upper half unless it ends below it: one comparison an axis answers exactly
//    what the test of all six would.
// 2. A cell below which everything is divided down to the last level is "full", and nothing below
//    need count any more. So the thousandth box that fills the world costs nothing: it stops at the
//    root. Cells of the last level are full from the start. Children that were never stored are
//    computed when somebody asks.
// 3. Depth first, cells come in the order of their keys. A key is the path from the root, a bit for
//    each division by 2, three for each by 8, aligned to the left; so child 0 has the key of its
//    parent, and a leaf keeps its key when it divides. Keys have 32 bits: is_keyed tells whether
//    all cells are high enough for that.
#ifndef MATH_BOX_CELLS_H
#define MATH_BOX_CELLS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/Plain_Array.h"
#include "math/Bbox.h"

// How a cell divides.
class Cell_Division {
public:
    Cell_Division() = default;
    // Into 2 or 8: other counts abort.
    Cell_Division(const Bbox& cell, int count);
    // Into 2.
    Cell_Division(int axis, float middle) : middle_(middle, middle, middle), axis_(axis) {}

    // Requires: a division into 2.
    int axis() const { return axis_; }
    float middle() const { return middle_[axis_]; }

    int count() const { return axis_ == all_axes_ ? 8 : 2; }
    // Of 8, bits 0, 1, 2 of `child` choose the upper half on x, y, z; of 2, bit 0 on the axis.
    Bbox child(const Bbox& cell, int child) const;
    // Requires: `box` reaches the cell.
    bool reaches(const Bbox& box, int child) const {
        if (axis_ != all_axes_) return reaches_half(box, axis_, child);
        return reaches_half(box, 0, child & 1) && reaches_half(box, 1, child >> 1 & 1) &&
               reaches_half(box, 2, child >> 2);
    }

private:
    static constexpr int all_axes_ = 3;

    bool reaches_half(const Bbox& box, int axis, int half) const {
        return half ? !(box.max[axis] < middle_[axis]) : !(middle_[axis] < box.min[axis]);
    }

    Point middle_;
    int axis_; // of a division into 2
};

class Box_Cells {
public:
    using Key = std::uint32_t;

    // A cell on the way down.
    struct Cell {
        Bbox box;
        int level;
        Key key;
        std::uint32_t node; // where it is stored, or unstored_
    };

    // Up to here the middle of a cell lies between its sides: the sum of the two is finite.
    static constexpr float sound_limit = 1e30f;

    // On a way down where all cells have keys: divisions, and siblings of all cells together.
    static constexpr int most_keyed_levels = 32;
    static constexpr int most_keyed_siblings = 70;

    // A split count other than 2 and 8 aborts at the first division.
    Box_Cells(int split_count, int max_level, int limit, const Bbox& bounds);

    const Bbox& get_bbox() const { return bounds_; }
    int get_split_count() const { return split_count_; }
    int get_max_level() const { return max_level_; }
    int get_limit() const { return limit_; }
    bool is_keyed() const { return is_keyed_; }

    // Back to one cell that nothing reaches, of the same bounds or of others.
    void wipe_out();
    void wipe_out(const Bbox& bounds) {
        bounds_ = bounds;
        wipe_out();
    }

    Cell root() const { return {bounds_, 0, 0, 0}; }
    bool is_leaf(const Cell& cell) const {
        return cell.level >= max_level_ ||
               (is_stored(cell) && nodes_[cell.node].is_counting_leaf());
    }
    // How many boxes reach this leaf, or -1 for cells of the last level, which do not count.
    int population(const Cell& leaf) const {
        return is_stored(leaf) && nodes_[leaf.node].is_counting_leaf() ? nodes_[leaf.node].count
                                                                       : -1;
    }

    // Requires: no leaf.
    Cell_Division division(const Cell& cell) const {
        if (split_count_ == 2 && is_stored(cell) && nodes_[cell.node].children() != 0)
            return Cell_Division(nodes_[cell.node].axis(), nodes_[cell.node].middle);
        return Cell_Division(cell.box, split_count_);
    }
    Cell child(const Cell& cell, const Cell_Division& division, int i) const {
        const int level = cell.level + 1;
        const int shift = key_bits_ - level * bits_;
        const Key step = shift >= 0 ? static_cast<Key>(i) << shift : 0;
        const std::uint32_t first = is_stored(cell) ? nodes_[cell.node].children() : 0;
        return {division.child(cell.box, i), level, cell.key + step,
                first != 0 ? first + static_cast<std::uint32_t>(i) : unstored_};
    }

    // Key of the first leaf, depth first, that an ordered box with this low corner reaches.
    // Requires: the box reaches `from`; is_keyed().
    Key first_leaf(const Point& low, const Cell& from) const;

    // Counts a box that comes. Leaves that hold more than the limit then are handed to
    // divide_me(cell), which must call divide. Answers the first leaf that the box reaches, if the
    // box is ordered and is_keyed(). Requires: the box reaches the bounds.
    template<class Divide_Me>
    Key add(const Bbox& box, Divide_Me divide_me) {
        Key first = none_;
        add(root(), box, first, divide_me);
        return first;
    }
    // Counts a box that goes.
    void remove(const Bbox& box) { remove(root(), box); }
    // As remove(from) and add(to, divide_me), for ordered boxes that both reach the bounds. Where
    // they reach the same cells nothing is counted.
    template<class Divide_Me>
    Key move(const Bbox& from, const Bbox& to, Divide_Me divide_me);

    // Whether `box` reaches all that `cell` may be divided into. A NaN reaches everywhere.
    static bool covers(const Bbox& box, const Bbox& cell);

    // Divides a leaf until no cell holds more than the limit. The items first..last are those that
    // reach it, and are put into another order; box_of(item) is an item's box.
    template<class Item, class Box_Of>
    void divide(const Cell& leaf, Item* first, Item* last, Box_Of box_of) {
        std::size_t effort = SIZE_MAX;
        const auto nowhere = [](const Cell&, const Item*, const Item*) {};
        divide(leaf, first, last, box_of, nowhere, effort);
    }

    // Counts boxes that come together, as add would count them one by one. Calls at(cell, first,
    // last) for the items that reach each leaf or full cell, depth first. Where many of them reach
    // the same cells add is faster, which looks at no box once a cell is full: then this gives up,
    // answers false and leaves one cell that nothing reaches.
    // Requires: a split count of 2 or 8; nothing has reached the cells yet, all boxes reach the
    // bounds.
    template<class Item, class Box_Of, class At>
    bool add_all(Item* first, Item* last, Box_Of box_of, At at);

    // Whether nothing has reached the cells, or all has gone before they divided.
    bool is_untouched() const {
        return nodes_.count() == 1 && (nodes_[0].is_full() || nodes_[0].count == 0);
    }

private:
    static constexpr std::uint32_t unstored_ = UINT32_MAX; // a cell below a full one
    static constexpr int key_bits_ = 32;
    static constexpr Key none_ = UINT32_MAX; // of no leaf: only a path of 32 ones is like it

    // Eight bytes, since a way down reads one after the other from all over the memory. `link` is 0
    // for a leaf that counts, and else
    //
    //     31 full   30, 29 axis of a division into 2   28 ... 0 the first child, or 0
    struct Node {
        std::uint32_t link;
        union {
            int count;    // of the boxes that reach a leaf
            float middle; // of a division into 2
        };

        static constexpr std::uint32_t full = 1u << 31;
        static constexpr int axis_shift = 29;
        static constexpr std::uint32_t most = std::uint32_t{1} << axis_shift; // of them

        bool is_counting_leaf() const { return link == 0; }
        bool is_full() const { return (link & full) != 0; }
        int axis() const { return static_cast<int>(link >> axis_shift & 3); }
        std::uint32_t children() const { return link & (most - 1); }
    };

    Key first_leaf_of_halves(const Point& low, const Cell& from) const;
    bool is_stored(const Cell& cell) const { return cell.node != unstored_; }
    void note_level(int level);
    void new_children(std::uint32_t parent, const Cell_Division& division);
    void fill(std::uint32_t node);
    void remove(Cell cell, const Bbox& box);
    // As std::partition, without a branch for an item: half of them would be guessed wrong.
    template<class Item, class Takes>
    static Item* move_to_front(Item* first, Item* last, Takes takes) {
        Item* end = first;
        for (Item* i = first; i != last; ++i) {
            const Item item = *i;
            *i = *end;
            *end = item;
            end += takes(item);
        }
        return end;
    }
    template<class Item, class Box_Of, class At>
    void divide(const Cell& leaf, Item* first, Item* last, Box_Of box_of, At at,
                std::size_t& effort);
    bool is_divided(const Cell& cell) const {
        return !nodes_[cell.node].is_counting_leaf() && !nodes_[cell.node].is_full();
    }

    // The one child that the box reaches, or, where it reaches several, recurse(i) for all but the
    // last of them and then the last.
    template<class Recurse>
    static int last_reached(const Cell_Division& division, const Bbox& box, Recurse recurse) {
        int last = -1;
        for (int i = 0; i < division.count(); ++i) {
            if (!division.reaches(box, i)) continue;
            if (last >= 0) recurse(last);
            last = i;
        }
        return last;
    }

    template<class Divide_Me>
    void add(Cell cell, const Bbox& box, Key& first, Divide_Me& divide_me) {
        while (is_divided(cell)) {
            const Cell_Division halves = division(cell);
            const int last = last_reached(
                halves, box, [&](int i) { add(child(cell, halves, i), box, first, divide_me); });
            if (last < 0) return;
            cell = child(cell, halves, last);
        }
        Node& leaf = nodes_[cell.node];
        if (!leaf.is_full() && ++leaf.count > limit_) divide_me(cell);
        if (first == none_ && is_keyed_) first = first_leaf(box.min, cell);
    }

    int split_count_, max_level_, limit_;
    int bits_; // of the key, for one division
    Bbox bounds_;
    bool is_keyed_;
    Plain_Array<Node> nodes_;            // children of one parent side by side
    Plain_Array<std::uint32_t> parents_; // of nodes_[i * split count ...]
};

template<class Divide_Me>
Box_Cells::Key Box_Cells::move(const Bbox& from, const Bbox& to, Divide_Me divide_me) {
    const auto only_reached = [](const Cell_Division& division, const Bbox& box) {
        int several = 0;
        const int last = last_reached(division, box, [&](int) { ++several; });
        return several == 0 ? last : -1;
    };
    Cell cell = root();
    while (is_divided(cell)) {
        const Cell_Division halves = division(cell);
        const int old = only_reached(halves, from);
        if (old < 0 || only_reached(halves, to) != old) {
            Key first = none_;
            remove(cell, from);
            add(cell, to, first, divide_me);
            return first;
        }
        cell = child(cell, halves, old);
    }
    return is_keyed_ ? first_leaf(to.min, cell) : none_;
}

template<class Item, class Box_Of, class At>
bool Box_Cells::add_all(Item* first, Item* last, Box_Of box_of, At at) {
    if (nodes_[0].is_full()) {
        at(root(), first, last);
        return true;
    }
    // Small boxes are looked at some twenty times each, a division after the other.
    const std::size_t most_looks = 32;
    std::size_t effort = most_looks * static_cast<std::size_t>(last - first);
    divide(root(), first, last, box_of, at, effort);
    if (effort > 0 || first == last) return true;
    wipe_out();
    return false;
}

// Spends one of `effort` for each item of a cell, and leaves things half done when none is left.
template<class Item, class Box_Of, class At>
void Box_Cells::divide(const Cell& leaf, Item* first, Item* last, Box_Of box_of, At at,
                       std::size_t& effort) {
    effort -= std::min(effort, static_cast<std::size_t>(last - first));
    if (effort == 0) return;
    nodes_[leaf.node].count = static_cast<int>(last - first);
    if (last - first <= limit_ || last == first) return at(leaf, first, last);
    const Cell_Division halves(leaf.box, split_count_);
    note_level(leaf.level + 1);
    const auto covering = std::count_if(
        first, last, [&](const Item& item) { return covers(box_of(item), leaf.box); });
    if (covering > limit_ && covering > 0) {
        note_level(max_level_);
        fill(leaf.node);
        return at(leaf, first, last);
    }
    new_children(leaf.node, halves);
    for (int i = 0; i < split_count_; ++i) {
        const Cell part = child(leaf, halves, i);
        const auto reaches = [&](const Item& item) { return halves.reaches(box_of(item), i); };
        Item* const end = move_to_front(first, last, reaches);
        if (part.level < max_level_) {
            divide(part, first, end, box_of, at, effort);
        } else {
            fill(part.node);
            at(part, first, end);
        }
    }
}

inline Bbox Cell_Division::child(const Bbox& cell, int child) const {
    Bbox half = cell;
    if (axis_ != all_axes_) {
        half[1 - child][axis_] = middle_[axis_];
        return half;
    }
    for (int axis = 0; axis < 3; ++axis) half[child >> axis & 1 ? 0 : 1][axis] = middle_[axis];
    return half;
}

#endif
