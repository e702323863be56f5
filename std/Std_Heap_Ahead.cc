#include "std/Std_Heap_Ahead.h"

#include <sys/mman.h>

#include <gc.h>

#include "std/Std_Collector.h"

static const std::size_t stretch = std::size_t(256) << 10;

// Of a block that begins with a page, as large ones of the collector do.
static void touch_pages(char* block, std::size_t size) {
#ifdef MADV_POPULATE_WRITE
    // All in one call costs half as much. Where it fails the loop does it alone.
    madvise(block, size, MADV_POPULATE_WRITE);
#endif
    const std::size_t page = 4096; // where pages are larger, they are touched more than once
    for (std::size_t i = 0; i < size; i += page) *static_cast<volatile char*>(block + i) = 0;
}

Std_Heap_Ahead::Std_Heap_Ahead() {
    Std_Collector::meet();
    seen_ = GC_get_total_bytes();
}

void Std_Heap_Ahead::step() {
    if (GC_get_total_bytes() - seen_ < stretch) return;
    // A large block begins where the next small objects will lie, and goes back at once.
    if (void* const block = GC_malloc_atomic(stretch)) {
        touch_pages(static_cast<char*>(block), stretch);
        GC_free(block);
    }
    seen_ = GC_get_total_bytes();
}
