#include "base/Index_Generator.h"

#include "std/Std_Assert.h"
#include "std/Std_Compare.h"

Index_Generator::Index_Generator() : recycled_(uint32_hash, uint32_equal) {}

unsigned int Index_Generator::next_index() {
    // Beyond lie 0, which is never issued, and then numbers that are in use.
    if (last_index_ == UINT32_MAX)
        std_assert(-1, "Index_Generator: no more numbers", __FILE__, __LINE__);
    return ++last_index_;
}

unsigned int Index_Generator::fresh() {
    // Old numbers first: they stay small, and index arrays without holes.
    if (recycled_.count() == 0) return next_index();
    const unsigned int index = *recycled_.get_one_item();
    recycled_.remove(index);
    return index;
}

void Index_Generator::wipe_out() {
    last_index_ = 0;
    recycled_.wipe_out();
}
