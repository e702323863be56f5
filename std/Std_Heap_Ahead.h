// Keeps the pages of small objects from being fetched under the collector's lock.
//
//     Std_Heap_Ahead ahead;                // for as long as the work lasts
//     while (more()) {
//         ahead.step();
//         make_objects();
//     }
//
// The collector cuts a page into small objects while it holds its lock. If nobody has touched that
// page yet, the system has to find and clear it first, which takes many times as long, and all
// other threads wait. So the work touches the pages that come next by itself, without the lock:
// those of one stretch, when it has taken as much, so that small works touch none. Internal.
#ifndef STD_STD_HEAP_AHEAD_H
#define STD_STD_HEAP_AHEAD_H

#include <cstddef>

class Std_Heap_Ahead {
public:
    Std_Heap_Ahead();

    // Between two steps of the work. Cost: a comparison, but once in a stretch.
    void step();

private:
    std::size_t seen_; // bytes that the process had taken when a stretch was touched last
};

#endif
