// Spatial index: files opaque items under axis-aligned boxes and finds them again by box, by view
// volume or by line segment.
//
//     Split_Box_Tree<WDB_Node*> shapes(2, 16, 4, Bbox(lo, hi));   // children, levels, items
//     shapes.put(node, box);                  // files the node, or moves it
//     shapes.apply(user, eye, target, [](SUniv* user, SUniv* item, const Bbox& box) {
//         ...Conv<WDB_Node*>::from_univ(item)...
//         return false;                       // true stops the walk
//     });
//
// Cells split in the middle of their space, whatever they hold: into 8, or into 2 across their
// longest axis. An item belongs to every leaf that its box touches, and a walk reports it once.
// A leaf splits when it holds more entries than the limit and stands above the maximum level.
// Cells never merge until wipe_out.
//
// Order of a walk: depth first, children in order, entries of a leaf in the order of their arrival.
// It does not depend on addresses. A callback must not put or remove; it may start another walk
// over the same tree. Walks allocate nothing, but for the first one after a put and the first time
// that so many run at once, in threads or one in the other.
//
// Threads: while nobody puts or removes, any number may ask at once. What was put is filed by the
// first, under a lock, or by check_pending_nodes.
//
// Cost: put, remove and the walks take time in proportion to the logarithm of the count and to what
// they find, however large the boxes are and wherever they crowd. What is put is filed when
// somebody looks, as far as he looks: a walk over all needs no place. A walk finds all before it
// reports the first. Boxes with a NaN or with min above max are looked at one by one. More
// cells than 2^29, to which only limits and levels far from the usual ones lead, are a fatal
// report.
#ifndef MATH_SPLIT_BOX_TREE_H
#define MATH_SPLIT_BOX_TREE_H

#include <atomic>
#include <cstdint>
#include <mutex>

#include "base/Plain_Array.h"
#include "math/Bbox.h"
#include "math/Box_Cells.h"
#include "math/Box_Index.h"
#include "math/Geometry.h"
#include "math/Matrix4.h"
#include "math/Slot_Set.h"
#include "math/Slot_Table.h"
#include "math/Split_Box_Tree_Node.h"
#include "std/Std_Obj.h"
#include "std/Std_Univ.h"

class View_Probe;

// The tree itself, untyped. Use it through Split_Box_Tree<T>.
class BSplit_Box_Tree : public Std_Obj {
    STD_OBJ_CLASS(BSplit_Box_Tree, Std_Obj)

    // One empty leaf. A split count other than 2 or 8 aborts at the first split.
    BSplit_Box_Tree(int split_into_n, int max_level, int items_limit, const Bbox& bounds);

    // Files `item`, or moves it if it is filed already. A box that is not inside the bounds gets
    // an information report; the item is then filed in the leaves that the box overlaps, if any.
    void put(SUniv* item, const Bbox& box);

    // Has the processor fetch what put looks at: of many items it lies far from its cache.
    void prefetch(const SUniv* item) const { slot_of_.prefetch(item); }

    // Unknown items are ignored.
    void remove(SUniv* item);

    // Also for items that lie outside and that no walk reaches.
    bool has(SUniv* item) const { return slot_of_.has(item); }
    int count() const { return slot_of_.count(); }

    // Back to one empty leaf with the same bounds.
    void wipe_out();

    // Files all anew under other bounds, in the order of their arrival.
    void set_bounds(const Bbox& bounds);

    // The bounds.
    const Bbox& get_bbox() const { return cells_.get_bbox(); }

    // The box of all items, cut to the bounds; the empty box if there are none.
    Bbox get_contents_bbox() const;

    int get_node_max_level() const { return cells_.get_max_level(); }
    int get_node_items_limit() const { return cells_.get_limit(); }
    int get_node_split_into_n_children() const { return cells_.get_split_count(); }

    // Files what was put, which the next look would do otherwise: walks then allocate nothing.
    void check_pending_nodes() { settle(); }

    // Visit all items; those whose box overlaps `query`; those visible through m, or through m1 or
    // m2; those whose box contains p or is met by the segment p..q. True if `fn` stopped the walk.
    bool apply(SUniv* user, BSplit_Box_Tree_Apply fn) const;
    bool apply(SUniv* user, const Bbox& query, BSplit_Box_Tree_Apply fn) const;
    bool apply(SUniv* user, const Matrix4& m, BSplit_Box_Tree_Apply fn) const;
    bool apply(SUniv* user, const Matrix4& m1, const Matrix4& m2, BSplit_Box_Tree_Apply fn) const;
    bool apply(SUniv* user, const Point& p, const Point& q, BSplit_Box_Tree_Apply fn) const;

    // The same for those whose box overlaps `query`, may be visible through m, or is met by p..q,
    // in no particular order: to keep the order costs several times the search where much is found.
    // A part of the tree that is wholly in view is not tested further. There may be some among them
    // that lie beside the view by a rounding, that are odd or, where a box is infinite, large, or
    // that meet the query outside the bounds only.
    bool apply_unordered(SUniv* user, const Bbox& query, BSplit_Box_Tree_Apply fn) const;
    bool apply_unordered(SUniv* user, const Matrix4& m, BSplit_Box_Tree_Apply fn) const;
    bool apply_unordered(SUniv* user, const Point& p, const Point& q,
                         BSplit_Box_Tree_Apply fn) const;

    // The items whose box does not touch the bounds, which the other walks do not reach; in the
    // order of their arrival.
    bool apply_to_outside(SUniv* user, BSplit_Box_Tree_Apply fn) const;

private:
    // Values of Slot::where; the first two are indices, too. The last is added where another slot
    // waits to take the place of this one: the item has moved, and this is as it was filed.
    static constexpr std::uint32_t small_ = 0, large_ = 1, odd_ = 2, outside_ = 3, free_ = 4;
    static constexpr std::uint32_t leaving_ = 8;
    static constexpr std::uint32_t new_ = UINT32_MAX;

    // An item, in the order of arrival.
    struct Slot {
        Bbox box;
        SUniv* item; // which slot_of_ keeps alive
        // Of one that is not filed yet, the slot whose place it takes, or new_.
        Box_Cells::Key home;
        std::uint32_t where; // small_, large_, odd_, outside_ or free_; perhaps leaving_

        std::uint32_t kind() const { return where & ~leaving_; }
    };
    // What a walk works with, of the size of all slots. Each that is under way has one of its own.
    struct Scratch : public Std_GC {
        std::size_t room = 0; // for so many slots; of the arrays, only the room is used
        Slot_Set found;
        Plain_Array<std::uint32_t> list, moved;
        Plain_Array<std::uint64_t> sorted, unsorted;
        Scratch* next = nullptr; // that is idle, too
    };
    // The scratch of one walk.
    class Walk_Scratch {
    public:
        explicit Walk_Scratch(const BSplit_Box_Tree& tree)
            : tree_(tree), scratch_(tree.take_scratch()) {
            tree.reserve_scratch(*scratch_);
        }
        Walk_Scratch(const Walk_Scratch&) = delete;
        Walk_Scratch& operator=(const Walk_Scratch&) = delete;
        ~Walk_Scratch() { tree_.give_back(scratch_); }
        Scratch& operator*() const { return *scratch_; }

    private:
        const BSplit_Box_Tree& tree_;
        Scratch* const scratch_;
    };
    class Query_Path;
    template<class Query>
    class Fall;

    std::uint32_t kind_of(const Bbox& box) const;
    void settle_order() const;
    void settle() const;
    void unsettle();
    void file_in_cells();
    void file_lot_in_cells(std::uint32_t* list);
    void file_by_place();
    void file(std::uint32_t slot, std::uint32_t* list);
    void prefetch_move(std::size_t slot) const;
    bool file_move(std::uint32_t from, std::uint32_t slot, std::uint32_t* list);
    void unfile(std::uint32_t slot);
    void take_out(std::uint32_t slot);
    void divide(const Box_Cells::Cell& leaf, std::uint32_t* list);
    void close_up();
    std::atomic<Scratch*>& idle_scratch() const;
    Scratch* take_scratch() const;
    void give_back(Scratch* chain) const;
    void reserve_scratch(Scratch& scratch) const;

    bool is_plain() const { return cells_.is_keyed() && odd_slots_.count() == 0; }
    int reaching_count() const;
    bool is_small(const Box_Cells::Cell& leaf) const;
    template<class Probe>
    void collect(const Probe& probe, Slot_Set& found) const;
    View_Probe probe_for(const Matrix4& m, const Box_Index& index) const;
    void collect_visible(const Matrix4& m, Slot_Set& found) const;
    void collect_odd(Slot_Set& found) const;
    void collect_all(Slot_Set& found) const;

    template<class Query, class Collect>
    bool walk(SUniv* user, const Query& query, BSplit_Box_Tree_Apply fn, Collect collect) const;
    template<bool Is_Rough, class Query, class Probe>
    bool visit(SUniv* user, const Query& query, BSplit_Box_Tree_Apply fn, Probe probe) const;
    template<class Query>
    bool visit_each(SUniv* user, const Query& query, BSplit_Box_Tree_Apply fn) const;
    bool walk_all(SUniv* user, BSplit_Box_Tree_Apply fn) const;
    bool report_in_order(Scratch& scratch, std::size_t count, SUniv* user,
                         BSplit_Box_Tree_Apply fn) const;

    float zero_of_contents(int side, int axis) const;
    Bbox literal_contents() const;

    Box_Cells cells_;
    Box_Index index_[2]; // of small boxes and of large ones
    Plain_Array<Slot> slots_;
    std::uint32_t in_cells_, by_place_; // so many slots are filed; never fewer in cells
    Plain_Array<std::uint32_t> odd_slots_;
    Slot_Table slot_of_;
    // Chains, for so many threads one each, as far apart as processors' caches hold memory
    // together: what one thread has worked with is in the cache of its processor.
    struct Idle_Scratch {
        std::atomic<Scratch*> chain = nullptr;
        char rest[64 - sizeof(std::atomic<Scratch*>)];
    };
    mutable Idle_Scratch idle_scratch_[8];
    mutable std::mutex settling_; // of what queries file and fill in
    mutable std::atomic<bool> is_in_cells_ = true, is_settled_ = true; // all of it
    mutable Bbox literal_contents_;
    mutable bool literal_contents_valid_;
};

// The tree for items of one type, which travels as a SUniv*: see Conv<T>.
template<class T>
class Split_Box_Tree : public BSplit_Box_Tree {
    STD_OBJ_CLASS_NAMED(Split_Box_Tree, BSplit_Box_Tree, "Split_Box_Tree<T>")

    using BSplit_Box_Tree::BSplit_Box_Tree;

    void prefetch(T item) const { BSplit_Box_Tree::prefetch(Conv<T>::to_univ(item)); }
    void put(T item, const Bbox& box) { BSplit_Box_Tree::put(Conv<T>::to_univ(item), box); }
    void remove(T item) { BSplit_Box_Tree::remove(Conv<T>::to_univ(item)); }
    bool has(T item) const { return BSplit_Box_Tree::has(Conv<T>::to_univ(item)); }
};

#endif
