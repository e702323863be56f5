#include "std/Std_GC.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <gc.h>

#include "std/Std_Assert.h"
#include "std/Std_Collector.h"
#include "std/Std_Common.h"
#include "std/Std_Tmp_Alloc.h"

int Std_GC::is_debugging = 0;

// While the thread asks for memory whose lack it reports itself.
static thread_local bool is_null_welcome = false;

void* std_out_of_memory(std::size_t size) {
    if (is_null_welcome) return nullptr;
    std_assert(-1, str_format("Out of memory: %zu bytes are not to be had", size), __FILE__,
               __LINE__);
    return nullptr;
}

Std_Cleanup_Scope::Std_Cleanup_Scope() : was_welcome_(std::exchange(is_null_welcome, false)) {}

Std_Cleanup_Scope::~Std_Cleanup_Scope() {
    is_null_welcome = was_welcome_;
}

// A program that links the library has its first thread start the collector, whatever the others
// do later.
static const bool started_with_the_program = (Std_Collector::meet(), true);

#ifdef NOLT_PLAIN_HEAP
// For the fuzzers, who watch the blocks of malloc: an overrun inside the collector's heap would go
// unseen. Nothing is collected and no cleanup is called.
static void* allocate(std::size_t size, STD_TMP_ALLOC_POOL_T*, void (*)(void*, void*), void*) {
    void* const block = std::calloc(1, size ? size : 1);
    return block ? block : std_out_of_memory(size);
}

void* std_allocate_unfilled(std::size_t size) {
    return allocate(size, GCAtomic, nullptr, nullptr);
}

static void release(void* p) {
    std::free(p);
}

#else
static void release(void* p) {
    GC_free(p);
}

// Null counts as GC.
static bool is_pool(STD_TMP_ALLOC_POOL_T* placement) {
    return placement > NoGCAtomic;
}

namespace {
// What a program gave with a block, kept by the collector for as long as the block.
struct Cleanup {
    void (*call)(void* block, void* client_data);
    void* client_data;
};
} // namespace

static void call_cleanup(void* block, void* cleanup) {
    const Std_Cleanup_Scope scope;
    const Cleanup& c = *static_cast<const Cleanup*>(cleanup);
    c.call(block, c.client_data);
}

// NoGCAtomic is scanned like NoGC; std_allocate_owned is not.
static void* allocate_known(std::size_t size, STD_TMP_ALLOC_POOL_T* placement,
                            void (*cleanup)(void*, void*), void* client_data) {
    if (placement == NoGC || placement == NoGCAtomic) return GC_malloc_uncollectable(size);
    void* block;
    if (placement == GCAtomic) {
        // The one kind that the collector does not clear.
        block = GC_malloc_atomic(size);
        if (size != 0) std::memset(block, 0, size);
    } else {
        block = GC_malloc(size);
    }
    if (cleanup) {
        auto* const c = static_cast<Cleanup*>(GC_malloc(sizeof(Cleanup)));
        *c = {cleanup, client_data};
        GC_register_finalizer(block, call_cleanup, c, nullptr, nullptr);
    }
    return block;
}

// Out of line: a thread comes here once, the ends of threads apart.
[[gnu::cold, gnu::noinline]] static void* allocate_for_guest(std::size_t size,
                                                             STD_TMP_ALLOC_POOL_T* placement,
                                                             void (*cleanup)(void*, void*),
                                                             void* client_data) {
    const Std_Collector::Guest guest;
    return allocate_known(size, placement, cleanup, client_data);
}

static void* allocate(std::size_t size, STD_TMP_ALLOC_POOL_T* placement,
                      void (*cleanup)(void*, void*), void* client_data) {
    if (is_pool(placement)) return std_tmp_alloc(placement, size);
    if (!Std_Collector::knows_this_thread())
        return allocate_for_guest(size, placement, cleanup, client_data);
    return allocate_known(size, placement, cleanup, client_data);
}

void* std_allocate_unfilled(std::size_t size) {
    if (Std_Collector::knows_this_thread()) return GC_malloc_atomic(size);
    const Std_Collector::Guest guest;
    return GC_malloc_atomic(size);
}
#endif

void* operator new(std::size_t size, STD_TMP_ALLOC_POOL_T* placement, void (*cleanup)(void*, void*),
                   void* client_data) {
    return allocate(size, placement, cleanup, client_data);
}

void* operator new[](std::size_t size, STD_TMP_ALLOC_POOL_T* placement,
                     void (*cleanup)(void*, void*), void* client_data) {
    return allocate(size, placement, cleanup, client_data);
}

void operator delete(void* p, STD_TMP_ALLOC_POOL_T*, void (*)(void*, void*), void*) noexcept {
    std_release(p);
}

void operator delete[](void* p, STD_TMP_ALLOC_POOL_T*, void (*)(void*, void*), void*) noexcept {
    std_release(p);
}

void* Std_GC::operator new(std::size_t size) {
    return allocate(size, GC, nullptr, nullptr);
}
void* Std_GC::operator new[](std::size_t size) {
    return allocate(size, GC, nullptr, nullptr);
}
void* Std_GC::operator new(std::size_t size, STD_TMP_ALLOC_POOL_T* placement) {
    return allocate(size, placement, nullptr, nullptr);
}
void* Std_GC::operator new[](std::size_t size, STD_TMP_ALLOC_POOL_T* placement) {
    return allocate(size, placement, nullptr, nullptr);
}

void std_release(void* p) noexcept {
    if (p && !std_tmp_pool_of(p)) release(p);
}

void* std_try_uncollectable(std::size_t size) {
    is_null_welcome = true;
    void* const block = allocate(size, NoGC, nullptr, nullptr);
    is_null_welcome = false;
    return block;
}

void* std_allocate_owned(std::size_t size) {
#ifdef NOLT_PLAIN_HEAP
    return allocate(size, NoGCAtomic, nullptr, nullptr);
#else
    if (Std_Collector::knows_this_thread()) return GC_malloc_atomic_uncollectable(size);
    const Std_Collector::Guest guest;
    return GC_malloc_atomic_uncollectable(size);
#endif
}

Std_Heap_Watch::Std_Heap_Watch() {
    Std_Collector::meet();
    // Of the heap; with less than this free, the next step would begin with a collection.
    const std::size_t free_share = 8;
    const std::size_t heap = GC_get_heap_size();
    // Growing by little at a time would mean a collection at almost every step.
    if (GC_get_free_bytes() < heap / free_share) GC_expand_hp(heap / 2);
    size_ = GC_get_heap_size();
    taken_ = GC_get_total_bytes();
}

void Std_Heap_Watch::collect_if_grown() const {
    const std::size_t little = std::size_t(1) << 20;
    if (GC_get_heap_size() != size_ && GC_get_total_bytes() - taken_ > little) GC_gcollect();
}

void std_expect(std::size_t bytes) {
    Std_Collector::meet();
    const std::size_t free_bytes = GC_get_free_bytes();
    if (bytes > free_bytes) GC_expand_hp(bytes - free_bytes);
}

STD_TMP_ALLOC_POOL_T* std_get_placement(const void* p) {
    if (STD_TMP_ALLOC_POOL_T* const pool = std_tmp_pool_of(p)) return pool;
    Std_Collector::meet();
    return GC_base(const_cast<void*>(p)) ? GC : nullptr;
}

STD_TMP_ALLOC_POOL_T* std_get_subobject_placement(const void* p) {
    STD_TMP_ALLOC_POOL_T* const pool = std_tmp_pool_of(p);
    return pool ? pool : GC;
}
