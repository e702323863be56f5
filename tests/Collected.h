// What the collector takes.
#ifndef TESTS_COLLECTED_H
#define TESTS_COLLECTED_H

#include <gc.h>

#include "std/Std_GC.h"
#include "tests/Test.h"

// A block that counts itself once it is taken.
inline void* counted_block(int* gone) {
    const auto count = [](void*, void* counter) { ++*static_cast<int*>(counter); };
    return ::operator new(48, GC, count, gone);
}

inline void collect() {
    GC_gcollect();
    GC_invoke_finalizers();
}

#endif
