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
// longest axis. An item is listed in every leaf that its box touches, and a walk reports it once.
// A leaf splits when it holds more entries than the limit and stands above the maximum level.
// Cells never merge until wipe_out.
//
// Order of a walk: depth first, children in order, entries of a leaf in the order of their arrival.
// It does not depend on addresses. A callback must not put or remove; if it starts another walk
// over the same tree, the outer one may report an item a second time. Walks allocate nothing.
#ifndef MATH_SPLIT_BOX_TREE_H
#define MATH_SPLIT_BOX_TREE_H

#include "base/Gap_List.h"
#include "base/Hash_Set.h"
#include "base/Hash_Table.h"
#include "math/Bbox.h"
#include "math/Geometry.h"
#include "math/Matrix4.h"
#include "std/Std_Obj.h"
#include "std/Std_Univ.h"

class BSplit_Box_Tree_Node;

// `box` is that of the item's entry. True stops the walk, and apply then returns true.
using BSplit_Box_Tree_Apply = bool (*)(SUniv* user, SUniv* item, const Bbox& box);

// One filed item and the leaves that list it.
struct BSplit_Box_Tree_Entry : public Std_GC {
    BSplit_Box_Tree_Entry(SUniv* i, const Bbox& b) : item(i), box(b), stamp(0) {}

    SUniv* item;
    Bbox box;
    int stamp; // number of the last walk that dealt with this entry
    Hash_Set<BSplit_Box_Tree_Node*> nodes;
};

// A cell. Its operations belong to the tree; `pending` collects the nodes that it looks at later.
class BSplit_Box_Tree_Node : public Std_GC {
public:
    using Pending = Gap_List<BSplit_Box_Tree_Node*>;

    BSplit_Box_Tree_Node()
        : child_count_(0), items_(nullptr), parent_(nullptr), children_(nullptr) {}
    BSplit_Box_Tree_Node(int child_count, BSplit_Box_Tree_Node* parent, const Bbox& box)
        : child_count_(child_count), box_(box), items_(nullptr), parent_(parent),
          children_(nullptr) {}

    // Lists the entry in all leaves below that its box overlaps.
    void put(BSplit_Box_Tree_Entry* entry, Pending* pending);

    // Takes the entry out of this leaf.
    // On failure: a fatal report, if the leaf does not list it.
    void remove(BSplit_Box_Tree_Entry* entry, Pending* pending);

    // Hands the entries of this leaf to new children.
    // On failure: aborts for a child count other than 2 and 8.
    void split(Pending* pending);

    // The counterpart of split: nothing is merged.
    void shrink(Pending*) {}

    // The box of all entries below, each cut to its leaf; the empty box if there are none.
    Bbox get_contents_bbox() const;
    int get_level() const;

    const Bbox& get_bbox() const { return box_; }
    bool is_leaf() const { return !children_; }
    int item_count() const { return items_ ? items_->count() : 0; }

    // The walks of the tree; entries that bear `stamp` already are passed over.
    bool apply(SUniv* user, BSplit_Box_Tree_Apply fn, int stamp) const;
    bool apply(SUniv* user, const Bbox& query, BSplit_Box_Tree_Apply fn, int stamp) const;
    bool apply(SUniv* user, const Matrix4& m, BSplit_Box_Tree_Apply fn, int stamp) const;
    bool apply(SUniv* user, const Matrix4& m1, const Matrix4& m2, BSplit_Box_Tree_Apply fn,
               int stamp) const;
    bool apply(SUniv* user, const Point& p, const Point& q, BSplit_Box_Tree_Apply fn,
               int stamp) const;

private:
    template<class Query>
    bool walk(SUniv* user, const Query& query, BSplit_Box_Tree_Apply fn, int stamp) const;
    template<class Query>
    bool visit(SUniv* user, const Query& query, BSplit_Box_Tree_Apply fn, int stamp) const;

    Bbox child_box(int child, const Point& mid) const;

    int child_count_;
    Bbox box_;
    Gap_List<BSplit_Box_Tree_Entry*>* items_; // null until the first entry, and in inner nodes
    BSplit_Box_Tree_Node* parent_;
    BSplit_Box_Tree_Node* children_; // one array; null in a leaf
};

// The tree itself, untyped. Use it through Split_Box_Tree<T>.
class BSplit_Box_Tree : public Std_Obj {
    STD_OBJ_CLASS(BSplit_Box_Tree, Std_Obj)

    // One empty leaf. A split count other than 2 or 8 aborts at the first split.
    BSplit_Box_Tree(int split_into_n, int max_level, int items_limit, const Bbox& bounds);

    // Files `item`, or moves it if it is filed already. A box that is not inside the bounds gets
    // an information report; the item is then filed in the leaves that the box overlaps, if any.
    void put(SUniv* item, const Bbox& box);

    // Unknown items are ignored.
    void remove(SUniv* item);

    // Also for items that lie outside and that no walk reaches.
    bool has(SUniv* item) const { return entries_.has(item); }
    int count() const { return entries_.count(); }

    // Back to one empty leaf with the same bounds.
    void wipe_out();

    // The bounds.
    const Bbox& get_bbox() const { return root_->get_bbox(); }

    // The box of all items, cut to the bounds; the empty box if there are none.
    Bbox get_contents_bbox() const { return root_->get_contents_bbox(); }

    int get_node_max_level() const { return max_level_; }
    int get_node_items_limit() const { return items_limit_; }
    int get_node_split_into_n_children() const { return split_into_n_; }

    // Splits what is too full among the nodes touched last; put and remove do it themselves.
    void check_pending_nodes();

    // Visit all items; those whose box overlaps `query`; those visible through m, or through m1 or
    // m2; those whose box contains p or is met by the segment p..q. True if `fn` stopped the walk.
    bool apply(SUniv* user, BSplit_Box_Tree_Apply fn) const;
    bool apply(SUniv* user, const Bbox& query, BSplit_Box_Tree_Apply fn) const;
    bool apply(SUniv* user, const Matrix4& m, BSplit_Box_Tree_Apply fn) const;
    bool apply(SUniv* user, const Matrix4& m1, const Matrix4& m2, BSplit_Box_Tree_Apply fn) const;
    bool apply(SUniv* user, const Point& p, const Point& q, BSplit_Box_Tree_Apply fn) const;

private:
    void take_out(BSplit_Box_Tree_Entry* entry);

    int max_level_;
    int items_limit_;
    int split_into_n_;
    BSplit_Box_Tree_Node* root_;
    Hash_Table<SUniv*, BSplit_Box_Tree_Entry*> entries_;
    BSplit_Box_Tree_Node::Pending pending_; // empty between operations
};

// The tree for items of one type, which travels as a SUniv*: see Conv<T>.
template<class T>
class Split_Box_Tree : public BSplit_Box_Tree {
    STD_OBJ_CLASS_NAMED(Split_Box_Tree, BSplit_Box_Tree, "Split_Box_Tree<T>")

    using BSplit_Box_Tree::BSplit_Box_Tree;

    void put(T item, const Bbox& box) { BSplit_Box_Tree::put(Conv<T>::to_univ(item), box); }
    void remove(T item) { BSplit_Box_Tree::remove(Conv<T>::to_univ(item)); }
    bool has(T item) const { return BSplit_Box_Tree::has(Conv<T>::to_univ(item)); }
};

#endif
