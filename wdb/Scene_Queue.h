// The next nodes of a save, in the order of the walk. Internal.
//
// Those of a large world lie far from the processor's cache: asked for a few turns ahead, they are
// at hand when their turn comes.
#ifndef WDB_SCENE_QUEUE_H
#define WDB_SCENE_QUEUE_H

#include "wdb/WDB_Node.h"

class Scene_Queue {
public:
    bool is_empty() const { return put_ == taken_; }
    bool is_full() const { return put_ - taken_ == length; }

    // Requires: not full.
    void put(const WDB_Node* node) {
        nodes_[put_++ % length] = node;
        fetch(node);
        // Half way through the queue the node itself has arrived: its name can be asked for.
        if (put_ - taken_ > length / 2)
            __builtin_prefetch(nodes_[(put_ - length / 2) % length]->get_name());
    }
    // The first. Requires: not empty.
    const WDB_Node* take() { return nodes_[taken_++ % length]; }

private:
    static constexpr unsigned int length = 8;

    static void fetch(const WDB_Node* node) {
        const std::size_t cache_line = 64;
        const char* const bytes = reinterpret_cast<const char*>(node);
        for (std::size_t i = 0; i < sizeof *node; i += cache_line) __builtin_prefetch(bytes + i);
    }

    const WDB_Node* nodes_[length];
    // Nodes so far. They may wrap around: the length divides their range.
    unsigned int put_ = 0, taken_ = 0;
};

#endif
