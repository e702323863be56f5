#include "math/Split_Box_Tree_Node.h"

#include "math/Box_Cells.h"
#include "math/Box_Queries.h"
#include "std/Std_Assert.h"

// One T in the placement of `owner`.
template<class T>
static T* new_beside(const void* owner) {
    return new (std_get_subobject_placement(owner)) T;
}

void BSplit_Box_Tree_Node::put(BSplit_Box_Tree_Entry* entry, Pending* pending) {
    if (!box_.is_overlapping(entry->box)) return;
    // An entry stands in every leaf that its box reaches; each leaf is told to the entry, for its
    // removal.
    if (children_) {
        for (int i = 0; i < child_count_; ++i) children_[i].put(entry, pending);
        return;
    }
    if (!items_) items_ = new_beside<Gap_List<BSplit_Box_Tree_Entry*>>(this);
    entry->nodes.put(this);
    items_->insert_last(entry);
    if (pending) pending->insert_last(this);
}

void BSplit_Box_Tree_Node::remove(BSplit_Box_Tree_Entry* entry, Pending* pending) {
    for (int i = 0; i < item_count(); ++i) {
        if ((*items_)[i] != entry) continue;
        entry->nodes.remove(this);
        items_->remove(i);
        if (parent_ && pending) pending->insert_last(parent_);
        return;
    }
    // Leaf and entry know one another, so this is damage.
    std_assert(-1, "BSplit_Box_Tree_Node::remove did not find the entry", __FILE__, __LINE__);
}

void BSplit_Box_Tree_Node::split(Pending* pending) {
    const Cell_Division division(box_, child_count_);
    Gap_List<BSplit_Box_Tree_Entry*>* const kept = items_;
    items_ = nullptr;
    // The entries leave before the children exist: each goes through put once more, and from there
    // into the leaves.
    const int kept_count = kept ? kept->count() : 0;
    for (int i = 0; i < kept_count; ++i) (*kept)[i]->nodes.remove(this);

    children_ = new (std_get_subobject_placement(this))
        BSplit_Box_Tree_Node[static_cast<std::size_t>(child_count_)];
    for (int i = 0; i < child_count_; ++i)
        children_[i] = BSplit_Box_Tree_Node(child_count_, this, division.child(box_, i));

    for (int i = 0; i < kept_count; ++i) put((*kept)[i], pending);
    std_release(kept);
}

Bbox BSplit_Box_Tree_Node::get_contents_bbox() const {
    Bbox contents;
    contents.clear();
    if (children_) {
        for (int i = 0; i < child_count_; ++i) contents.merge(children_[i].get_contents_bbox());
    } else if (item_count() > 0) {
        for (int i = 0; i < item_count(); ++i) contents.merge((*items_)[i]->box);
        // What reaches out of the leaf belongs to its neighbours, or to nobody.
        contents.intersect(box_);
    }
    return contents;
}

int BSplit_Box_Tree_Node::get_level() const {
    int level = 0;
    for (const BSplit_Box_Tree_Node* node = parent_; node; node = node->parent_) ++level;
    return level;
}

template<class Query>
bool BSplit_Box_Tree_Node::visit(SUniv* user, const Query& query, BSplit_Box_Tree_Apply fn,
                                 int stamp) const {
    const int ahead = 4; // entries of a large tree lie far from the processor's cache
    for (int i = 0; i < item_count(); ++i) {
        if (i + ahead < item_count()) __builtin_prefetch((*items_)[i + ahead]);
        BSplit_Box_Tree_Entry* const entry = (*items_)[i];
        if (entry->stamp == stamp) continue;
        // Before the test: an entry that fails need not be tested in another leaf.
        entry->stamp = stamp;
        if (query.accepts(entry->box) && fn(user, entry->item, entry->box)) return true;
    }
    return false;
}

template<class Query>
bool BSplit_Box_Tree_Node::walk(SUniv* user, const Query& query, BSplit_Box_Tree_Apply fn,
                                int stamp) const {
    // Few boxes are tested as fast as their cell.
    if (!children_ && item_count() < small_leaf) return visit(user, query, fn, stamp);
    switch (query.classify(box_)) {
    case 0:
        return false;
    case 1:
        return apply(user, fn, stamp);
    default:
        break;
    }
    if (!children_) return visit(user, query, fn, stamp);
    for (int i = 0; i < child_count_; ++i)
        if (children_[i].walk(user, query, fn, stamp)) return true;
    return false;
}

bool BSplit_Box_Tree_Node::apply(SUniv* user, BSplit_Box_Tree_Apply fn, int stamp) const {
    if (!children_) return visit(user, Everything(), fn, stamp);
    for (int i = 0; i < child_count_; ++i)
        if (children_[i].apply(user, fn, stamp)) return true;
    return false;
}

bool BSplit_Box_Tree_Node::apply(SUniv* user, const Bbox& query, BSplit_Box_Tree_Apply fn,
                                 int stamp) const {
    return walk(user, In_Box{query}, fn, stamp);
}

bool BSplit_Box_Tree_Node::apply(SUniv* user, const Matrix4& m, BSplit_Box_Tree_Apply fn,
                                 int stamp) const {
    return walk(user, In_View{m}, fn, stamp);
}

bool BSplit_Box_Tree_Node::apply(SUniv* user, const Matrix4& m1, const Matrix4& m2,
                                 BSplit_Box_Tree_Apply fn, int stamp) const {
    return walk(user, In_Either_View{m1, m2}, fn, stamp);
}

bool BSplit_Box_Tree_Node::apply(SUniv* user, const Point& p, const Point& q,
                                 BSplit_Box_Tree_Apply fn, int stamp) const {
    return walk(user, On_Segment{p, q}, fn, stamp);
}
