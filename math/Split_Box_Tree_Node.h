// The cells of a split box tree, by themselves: a tree of nodes whose leaves list entries.
//
//     BSplit_Box_Tree_Node::Pending pending;
//     BSplit_Box_Tree_Node root(2, nullptr, bounds);
//     root.put(new BSplit_Box_Tree_Entry(item, box), &pending);
//     if (root.item_count() > limit) root.split(&pending);
//     root.apply(user, query, fn, ++stamp);
//
// This is what the order of a Split_Box_Tree's walks means: depth first, children in order, entries
// of a leaf in the order of their arrival, each entry once. Split_Box_Tree answers the same without
// listing an entry in every leaf that it reaches, which here costs large boxes thousands of places.
#ifndef MATH_SPLIT_BOX_TREE_NODE_H
#define MATH_SPLIT_BOX_TREE_NODE_H

#include "base/Gap_List.h"
#include "base/Hash_Set.h"
#include "math/Bbox.h"
#include "math/Geometry.h"
#include "math/Matrix4.h"
#include "std/Std_GC.h"
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

// A cell. `pending` collects the nodes that somebody should look at later, whether to split them.
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

    // The walks; entries that bear `stamp` already are passed over. See Split_Box_Tree::apply.
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

    int child_count_;
    Bbox box_;
    Gap_List<BSplit_Box_Tree_Entry*>* items_; // null until the first entry, and in inner nodes
    BSplit_Box_Tree_Node* parent_;
    BSplit_Box_Tree_Node* children_; // one array; null in a leaf
};

#endif
