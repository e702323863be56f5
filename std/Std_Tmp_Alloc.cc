#include "std/Std_Tmp_Alloc.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <gc.h>
#include <gc/gc_mark.h>
#include <iterator>
#include <mutex>

#include "std/Std_Assert.h"

using Pool = STD_TMP_ALLOC_POOL_T;
using Block = STD_TMP_ALLOC_BLOCK_T;

static const std::size_t unit = 4;
static const std::size_t least_block_size = 256;

constinit Pool* Pool::active_pools = nullptr;

// No block of any pool lies outside. The bounds only widen while there are pools: most addresses
// that are asked for are not of a pool, and many are told by this alone.
static std::atomic<const char*> lowest = nullptr;
static std::atomic<const char*> highest = nullptr;

// Held while the lists change or are searched: any thread may delete, and then searches. Nothing is
// allocated or freed under it, since that may run a cleanup, which may delete. A collection reads
// the lists without it, the threads being stopped at any place: each link is made last.
static std::mutex pools_in_change;

// Makes a link at once, behind all that was written before.
template<class T>
static void link(T*& from, T* to) {
    std::atomic_ref(from).store(to);
}

static void* allocate(std::size_t size) {
    void* const memory = std_try_uncollectable(size);
    if (!memory) std_assert(-1, "Out of memory", __FILE__, __LINE__);
    return memory;
}

static std::size_t size_of(const Block* block) {
    return static_cast<std::size_t>(block->end - block->start);
}

static Block* new_block(std::size_t size, Block* next) {
    auto* const block = static_cast<Block*>(allocate(sizeof(Block)));
    block->next = next;
    block->start = block->cursor = static_cast<char*>(allocate(size));
    block->end = block->start + size;
    return block;
}

// Under the lock.
static void widen_bounds(const Block* block) {
    const char* const low = lowest;
    if (!low || block->start < low) lowest = block->start;
    if (block->end > highest) highest = block->end;
}

#ifndef NOLT_PLAIN_HEAP
static GC_push_other_roots_proc push_earlier_roots = nullptr;

// The collector reads blocks at multiples of 8 only, but behind an odd number of units pointers
// stand between those: they are shown to it in a copy, of which nothing stays on the stack, where
// it would keep targets alive the next time.
[[gnu::noinline]] static void push_words_between(const Block* block) {
    void* words[256];
    const char* from = block->start + unit;
    // The words that begin in the middle of those which the collector reads are one fewer.
    std::size_t left = size_of(block) / sizeof(void*) - 1;
    while (left != 0) {
        const std::size_t count = std::min(left, std::size(words));
        std::memcpy(words, from, count * sizeof(void*));
        GC_push_all_eager(words, words + count);
        from += count * sizeof(void*);
        left -= count;
    }
    explicit_bzero(words, sizeof words);
}

static void push_words_between_in_all_blocks() {
    if (push_earlier_roots) push_earlier_roots();
    for (const Pool* pool = Pool::active_pools; pool; pool = pool->next) {
        for (const Block* block = pool->first_block; block; block = block->next)
            push_words_between(block);
    }
}
#endif

static void begin_to_push_words_between() {
#ifndef NOLT_PLAIN_HEAP
    static const bool has_begun = [] {
        push_earlier_roots = GC_get_push_other_roots();
        GC_set_push_other_roots(push_words_between_in_all_blocks);
        return true;
    }();
    (void)has_begun;
#endif
}

Pool* std_tmp_alloc_new_pool(std::size_t size) {
    auto* const pool = static_cast<Pool*>(allocate(sizeof(Pool)));
    begin_to_push_words_between();
    pool->first_block = pool->current_block = new_block(std::max(size, least_block_size), nullptr);
    const std::lock_guard lock(pools_in_change);
    widen_bounds(pool->first_block);
    pool->next = Pool::active_pools;
    if (pool->next) pool->next->previous = pool;
    link(Pool::active_pools, pool);
    return pool;
}

// `size` as the caller gave it.
void* std_tmp_alloc_in_next_block(Pool* pool, std::size_t size) {
    if (size > PTRDIFF_MAX / 2 - unit) std_assert(-1, "Out of memory", __FILE__, __LINE__);
    size = (size + unit - 1) / unit * unit;
    Block* const full = pool->current_block;
    // Behind a reset there are blocks to come, which may be too small for this request: one is put
    // in front of them, for smaller ones that follow.
    Block* block = full->next;
    if (!block || size >= size_of(block)) {
        std::size_t new_size = std::max(least_block_size, 2 * size);
        if (!block) new_size = std::max(new_size, size_of(pool->first_block));
        block = new_block(new_size, block);
        const std::lock_guard lock(pools_in_change);
        widen_bounds(block);
        link(full->next, block);
    }
    pool->current_block = block;
    block->cursor = block->start + size;
    return block->start;
}

void std_tmp_reset_pool(Pool* pool) {
    pool->current_block = pool->first_block;
    pool->first_block->cursor = pool->first_block->start;
    // The cursors of later blocks are reset when their turn comes.
    for (Block* block = pool->first_block; block; block = block->next)
        std::memset(block->start, 0, size_of(block));
}

static void unlink(Pool* pool) {
    const std::lock_guard lock(pools_in_change);
    if (pool->previous) {
        link(pool->previous->next, pool->next);
    } else {
        link(Pool::active_pools, pool->next);
    }
    if (pool->next) pool->next->previous = pool->previous;
    if (!Pool::active_pools) lowest = highest = nullptr;
}

void std_tmp_free_pool(Pool* pool) {
    unlink(pool);
    Block* next;
    for (Block* block = pool->first_block; block; block = next) {
        next = block->next;
        // The pool is out of the list, so delete frees its memory like any other.
        std_release(block->start);
        std_release(block);
    }
    std_release(pool);
}

Pool* std_tmp_get_pool(const void* p) {
    const auto* const at = static_cast<const char*>(p);
    if (!at || at < lowest || at >= highest) return nullptr;
    const std::lock_guard lock(pools_in_change);
    for (Pool* pool = Pool::active_pools; pool; pool = pool->next) {
        for (const Block* block = pool->first_block; block; block = block->next) {
            if (block->start <= at && at < block->end) return pool;
        }
    }
    return nullptr;
}
