// Hands out numbers for use and takes them back.
//
//     Index_Generator slots;
//     unsigned int a = slots.fresh();          // 1
//     unsigned int b = slots.fresh();          // 2
//     slots.recycle(a);
//     slots.fresh();                           // 1 again
//     slots.fresh();                           // 3
#ifndef BASE_INDEX_GENERATOR_H
#define BASE_INDEX_GENERATOR_H

#include <cstdint>

#include "base/Hash_Set.h"

class Index_Generator : public Std_Obj {
    STD_OBJ_CLASS(Index_Generator, Std_Obj)

    Index_Generator();

    // A number that is not in use: one that was given back, else one more than the highest so far,
    // from 1 on.
    // Order: that of the cells of a table with uint32_hash, not that of recycling.
    // On failure: a fatal report, after 2^32 - 1 numbers.
    unsigned int fresh();

    // Gives `index` back; twice is as good as once.
    // Requires: that it was issued.
    void recycle(unsigned int index) { recycled_.put(index); }

    // Begins anew, at 1.
    void wipe_out();

private:
    unsigned int next_index();

    std::uint32_t last_index_ = 0;
    Hash_Set<unsigned int> recycled_;
};

#endif
