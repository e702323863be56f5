#include "math/Box_Index.h"

#include <algorithm>
#include <cfloat>
#include <limits>

#include "math/Quad.h"

// No node.
static const std::uint32_t none = UINT32_MAX;

static float longest_edge(const Bbox& box) {
    const Vector size = box.size();
    return std::max({size.x, size.y, size.z});
}

Box_Index::Box_Index(const Bbox& world, bool clips) : clips_(clips) {
    wipe_out(world);
}

void Box_Index::wipe_out(const Bbox& world) {
    world_ = world;
    scale_ = longest_edge(world) > 0 ? 1 / longest_edge(world) : 1;
    wipe_out();
}

void Box_Index::wipe_out() {
    nodes_.wipe_out();
    root_ = first_free_ = none;
    count_ = 0;
}

Bbox Box_Index::get_bbox() const {
    return bounds_of(nodes_[root_]);
}

// In lanes without a box, so that no comparison chooses them.
static constexpr float no_number = std::numeric_limits<float>::quiet_NaN();
static constexpr Bbox no_box(Point(no_number, no_number, no_number),
                             Point(no_number, no_number, no_number));

static void clear(Box_Lanes& lanes) {
    for (int lane = 0; lane < Box_Lanes::width; ++lane) lanes.set(lane, no_box);
}

std::uint32_t Box_Index::new_node(int height) {
    std::uint32_t node = first_free_;
    if (node != none) {
        first_free_ = nodes_[node].parent;
    } else {
        node = static_cast<std::uint32_t>(nodes_.count());
        nodes_.resize(nodes_.count() + 1);
    }
    clear(nodes_[node].lanes);
    nodes_[node].parent = none;
    nodes_[node].count = 0;
    nodes_[node].height = static_cast<std::uint16_t>(height);
    return node;
}

void Box_Index::free_node(std::uint32_t node) {
    nodes_[node].count = 0;
    nodes_[node].parent = first_free_;
    first_free_ = node;
}

int Box_Index::lane_of(const Node& node, std::uint32_t id) const {
    int lane = 0;
    while (node.ids[lane] != id) ++lane;
    return lane;
}

Bbox Box_Index::bounds_of(const Node& node) const {
    const float infinity = std::numeric_limits<float>::infinity();
    Bbox box;
    for (int axis = 0; axis < 3; ++axis) {
        Quad min = infinity, max = -infinity;
        for (int i = 0; i < width_; i += Quad::width) {
            // In this order, since lanes without a box are NaN.
            min = lesser(Quad(node.lanes.min[axis] + i), min);
            max = greater(Quad(node.lanes.max[axis] + i), max);
        }
        float least[Quad::width], most[Quad::width];
        min.store(least);
        max.store(most);
        box.min[axis] = *std::min_element(least, least + Quad::width);
        box.max[axis] = *std::max_element(most, most + Quad::width);
    }
    return box;
}

// Half the surface inside the world, with the world's longest edge as the unit.
float Box_Index::cost_of(const Bbox& box) const {
    float edge[3];
    for (int axis = 0; axis < 3; ++axis) {
        const float low = std::max(box.min[axis], world_.min[axis]);
        const float high = std::min(box.max[axis], world_.max[axis]);
        edge[axis] = std::max(high - low, 0.0f) * scale_;
    }
    return edge[0] * edge[1] + edge[1] * edge[2] + edge[2] * edge[0];
}

static void clip(Box_Lanes& lanes, const Bbox& to) {
    for (int axis = 0; axis < 3; ++axis) {
        for (float& min : lanes.min[axis]) min = min < to.min[axis] ? to.min[axis] : min;
        for (float& max : lanes.max[axis]) max = max > to.max[axis] ? to.max[axis] : max;
    }
}

// The lane whose cost grows least; of those, the one of least cost. What a box adds to its node is
// what all later queries pay for it; where several hold it already, the smallest keeps the tree
// from listing small boxes beside large ones.
int Box_Index::cheapest_lane(const Node& node, const Bbox& box) const {
    const Box_Lanes* lanes = &node.lanes;
    Box_Lanes clipped;
    Bbox b = box;
    if (clips_) {
        clipped = node.lanes;
        clip(clipped, world_);
        lanes = &clipped;
        b.intersect(world_);
    }
    // Without a branch for a lane: first the least growth of all, then which lanes have it.
    float cost[width_], growth[width_], least_of[Quad::width];
    Quad least = FLT_MAX;
    for (int i = 0; i < width_; i += Quad::width) {
        Quad before[3] = {0.0f, 0.0f, 0.0f}, after[3] = {0.0f, 0.0f, 0.0f};
        for (int axis = 0; axis < 3; ++axis) {
            const Quad min(lanes->min[axis] + i), max(lanes->max[axis] + i);
            before[axis] = (max - min) * scale_;
            after[axis] = (greater(max, b.max[axis]) - lesser(min, b.min[axis])) * scale_;
        }
        const Quad c = before[0] * before[1] + before[1] * before[2] + before[2] * before[0];
        const Quad g = after[0] * after[1] + after[1] * after[2] + after[2] * after[0] - c;
        least = lesser(g, least); // the lanes without a box are NaN
        c.store(cost + i);
        g.store(growth + i);
    }
    least.store(least_of);
    const float growth_of_best = *std::min_element(least_of, least_of + Quad::width);
    unsigned int best_ones = 0;
    for (int i = 0; i < width_; i += Quad::width)
        best_ones |= is_less(growth_of_best, Quad(growth + i)).bits() << i;
    best_ones = ~best_ones & node.used();
    if (best_ones == 0) return 0; // no cost is a number
    int best = std::countr_zero(best_ones);
    for (best_ones &= best_ones - 1; best_ones != 0; best_ones &= best_ones - 1) {
        const int lane = std::countr_zero(best_ones);
        if (cost[lane] < cost[best]) best = lane;
    }
    return best;
}

void Box_Index::put(std::uint32_t number, const Bbox& box) {
    if (leaf_of_.count() <= number) leaf_of_.resize(std::size_t{number} + 1);
    if (count_++ == 0) root_ = new_node(0);
    put_below(root_, number, box);
}

// Requires: all nodes above cover `box` already.
void Box_Index::put_below(std::uint32_t node, std::uint32_t number, const Bbox& box) {
    while (nodes_[node].height > 0) {
        Node& inner = nodes_[node];
        const int lane = cheapest_lane(inner, box);
        Bbox grown = inner.lanes.get(lane);
        grown.merge(box);
        inner.lanes.set(lane, grown);
        node = inner.ids[lane];
    }
    add(node, number, box);
}

// Twice the middle, inside the world where boxes may be infinite.
Box_Index::Place Box_Index::place_of(const Item* item) const {
    Bbox box = item->box;
    if (clips_) {
        for (int axis = 0; axis < 3; ++axis) {
            const float low = world_.min[axis], high = world_.max[axis];
            box.min[axis] = std::clamp(box.min[axis], low, high);
            box.max[axis] = std::clamp(box.max[axis], low, high);
        }
    }
    return {{box.min.x + box.max.x, box.min.y + box.max.y, box.min.z + box.max.z}, item};
}

// The one along which the places lie farthest apart.
int Box_Index::axis_to_part(const Place* places, std::size_t count) {
    Bbox all;
    all.clear();
    for (const Place* p = places; p != places + count; ++p)
        all.merge(Point(p->at[0], p->at[1], p->at[2]));
    const Vector size = all.size();
    if (size.x >= size.y && size.x >= size.z) return 0;
    return size.y >= size.z ? 1 : 2;
}

// As std::nth_element along an axis. While many are left, they go before and behind the middle of
// three without a branch for each, of which half would be guessed wrong.
void Box_Index::part_places(Place* first, Place* nth, Place* last, int axis) {
    const std::ptrdiff_t few = 64;
    while (last - first > few) {
        const float a = first->at[axis], b = first[(last - first) / 2].at[axis],
                    c = last[-1].at[axis];
        const float pivot = std::max(std::min(a, b), std::min(std::max(a, b), c));
        Place* end = first;
        for (Place* p = first; p != last; ++p) {
            const Place place = *p;
            *p = *end;
            *end = place;
            end += place.at[axis] < pivot;
        }
        if (end == first) break; // many at one place
        (end <= nth ? first : last) = end;
    }
    std::nth_element(first, nth, last,
                     [&](const Place& p, const Place& q) { return p.at[axis] < q.at[axis]; });
}

// Leaves are not packed full: the first boxes that come later would part them all.
static const std::size_t packed_leaf = 13;

// A node over all places, so high that they find room below it.
std::uint32_t Box_Index::pack(Place* places, std::size_t count, int height) {
    const std::uint32_t node = new_node(height);
    if (height == 0) {
        for (std::size_t i = 0; i < count; ++i) add(node, places[i].item->id, places[i].item->box);
        return node;
    }
    std::size_t room_of_child = packed_leaf;
    for (int h = 1; h < height; ++h) room_of_child *= width_;
    pack_parts(node, places, count, (count + room_of_child - 1) / room_of_child);
    return node;
}

// Halves the places where they are spread most, until each part is to be one child of the node.
void Box_Index::pack_parts(std::uint32_t node, Place* places, std::size_t count,
                           std::size_t parts) {
    if (parts == 1) {
        const std::uint32_t child = pack(places, count, nodes_[node].height - 1);
        add(node, child, bounds_of(nodes_[child]));
        return;
    }
    const std::size_t half = count * (parts / 2) / parts;
    part_places(places, places + half, places + count, axis_to_part(places, count));
    pack_parts(node, places, half, parts / 2);
    pack_parts(node, places + half, count - half, parts - parts / 2);
}

void Box_Index::put_all(const Plain_Array<Item>& items) {
    const std::size_t count = items.count();
    if (count_ > 0 || count == 0) {
        for (std::size_t i = 0; i < count; ++i) put(items[i].id, items[i].box);
        return;
    }
    Plain_Array<Place> places;
    places.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        places.push(place_of(&items[i]));
        if (leaf_of_.count() <= items[i].id) leaf_of_.resize(std::size_t{items[i].id} + 1);
    }
    int height = 0;
    for (std::size_t room = packed_leaf; room < count; room *= width_) ++height;
    root_ = pack(places.cells(), count, height);
    count_ = static_cast<int>(count);
    places.wipe_out(0);
}

void Box_Index::set_parent(const Node& node, std::uint32_t id, std::uint32_t parent) {
    if (node.height == 0) {
        leaf_of_[id] = parent;
    } else {
        nodes_[id].parent = parent;
    }
}

// Requires: all nodes above cover `box` already.
void Box_Index::add(std::uint32_t node, std::uint32_t id, const Bbox& box) {
    Node& to = nodes_[node];
    if (to.count == width_) {
        part(node, id, box);
        return;
    }
    to.lanes.set(to.count, box);
    to.ids[to.count] = id;
    ++to.count;
    set_parent(to, id, node);
}

void Box_Index::fill(std::uint32_t node, const Item* items, int count) {
    Node& to = nodes_[node];
    clear(to.lanes);
    to.count = static_cast<std::uint16_t>(count);
    for (int i = 0; i < count; ++i) {
        to.lanes.set(i, items[i].box);
        to.ids[i] = items[i].id;
        set_parent(to, items[i].id, node);
    }
}

// The cheapest place to cut the items, in their order, into two parts.
float Box_Index::best_cut(const Item* items, int count, int* cut) const {
    float cost_from[width_ + 1]; // of all from this one on
    Bbox box = items[count - 1].box;
    for (int i = count - 1; i >= least_part_; --i) {
        box.merge(items[i].box);
        cost_from[i] = cost_of(box) * static_cast<float>(count - i);
    }
    // The other sides, from the front, meet those from behind at each cut.
    float best = 0;
    *cut = 0;
    box = items[0].box;
    for (int i = 1; i <= count - least_part_; ++i) {
        if (i >= least_part_) {
            const float cost = cost_of(box) * static_cast<float>(i) + cost_from[i];
            if (*cut == 0 || cost < best) best = cost, *cut = i;
        }
        box.merge(items[i].box);
    }
    return best;
}

// Leaves the items in the order in which they are parted best, and answers where.
int Box_Index::sort_for_parting(Item* items, int count) const {
    Item sorted[width_ + 1] = {}, best[width_ + 1] = {};
    float best_cost = 0;
    int best_place = 0;
    for (int axis = 0; axis < 3; ++axis) {
        // Inside the world: the middle of an infinite box is none.
        const float low = world_.min[axis], high = world_.max[axis];
        float middles[width_ + 1];
        for (int i = 0; i < count; ++i) {
            const float middle = std::clamp(items[i].box.min[axis], low, high) +
                                 std::clamp(items[i].box.max[axis], low, high);
            int to = i;
            for (; to > 0 && middles[to - 1] > middle; --to) {
                middles[to] = middles[to - 1];
                sorted[to] = sorted[to - 1];
            }
            middles[to] = middle;
            sorted[to] = items[i];
        }
        int cut;
        const float cost = best_cut(sorted, count, &cut);
        if (best_place != 0 && !(cost < best_cost)) continue;
        best_cost = cost;
        best_place = cut;
        std::copy(sorted, sorted + count, best);
    }
    std::copy(best, best + count, items);
    return best_place;
}

// Parts a full node, with one item more, in two.
void Box_Index::part(std::uint32_t node, std::uint32_t id, const Bbox& box) {
    Item items[width_ + 1];
    for (int i = 0; i < width_; ++i) items[i] = {nodes_[node].lanes.get(i), nodes_[node].ids[i]};
    items[width_] = {box, id};
    const int cut = sort_for_parting(items, width_ + 1);
    const int height = nodes_[node].height;
    const std::uint32_t other = new_node(height);
    fill(node, items, cut);
    fill(other, items + cut, width_ + 1 - cut);
    if (node == root_) {
        root_ = new_node(height + 1);
        add(root_, node, bounds_of(nodes_[node]));
    } else {
        Node& parent = nodes_[nodes_[node].parent];
        parent.lanes.set(lane_of(parent, node), bounds_of(nodes_[node]));
    }
    add(nodes_[node].parent, other, bounds_of(nodes_[other]));
}

void Box_Index::remove(std::uint32_t number) {
    take_out(leaf_of_[number], number);
    if (--count_ == 0) wipe_out();
}

void Box_Index::move(std::uint32_t number, std::uint32_t other, const Bbox& box) {
    if (leaf_of_.count() <= other) leaf_of_.resize(std::size_t{other} + 1);
    std::uint32_t node = leaf_of_[number];
    if (node != root_) {
        const Node& parent = nodes_[nodes_[node].parent];
        const Bbox bounds = parent.lanes.get(lane_of(parent, node));
        if (!bounds.contains(box)) {
            if (nodes_[node].count == 1) {
                remove(number);
                put(other, box);
                return;
            }
            take_out(node, number);
            put_below(covering_node(node, box), other, box);
            return;
        }
    }
    Node& leaf = nodes_[node];
    const int lane = lane_of(leaf, number);
    leaf.ids[lane] = other;
    leaf_of_[other] = node;
    leaf.lanes.set(lane, box);
    shrink_above(node);
}

// The lowest node above `node` that covers the box, or the root.
std::uint32_t Box_Index::covering_node(std::uint32_t node, const Bbox& box) const {
    while (node != root_) {
        const std::uint32_t above = nodes_[node].parent;
        if (nodes_[above].lanes.get(lane_of(nodes_[above], node)).contains(box)) break;
        node = above;
    }
    return node;
}

void Box_Index::rename(std::uint32_t number, std::uint32_t other) {
    Node& leaf = nodes_[leaf_of_[number]];
    leaf.ids[lane_of(leaf, number)] = other;
    leaf_of_[other] = leaf_of_[number];
}

// Nodes that become empty go; others may become sparse, but hold one box at least.
void Box_Index::take_out(std::uint32_t node, std::uint32_t id) {
    Node& from = nodes_[node];
    const int last = from.count - 1, lane = lane_of(from, id);
    from.lanes.set(lane, from.lanes.get(last));
    from.lanes.set(last, no_box);
    from.ids[lane] = from.ids[last];
    --from.count;
    if (node == root_) {
        while (nodes_[root_].height > 0 && nodes_[root_].count == 1) {
            const std::uint32_t only = nodes_[root_].ids[0];
            free_node(root_);
            root_ = only;
        }
        return;
    }
    const std::uint32_t above = from.parent;
    if (from.count == 0) {
        free_node(node);
        take_out(above, node);
        return;
    }
    shrink_above(node);
}

// Boxes shrink upwards until one is as it was: those above it then are, too.
void Box_Index::shrink_above(std::uint32_t node) {
    for (std::uint32_t child = node; child != root_; child = nodes_[child].parent) {
        Node& parent = nodes_[nodes_[child].parent];
        const int place = lane_of(parent, child);
        const Bbox old = parent.lanes.get(place), now = bounds_of(nodes_[child]);
        if (old.min == now.min && old.max == now.max) return;
        parent.lanes.set(place, now);
    }
}
