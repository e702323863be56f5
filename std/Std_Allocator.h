// Containers of the C++ library in memory of this one.
//
//     std::vector<WDB_Node*, std_allocator<WDB_Node*>> picked;         // keeps its nodes alive
//     std::vector<float, std_atomic_allocator<float>> heights;         // never scanned
//
// The memory is the container's own, wherever that stands: it goes when the container gives it
// back, and not before. A container inside a collected object is destroyed only if the object is
// deleted; there Gap_List and Plain_Array serve better, which are collected with it.
// On failure: running out of memory is a fatal report.
#ifndef STD_STD_ALLOCATOR_H
#define STD_STD_ALLOCATOR_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "std/Std_GC.h"

template<class T, void* (*Take)(std::size_t)>
class Std_Basic_Allocator {
public:
    using value_type = T;
    template<class U>
    struct rebind {
        using other = Std_Basic_Allocator<U, Take>;
    };

    Std_Basic_Allocator() = default;
    template<class U>
    Std_Basic_Allocator(const Std_Basic_Allocator<U, Take>&) {}

    T* allocate(std::size_t n) {
        static_assert(alignof(T) <= alignof(std::max_align_t), "the collector aligns to no more");
        const std::size_t most = PTRDIFF_MAX; // which is not to be had, as more is not
        return static_cast<T*>(Take(n > most / sizeof(T) ? most : n * sizeof(T)));
    }
    void deallocate(T* p, std::size_t) { std_release(p); }
    template<class U>
    bool operator==(const Std_Basic_Allocator<U, Take>&) const {
        return true;
    }
};

inline void* std_allocate_scanned(std::size_t size) {
    return operator new(size, NoGC);
}

// Pointers in the elements keep their targets alive.
template<class T>
using std_allocator = Std_Basic_Allocator<T, std_allocate_scanned>;

// For elements without pointers to collected memory.
template<class T>
using std_atomic_allocator = Std_Basic_Allocator<T, std_allocate_owned>;
template<class T>
using Std_Plain_Vector = std::vector<T, std_atomic_allocator<T>>;

#endif
