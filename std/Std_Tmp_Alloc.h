// Temporary pools: memory that is reset or freed as a whole, chosen as a placement.
//
//     STD_TMP_ALLOC_POOL_T* const pool = std_tmp_alloc_new_pool(64 * 1024);
//     auto* found = new (pool) Gap_List<WDB_Node*>;
//     int*  marks = new (pool) int[n];
//     delete found;                            // runs the destructor; the memory stays
//     std_tmp_reset_pool(pool);                // all of it may be used again
//     std_tmp_free_pool(pool);                 // and now it is gone
//
// A pool hands out the bytes of its present block one after the other, and goes on to a further
// block when one is full. Nothing is given back by itself: delete does nothing for memory of a
// pool, and no destructor or cleanup runs when a pool is reset or freed. What an object allocates
// for its parts, such as the cells of a list, is not in the pool unless it asks for
// std_get_subobject_placement, which answers the pool.
//
// Alignment: sizes are rounded up to 4 bytes and to nothing more. The first address of a block is a
// multiple of 16; who needs multiples of 8 or 16 takes only multiples of that from the pool.
// Memory: blocks are uncollectable and scanned; a pointer that stands in a pool, at any multiple of
// 4, keeps its target alive until it is overwritten, the pool is reset or the pool is freed.
// Memory reads as zero, also after a reset.
// While there are pools, each delete and each question for a placement looks whether the address
// lies in one: the blocks of all pools are searched one by one, unless the address lies below or
// above all of them.
// On failure: running out of memory, or a size that overflows, is the fatal report "Out of memory".
// A pool is used by one thread at a time; several may have pools of their own.
#ifndef STD_STD_TMP_ALLOC_H
#define STD_STD_TMP_ALLOC_H

#include <atomic>
#include <cstddef>

#include "std/Std_GC.h"

struct STD_TMP_ALLOC_BLOCK_T {
    STD_TMP_ALLOC_BLOCK_T* next;
    char* start;
    char* cursor; // start <= cursor < end: the last byte is never handed out
    char* end;
};

// The fields are for the operations below only.
struct STD_TMP_ALLOC_POOL_T {
    STD_TMP_ALLOC_POOL_T* next; // of all pools, the newest first
    STD_TMP_ALLOC_POOL_T* previous;
    STD_TMP_ALLOC_BLOCK_T* first_block;
    STD_TMP_ALLOC_BLOCK_T* current_block;

    // Changed by any thread that makes or frees a pool.
    static STD_TMP_ALLOC_POOL_T* active_pools;
};

// A pool with one block of `size` bytes, at least 256. Later blocks are not smaller than the first,
// except where one is put in between because the next is too small.
STD_TMP_ALLOC_POOL_T* std_tmp_alloc_new_pool(std::size_t size);

// `size` bytes, rounded up to a multiple of 4; null for 0.
// Cost: a test and an addition, unless the block is full.
void* std_tmp_alloc(STD_TMP_ALLOC_POOL_T* pool, std::size_t size);

// Zeroes the pool, which begins anew: it hands out the same addresses again. Blocks are kept.
// Cost: the size of all blocks.
void std_tmp_reset_pool(STD_TMP_ALLOC_POOL_T* pool);

// Lifetime: ends that of the pool and of everything in it.
void std_tmp_free_pool(STD_TMP_ALLOC_POOL_T* pool);

// The pool in whose memory `p` lies, or null.
STD_TMP_ALLOC_POOL_T* std_tmp_get_pool(const void* p);

// The part of std_tmp_alloc that callers do not expand in place.
[[gnu::cold]] void* std_tmp_alloc_in_next_block(STD_TMP_ALLOC_POOL_T* pool, std::size_t size);

// std_tmp_get_pool at the cost of one test where there is no pool at all.
inline STD_TMP_ALLOC_POOL_T* std_tmp_pool_of(const void* p) {
    const std::atomic_ref pools(STD_TMP_ALLOC_POOL_T::active_pools);
    return pools.load(std::memory_order_acquire) ? std_tmp_get_pool(p) : nullptr;
}

inline void* std_tmp_alloc(STD_TMP_ALLOC_POOL_T* pool, std::size_t size) {
    if (size == 0) return nullptr;
    STD_TMP_ALLOC_BLOCK_T& block = *pool->current_block;
    const std::size_t rounded = (size + 3) & ~std::size_t{3}; // 0 if it overflows
    if (rounded - 1 >= static_cast<std::size_t>(block.end - block.cursor) - 1)
        return std_tmp_alloc_in_next_block(pool, size);
    void* const memory = block.cursor;
    block.cursor += rounded;
    return memory;
}

#endif
