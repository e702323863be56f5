// Finds boxes by place: an R-tree over numbered boxes. It keeps no order among them.
//
//     Box_Index index(world, false);
//     index.put(3, box);
//     index.visit(Box_Probe(query), [&](std::uint32_t number) { ...; return false; });
//     index.remove(3);
//
// A node holds up to 16 boxes, coordinate by coordinate, so that a probe looks at four or more of
// them at a time. Going down, a box enters where it enlarges the surface least; a node that
// overflows is parted where the surfaces of the two parts, times what they hold, come out smallest:
// the chance that a query has to look into a node grows with its surface.
// How the tree is shaped decides the cost of a query, never its answer.
//
// Boxes must be ordered (min <= max) and free of NaN; they may be infinite.
#ifndef MATH_BOX_INDEX_H
#define MATH_BOX_INDEX_H

#include <bit>
#include <cstddef>
#include <cstdint>

#include "base/Plain_Array.h"
#include "math/Bbox.h"

// Sixteen boxes side by side. Those past the count of their node hold NaN.
struct Box_Lanes {
    static constexpr int width = 16;

    float min[3][width];
    float max[3][width];

    Bbox get(int lane) const {
        return Bbox(Point(min[0][lane], min[1][lane], min[2][lane]),
                    Point(max[0][lane], max[1][lane], max[2][lane]));
    }
    void set(int lane, const Bbox& box) {
        for (int axis = 0; axis < 3; ++axis) {
            min[axis][lane] = box.min[axis];
            max[axis][lane] = box.max[axis];
        }
    }
};

class Box_Index {
public:
    // The longest edge of `world` is the unit of the costs that shape the tree. If boxes may be
    // many times as large, or infinite, `clips` has them measured inside the world, so that a few
    // do not make all nodes look alike.
    Box_Index(const Bbox& world, bool clips);
    Box_Index(const Box_Index&) = delete;
    Box_Index& operator=(const Box_Index&) = delete;

    // A box and its number.
    struct Item {
        Bbox box;
        std::uint32_t id;
    };

    // Requires: `number` is not held.
    void put(std::uint32_t number, const Bbox& box);
    // The same for each of the items. An empty index is packed with them, which costs a fraction
    // and makes queries no dearer.
    void put_all(const Plain_Array<Item>& items);
    // As remove(number) and put(other, box), but at the place where it is, if the box stays near.
    // Requires: `number` is held, `other` is not, unless they are the same.
    void move(std::uint32_t number, std::uint32_t other, const Bbox& box);
    // Requires: `number` is held.
    void remove(std::uint32_t number);
    // Requires: `number` is held, `other` is not, unless they are the same.
    void rename(std::uint32_t number, std::uint32_t other);
    // Has the processor fetch what move looks at first, if `number` is held.
    void prefetch(std::uint32_t number) const {
        if (number >= leaf_of_.count() || leaf_of_[number] >= nodes_.count()) return;
        const char* const leaf = reinterpret_cast<const char*>(&nodes_[leaf_of_[number]]);
        for (std::size_t line = 0; line < sizeof(Node); line += 64) __builtin_prefetch(leaf + line);
    }
    void wipe_out();
    void wipe_out(const Bbox& world);

    int count() const { return count_; }

    // Of all boxes. Requires: one at least.
    Bbox get_bbox() const;

    // Calls take(number) for each box that the probe lets pass, and for none that it does not let
    // pass, up to the first true answer, which is the result. probe.meets(lanes) answers a bit for
    // each lane: for nodes, whether anything inside may pass; for boxes, whether the box does.
    // probe.holds(lanes): whether all that is inside passes, so that nobody need look.
    template<class Probe, class Take>
    bool visit(const Probe& probe, Take take) const {
        return count_ > 0 && visit(nodes_[root_], probe, take);
    }

    // How many boxes the probe lets pass, counted up to `enough`.
    template<class Probe>
    int count_up_to(int enough, const Probe& probe) const {
        return count_ > 0 ? count_up_to(enough, nodes_[root_], probe) : 0;
    }

private:
    static constexpr int width_ = Box_Lanes::width;
    // What a part must hold at least: less would make the tree tall.
    static constexpr int least_part_ = 5;

    struct Node {
        Box_Lanes lanes;
        std::uint32_t ids[width_]; // numbers of boxes, or of nodes one level down
        std::uint32_t parent;
        std::uint16_t count;
        std::uint16_t height; // 0 holds boxes

        unsigned int used() const { return (1u << count) - 1; }
    };
    // What packing moves about, in place of the item.
    struct Place {
        float at[3];
        const Item* item; // which the caller of put_all keeps
    };

    template<class Probe, class Take>
    bool visit(const Node& node, const Probe& probe, Take& take) const {
        const unsigned int met = probe.meets(node.lanes) & node.used();
        const unsigned int held = node.height > 0 && met != 0 ? probe.holds(node.lanes) : 0;
        for (unsigned int m = met; m != 0; m &= m - 1) {
            const int lane = std::countr_zero(m);
            const std::uint32_t id = node.ids[lane];
            const bool is_stopped = node.height == 0   ? take(id)
                                    : held >> lane & 1 ? visit_all(nodes_[id], take)
                                                       : visit(nodes_[id], probe, take);
            if (is_stopped) return true;
        }
        return false;
    }
    template<class Take>
    bool visit_all(const Node& node, Take& take) const {
        for (int i = 0; i < node.count; ++i)
            if (node.height == 0 ? take(node.ids[i]) : visit_all(nodes_[node.ids[i]], take))
                return true;
        return false;
    }
    template<class Probe>
    int count_up_to(int enough, const Node& node, const Probe& probe) const {
        unsigned int m = probe.meets(node.lanes) & node.used();
        if (node.height == 0) return std::popcount(m);
        int n = 0;
        for (; m != 0 && n < enough; m &= m - 1)
            n += count_up_to(enough - n, nodes_[node.ids[std::countr_zero(m)]], probe);
        return n;
    }

    std::uint32_t new_node(int height);
    void free_node(std::uint32_t node);
    int lane_of(const Node& node, std::uint32_t id) const;
    int cheapest_lane(const Node& node, const Bbox& box) const;
    Bbox bounds_of(const Node& node) const;
    float cost_of(const Bbox& box) const;
    std::uint32_t covering_node(std::uint32_t node, const Bbox& box) const;
    void put_below(std::uint32_t node, std::uint32_t number, const Bbox& box);
    Place place_of(const Item* item) const;
    static int axis_to_part(const Place* places, std::size_t count);
    static void part_places(Place* first, Place* nth, Place* last, int axis);
    std::uint32_t pack(Place* places, std::size_t count, int height);
    void pack_parts(std::uint32_t node, Place* places, std::size_t count, std::size_t parts);
    void add(std::uint32_t node, std::uint32_t id, const Bbox& box);
    void part(std::uint32_t node, std::uint32_t id, const Bbox& box);
    int sort_for_parting(Item* items, int count) const;
    float best_cut(const Item* items, int count, int* cut) const;
    void fill(std::uint32_t node, const Item* items, int count);
    void set_parent(const Node& node, std::uint32_t id, std::uint32_t parent);
    void take_out(std::uint32_t node, std::uint32_t id);
    void shrink_above(std::uint32_t node);

    Bbox world_;
    bool clips_;
    float scale_; // makes the longest edge of the world 1
    Plain_Array<Node> nodes_;
    Plain_Array<std::uint32_t> leaf_of_; // of each box
    std::uint32_t root_;
    std::uint32_t first_free_; // a chain through Node::parent
    int count_;
};

#endif
