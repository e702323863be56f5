// The default operators of the whole process: new of the kind NoGC, and delete as early release.
//
// 1. They are weak: a program may have its own. Which forms it replaces is its choice, so all forms
//    go to the simplest one, as those of the C++ library do, and meet the program's there.
// 2. How the program is linked decides who finds them. Where the C++ library has found other
//    operators than these, what the one allocates the other may free: then these leave plain new to
//    malloc, and delete looks whose a block is.
// 3. The collector, started, calls the probe below, which also draws this object out of an archive:
//    a sanitizer's operators would else come first.
#include "std/Std_New.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <stdexcept>

#include <gc.h>

#include "std/Std_Collector.h"
#include "std/Std_GC.h"
#include "std/Std_Own_New.h"
#include "std/Std_Report.h"
#include "std/Std_Tmp_Alloc.h"

namespace {
enum Plain_New { COLLECTED, OF_MALLOC, OF_ANOTHER };
} // namespace

// Set once, by the probe. What was allocated before is known by its address.
static constinit std::atomic<Plain_New> plain_new = COLLECTED;

static bool is_collected() {
    return plain_new.load(std::memory_order_relaxed) == COLLECTED;
}

void std_probe_plain_new() {
#ifndef NOLT_PLAIN_HEAP
    if (&std_own_new) {
        plain_new = OF_MALLOC;
        return;
    }
    void* const block = ::operator new(1);
    const bool is_ours = GC_base(block) != nullptr;
    ::operator delete(block);
    // Its text is allocated inside the C++ library.
    const std::runtime_error of_library("text");
    if (is_ours && GC_base(const_cast<char*>(of_library.what()))) return;
    std_warn(
        "Plain new is not the collector's: what only its memory points to will be lost. Link nolt "
        "into the program itself and in front of the C++ library, or keep such pointers by "
        "std_allocator and Std_Root");
    plain_new = is_ours ? OF_MALLOC : OF_ANOTHER;
#endif
}

static const std::size_t usual_alignment = alignof(std::max_align_t);

// On failure: null.
static void* try_malloc(std::size_t size, std::size_t alignment) {
    if (size == 0) size = 1;
    if (alignment <= usual_alignment) return std::malloc(size);
    void* block;
    return posix_memalign(&block, alignment, size) == 0 ? block : nullptr;
}

// No block is given before the probe: who takes it back is not known until then.
static bool is_to_be_collected() {
#ifndef NOLT_PLAIN_HEAP // where there is no probe, and no thread is known
    if (is_collected() && !Std_Collector::knows_this_thread()) const Std_Collector::Guest guest;
#endif
    return is_collected();
}

static void* try_new(std::size_t size) {
    if (is_to_be_collected()) return std_try_uncollectable(size);
    if (plain_new != OF_ANOTHER) return try_malloc(size, usual_alignment);
    try { // the program's may throw; this file alone has exceptions
        return ::operator new(size);
    } catch (...) {
        return nullptr;
    }
}

// Over-aligned blocks are cut out of larger ones, so that pointers in them are scanned too. The
// word in front of one names the larger block.
static void* try_new_aligned(std::size_t size, std::align_val_t alignment) {
    const std::size_t boundary = std::max(static_cast<std::size_t>(alignment), usual_alignment);
    if (!is_to_be_collected()) return try_malloc(size, boundary);
    if (size > SIZE_MAX - boundary) return nullptr;
    char* const block = static_cast<char*>(std_try_uncollectable(size + boundary));
    if (!block) return nullptr;
    char* const aligned = block + boundary - reinterpret_cast<std::uintptr_t>(block) % boundary;
    reinterpret_cast<void**>(aligned)[-1] = block;
    return aligned;
}

static bool is_of_malloc(void* p) {
    return !is_collected() && !GC_base(p);
}

[[gnu::weak]] void* operator new(std::size_t size) {
    if (is_to_be_collected()) return ::operator new(size, NoGC);
    void* const block = try_malloc(size, usual_alignment);
    return block ? block : std_out_of_memory(size);
}
[[gnu::weak]] void* operator new(std::size_t size, std::align_val_t a) {
    void* const block = try_new_aligned(size, a);
    return block ? block : std_out_of_memory(size);
}
[[gnu::weak]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return try_new(size);
}
[[gnu::weak]] void* operator new(std::size_t size, std::align_val_t a,
                                 const std::nothrow_t&) noexcept {
    return try_new_aligned(size, a);
}

[[gnu::weak]] void operator delete(void* p) noexcept {
    if (is_of_malloc(p)) {
        std::free(p);
    } else {
        std_release(p);
    }
}
[[gnu::weak]] void operator delete(void* p, std::align_val_t) noexcept {
    if (is_of_malloc(p)) {
        std::free(p);
    } else if (p && !std_tmp_pool_of(p)) {
        std_release(static_cast<void**>(p)[-1]);
    }
}

[[gnu::weak]] void* operator new[](std::size_t size) {
    return ::operator new(size);
}
[[gnu::weak]] void* operator new[](std::size_t size, std::align_val_t a) {
    return ::operator new(size, a);
}
[[gnu::weak]] void* operator new[](std::size_t size, const std::nothrow_t& none) noexcept {
    return ::operator new(size, none);
}
[[gnu::weak]] void* operator new[](std::size_t size, std::align_val_t a,
                                   const std::nothrow_t& none) noexcept {
    return ::operator new(size, a, none);
}
[[gnu::weak]] void operator delete[](void* p) noexcept {
    ::operator delete(p);
}
[[gnu::weak]] void operator delete(void* p, std::size_t) noexcept {
    ::operator delete(p);
}
[[gnu::weak]] void operator delete[](void* p, std::size_t) noexcept {
    ::operator delete[](p);
}
[[gnu::weak]] void operator delete[](void* p, std::align_val_t a) noexcept {
    ::operator delete(p, a);
}
[[gnu::weak]] void operator delete(void* p, std::size_t, std::align_val_t a) noexcept {
    ::operator delete(p, a);
}
[[gnu::weak]] void operator delete[](void* p, std::size_t, std::align_val_t a) noexcept {
    ::operator delete[](p, a);
}
