// A split box tree as it is defined: every entry stands in every leaf that its box reaches. The
// yardstick for Split_Box_Tree, in tests and benchmarks.
#ifndef TESTS_MATH_PLAIN_TREE_H
#define TESTS_MATH_PLAIN_TREE_H

#include "base/Hash_Table.h"
#include "math/Split_Box_Tree_Node.h"

class Plain_Tree {
public:
    Plain_Tree(int split, int max_level, int limit, const Bbox& bounds)
        : split_(split), max_level_(max_level), limit_(limit), bounds_(bounds) {
        wipe_out();
    }

    void put(SUniv* item, const Bbox& box) {
        BSplit_Box_Tree_Entry* entry;
        if (entries_.find(item)) {
            entry = *entries_.found_item();
            take_out(entry);
            entry->box = box;
        } else {
            entry = new BSplit_Box_Tree_Entry(item, box);
            entries_.put(entry, item);
        }
        root_->put(entry, &pending_);
        while (!pending_.is_empty()) {
            BSplit_Box_Tree_Node* const node = pending_[pending_.count() - 1];
            pending_.remove(pending_.count() - 1);
            if (node->is_leaf() && node->item_count() > limit_ && node->get_level() < max_level_)
                node->split(&pending_);
        }
    }
    void remove(SUniv* item) {
        if (!entries_.find(item)) return;
        take_out(*entries_.found_item());
        entries_.remove(item);
    }
    void wipe_out() {
        entries_.wipe_out();
        root_ = new BSplit_Box_Tree_Node(split_, nullptr, bounds_);
    }
    bool has(SUniv* item) const { return entries_.has(item); }
    int count() const { return entries_.count(); }
    Bbox get_contents_bbox() const { return root_->get_contents_bbox(); }

    // As Split_Box_Tree: by any of the five queries, with the callback behind it.
    template<class... Query_And_Callback>
    bool apply(SUniv* user, const Query_And_Callback&... rest) const {
        return root_->apply(user, rest..., ++stamp_);
    }

private:
    static void take_out(BSplit_Box_Tree_Entry* entry) {
        while (entry->nodes.count() > 0) (*entry->nodes.get_one_item())->remove(entry, nullptr);
    }

    inline static int stamp_ = 0;

    int split_, max_level_, limit_;
    Bbox bounds_;
    BSplit_Box_Tree_Node* root_;
    Hash_Table<SUniv*, BSplit_Box_Tree_Entry*> entries_;
    BSplit_Box_Tree_Node::Pending pending_;
};

#endif
