#include "math/Split_Box_Tree.h"

#include <cstdlib>

#include "std/Std_Assert.h"

// Leaves with fewer entries than this are not tested as a whole: testing the entries is as cheap.
static const int small_leaf = 4;

// One T in the placement of `owner`.
template<class T>
static T* new_beside(const void* owner) {
    return new (std_get_subobject_placement(owner)) T;
}

void BSplit_Box_Tree_Node::put(BSplit_Box_Tree_Entry* entry, Pending* pending) {
    if (!box_.is_overlapping(entry->box)) return;
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
    std_assert(-1, "BSplit_Box_Tree_Node::remove did not find the entry", __FILE__, __LINE__);
}

static float middle(float low, float high) {
    return static_cast<float>(static_cast<double>(low + high) / 2.0);
}

// The longest axis; ties go to z, but of x and y alone to y.
static int axis_to_halve(const Vector& size) {
    if (size.y < size.x) return size.z < size.x ? 0 : 2;
    return size.x <= size.y && size.z < size.y ? 1 : 2;
}

// Bit `axis` of `child` chooses the half. A node with two children is halved on one axis only.
Bbox BSplit_Box_Tree_Node::child_box(int child, const Point& mid) const {
    Bbox half = box_;
    if (child_count_ == 2) {
        const int axis = axis_to_halve(box_.size());
        half[1 - child][axis] = mid[axis];
        return half;
    }
    for (int axis = 0; axis < 3; ++axis) half[child >> axis & 1 ? 0 : 1][axis] = mid[axis];
    return half;
}

void BSplit_Box_Tree_Node::split(Pending* pending) {
    if (child_count_ != 2 && child_count_ != 8) std::abort();
    Gap_List<BSplit_Box_Tree_Entry*>* const kept = items_;
    items_ = nullptr;
    const int kept_count = kept ? kept->count() : 0;
    for (int i = 0; i < kept_count; ++i) (*kept)[i]->nodes.remove(this);

    const Point mid(middle(box_.min.x, box_.max.x), middle(box_.min.y, box_.max.y),
                    middle(box_.min.z, box_.max.z));
    children_ = new (std_get_subobject_placement(this))
        BSplit_Box_Tree_Node[static_cast<std::size_t>(child_count_)];
    for (int i = 0; i < child_count_; ++i)
        children_[i] = BSplit_Box_Tree_Node(child_count_, this, child_box(i, mid));

    for (int i = 0; i < kept_count; ++i) put((*kept)[i], pending);
    Std_GC::operator delete(kept);
}

Bbox BSplit_Box_Tree_Node::get_contents_bbox() const {
    Bbox contents;
    contents.clear();
    if (children_) {
        for (int i = 0; i < child_count_; ++i) contents.merge(children_[i].get_contents_bbox());
    } else if (item_count() > 0) {
        for (int i = 0; i < item_count(); ++i) contents.merge((*items_)[i]->box);
        contents.intersect(box_);
    }
    return contents;
}

int BSplit_Box_Tree_Node::get_level() const {
    int level = 0;
    for (const BSplit_Box_Tree_Node* node = parent_; node; node = node->parent_) ++level;
    return level;
}

// The queries. classify(cell) answers 0 (nothing of the cell takes part), 1 (all of it does) or
// anything else (its contents need a test); accepts(box) tests one entry.
namespace {
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
} // namespace

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

BSplit_Box_Tree::BSplit_Box_Tree(int split_into_n, int max_level, int items_limit,
                                 const Bbox& bounds)
    : max_level_(max_level), items_limit_(items_limit), split_into_n_(split_into_n),
      root_(new (std_get_subobject_placement(this))
                BSplit_Box_Tree_Node(split_into_n, nullptr, bounds)) {}

void BSplit_Box_Tree::take_out(BSplit_Box_Tree_Entry* entry) {
    while (entry->nodes.count() > 0) (*entry->nodes.get_one_item())->remove(entry, &pending_);
}

void BSplit_Box_Tree::put(SUniv* item, const Bbox& box) {
    if (!root_->get_bbox().contains(box))
        std_assert(0, "BSplit_box_tree put: element out of bounds", __FILE__, __LINE__);
    BSplit_Box_Tree_Entry* entry;
    if (entries_.find(item)) {
        entry = *entries_.found_item();
        take_out(entry);
        entry->box = box;
    } else {
        entry = new (std_get_subobject_placement(this)) BSplit_Box_Tree_Entry(item, box);
        entries_.put(entry, item);
    }
    root_->put(entry, &pending_);
    check_pending_nodes();
}

void BSplit_Box_Tree::remove(SUniv* item) {
    if (!entries_.find(item)) return;
    take_out(*entries_.found_item());
    entries_.remove(item);
    check_pending_nodes();
}

void BSplit_Box_Tree::wipe_out() {
    entries_.wipe_out();
    pending_.wipe_out();
    root_ = new (std_get_subobject_placement(this))
        BSplit_Box_Tree_Node(split_into_n_, nullptr, root_->get_bbox());
}

void BSplit_Box_Tree::check_pending_nodes() {
    while (!pending_.is_empty()) {
        const int last = pending_.count() - 1;
        BSplit_Box_Tree_Node* const node = pending_[last];
        pending_.remove(last);
        if (node->is_leaf() && node->item_count() > items_limit_ && node->get_level() < max_level_)
            node->split(&pending_);
    }
}

// One counter for all trees, so that a stamp is never met again.
static int next_stamp() {
    static unsigned int stamp = 0; // which may wrap
    return static_cast<int>(++stamp);
}

bool BSplit_Box_Tree::apply(SUniv* user, BSplit_Box_Tree_Apply fn) const {
    return root_->apply(user, fn, next_stamp());
}

bool BSplit_Box_Tree::apply(SUniv* user, const Bbox& query, BSplit_Box_Tree_Apply fn) const {
    return root_->apply(user, query, fn, next_stamp());
}

bool BSplit_Box_Tree::apply(SUniv* user, const Matrix4& m, BSplit_Box_Tree_Apply fn) const {
    return root_->apply(user, m, fn, next_stamp());
}

bool BSplit_Box_Tree::apply(SUniv* user, const Matrix4& m1, const Matrix4& m2,
                            BSplit_Box_Tree_Apply fn) const {
    return root_->apply(user, m1, m2, fn, next_stamp());
}

bool BSplit_Box_Tree::apply(SUniv* user, const Point& p, const Point& q,
                            BSplit_Box_Tree_Apply fn) const {
    return root_->apply(user, p, q, fn, next_stamp());
}
