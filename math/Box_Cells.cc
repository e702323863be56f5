#include "math/Box_Cells.h"

#include <algorithm>
#include <cstdlib>

#include "std/Std_Assert.h"

static float middle_of(float low, float high) {
    return static_cast<float>(static_cast<double>(low + high) / 2.0);
}

// The longest axis; ties go to z, but of x and y alone to y.
static int axis_to_halve(const Vector& size) {
    if (size.y < size.x) return size.z < size.x ? 0 : 2;
    return size.x <= size.y && size.z < size.y ? 1 : 2;
}

Cell_Division::Cell_Division(const Bbox& cell, int count)
    : middle_(middle_of(cell.min.x, cell.max.x), middle_of(cell.min.y, cell.max.y),
              middle_of(cell.min.z, cell.max.z)),
      axis_(count == 2 ? axis_to_halve(cell.size()) : all_axes_) {
    if (count != 2 && count != 8) std::abort();
}

Box_Cells::Box_Cells(int split_count, int max_level, int limit, const Bbox& bounds)
    : split_count_(split_count), max_level_(max_level), limit_(limit),
      bits_(split_count == 8 ? 3 : 1), bounds_(bounds), is_keyed_(true) {
    wipe_out();
}

void Box_Cells::wipe_out() {
    nodes_.wipe_out();
    nodes_.push({max_level_ > 0 ? 0 : Node::full, {0}});
    parents_.wipe_out();
    is_keyed_ = true;
}

void Box_Cells::note_level(int level) {
    if (level > key_bits_ / bits_) is_keyed_ = false;
}

// Of an ordered box that reaches a cell, the low corner alone decides which child it reaches first:
// on each axis the lower half, unless it begins above the middle.
Box_Cells::Key Box_Cells::first_leaf(const Point& low, const Cell& from) const {
    if (split_count_ == 2) return first_leaf_of_halves(low, from);
    const Bbox corner(low, from.box.max);
    Cell cell = from;
    while (!is_leaf(cell)) {
        const Cell_Division halves = division(cell);
        int i = 0;
        while (!halves.reaches(corner, i)) ++i;
        cell = child(cell, halves, i);
    }
    return cell.key;
}

// The same, with the one middle that matters for each cell.
Box_Cells::Key Box_Cells::first_leaf_of_halves(const Point& low, const Cell& from) const {
    Bbox box = from.box;
    Key key = from.key;
    std::uint32_t node = from.node;
    for (int level = from.level; level < max_level_;) {
        const bool is_stored = node != unstored_;
        if (is_stored && nodes_[node].is_counting_leaf()) break;
        const std::uint32_t first = is_stored ? nodes_[node].children() : 0;
        const int axis = first != 0 ? nodes_[node].axis() : axis_to_halve(box.size());
        const float middle =
            first != 0 ? nodes_[node].middle : middle_of(box.min[axis], box.max[axis]);
        const bool is_upper = middle < low[axis];
        box[is_upper ? 0 : 1][axis] = middle;
        const int shift = key_bits_ - ++level;
        if (is_upper && shift >= 0) key += Key{1} << shift;
        node = first != 0 ? first + is_upper : unstored_;
    }
    return key;
}

// Nothing below the node need count any more; perhaps nothing below those above it either.
void Box_Cells::fill(std::uint32_t node) {
    const auto siblings = static_cast<std::uint32_t>(split_count_);
    const auto is_full = [](const Node& sibling) { return sibling.is_full(); };
    nodes_[node].link |= Node::full;
    while (node != 0) {
        const std::uint32_t group = node / siblings;
        if (!std::all_of(&nodes_[group * siblings], &nodes_[group * siblings] + siblings, is_full))
            return;
        node = parents_[group];
        nodes_[node].link |= Node::full;
    }
}

void Box_Cells::remove(Cell cell, const Bbox& box) {
    while (!nodes_[cell.node].is_full()) {
        if (nodes_[cell.node].is_counting_leaf()) {
            --nodes_[cell.node].count;
            return;
        }
        const Cell_Division halves = division(cell);
        const int last =
            last_reached(halves, box, [&](int i) { remove(child(cell, halves, i), box); });
        if (last < 0) return;
        cell = child(cell, halves, last);
    }
}

bool Box_Cells::covers(const Bbox& box, const Bbox& cell) {
    for (int axis = 0; axis < 3; ++axis) {
        if (cell.min[axis] < -sound_limit || sound_limit < cell.max[axis] ||
            cell.min[axis] < box.min[axis] || box.max[axis] < cell.max[axis])
            return false;
    }
    return true;
}

// The first group of nodes is the root alone.
void Box_Cells::new_children(std::uint32_t parent, const Cell_Division& division) {
    const auto siblings = static_cast<std::size_t>(split_count_);
    const std::size_t first = std::max(nodes_.count(), siblings);
    if (first + siblings > Node::most)
        std_assert(-1, "BSplit_Box_Tree: more cells than can be counted", __FILE__, __LINE__);
    nodes_.resize(first + siblings);
    parents_.resize(first / siblings + 1);
    parents_[first / siblings] = parent;
    nodes_[parent].link = static_cast<std::uint32_t>(first);
    if (split_count_ != 2) return;
    nodes_[parent].link |= static_cast<std::uint32_t>(division.axis()) << Node::axis_shift;
    nodes_[parent].middle = division.middle();
}
