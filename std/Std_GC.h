// Memory: every block of this library comes from the conservative collector.
//
//     int*   counts = new (GCAtomic) int[n];     // no pointers inside: never scanned
//     Node** nodes  = new (GC) Node*[n];         // collected and scanned
//     auto*  node   = new WDB_Node(...);         // the Std_Obj family: GC by default
//
// Nobody owns collected memory: drop the last pointer and the block goes. delete of an object of
// the family, and std_release of any block, is an early release and always optional.
//
// Plain new of classes outside the family is NoGC: scanned, so pointers in it keep their targets,
// but freed only by delete. So it is where the program itself links the library and neither brings
// operators of its own nor asks for malloc by std/Std_Own_New.h; other ways of linking stand in
// docs/linking.md, and where it is not so unasked, one warning at the start says it. Memory of
// malloc is invisible to the collector: never keep the only pointer to an object there, but a
// Std_Root, or a container with the std_allocator.
//
// A placement other than these four is a pool (std/Std_Tmp_Alloc.h), whose memory
// goes only with the whole pool: releasing it does nothing.
//
// All blocks read as zero. Running out of memory ends the process with a fatal
// report, so that nobody need ask for null; only nothrow new and std_try_uncollectable
// answer it. Usable at any time, also while
// static objects of other files are being built.
//
// Threads: any thread may allocate and free, whoever started it. The collector knows a thread from
// its first allocation to its end, and stops it now and then by the signals SIGPWR and SIGXCPU,
// which it must not block after that. It needs 40 KB of stack to allocate, and 56 KB to load or
// save. A thread that has never allocated, and destructors of thread-specific data, must not hold
// the only pointer to a block. A thread_local of the program keeps its targets; one of a shared
// library may not. An object of this library is changed by one thread at a time, and nobody asks it
// meanwhile; const operations may run at once. Free functions may run at once with objects and
// files of their own.
// Cleanups run in whichever thread allocates.
#ifndef STD_STD_GC_H
#define STD_STD_GC_H

#include <cstddef>
#include <new>

struct STD_TMP_ALLOC_POOL_T;

// The kinds of memory. These are reserved values: nothing stands behind them.
//
// X11 has a type of the name GC. Where its headers come before ours, or NOLT_NO_GC is defined so
// that they may come later, the name is left to them, and std_gc says the same.
inline STD_TMP_ALLOC_POOL_T* const std_gc = reinterpret_cast<STD_TMP_ALLOC_POOL_T*>(1);
#if !defined(NOLT_NO_GC) && !defined(_X11_XLIB_H_)
inline STD_TMP_ALLOC_POOL_T* const GC = std_gc;
#endif
inline STD_TMP_ALLOC_POOL_T* const NoGC = reinterpret_cast<STD_TMP_ALLOC_POOL_T*>(2);
inline STD_TMP_ALLOC_POOL_T* const GCAtomic = reinterpret_cast<STD_TMP_ALLOC_POOL_T*>(3);
inline STD_TMP_ALLOC_POOL_T* const NoGCAtomic = reinterpret_cast<STD_TMP_ALLOC_POOL_T*>(4);

// Memory of the kind `placement`, or of that pool. A `cleanup` is called with
// the block and `client_data` before the block is collected; kinds that are not
// collected, and pools, ignore it.
void* operator new(std::size_t size, STD_TMP_ALLOC_POOL_T* placement,
                   void (*cleanup)(void*, void*) = nullptr, void* client_data = nullptr);
void* operator new[](std::size_t size, STD_TMP_ALLOC_POOL_T* placement,
                     void (*cleanup)(void*, void*) = nullptr, void* client_data = nullptr);
void operator delete(void* p, STD_TMP_ALLOC_POOL_T* placement, void (*cleanup)(void*, void*),
                     void* client_data) noexcept;
void operator delete[](void* p, STD_TMP_ALLOC_POOL_T* placement, void (*cleanup)(void*, void*),
                       void* client_data) noexcept;

// Releases a block of any kind at once; nothing happens for memory of a pool. Null is allowed.
void std_release(void* p) noexcept;

// Base of all classes that plain new puts into collected memory.
class Std_GC {
public:
    // Offered to programs; nothing in the library reads it.
    static int is_debugging;

    static void* operator new(std::size_t size);
    static void* operator new[](std::size_t size);
    static void* operator new(std::size_t size, STD_TMP_ALLOC_POOL_T* placement);
    static void* operator new[](std::size_t size, STD_TMP_ALLOC_POOL_T* placement);
    // The collector aligns to 16 bytes and no more.
    static void* operator new(std::size_t size, std::align_val_t) = delete;
    static void* operator new(std::size_t size, std::align_val_t, STD_TMP_ALLOC_POOL_T*) = delete;

    // As std_release. Always inline: compilers take a call of these for a mistake where they see
    // another operator new than this class's.
    [[gnu::always_inline]] static void operator delete(void* p) noexcept { std_release(p); }
    [[gnu::always_inline]] static void operator delete[](void* p) noexcept { std_release(p); }
};

// The pool that holds `p`; else GC for any address inside a block of the collector, null for other
// memory.
STD_TMP_ALLOC_POOL_T* std_get_placement(const void* p);

// For long work in steps, each of which may leave much behind: notes the size of the heap, which is
// grown ahead by half whenever little of it is free, so that steps rarely need it to grow.
class Std_Heap_Watch {
public:
    Std_Heap_Watch();

    // A full collection, if the heap has grown since; but not if so little was taken meanwhile that
    // another thread must have grown it: of two at work, each would collect for the other.
    void collect_if_grown() const;

private:
    std::size_t size_;  // of the heap
    std::size_t taken_; // by all since the start of the process
};

// For programs that know how much they are about to keep: takes address space for that many bytes
// at once, so that no collection interrupts the work and finds nothing. Memory is only taken as it
// comes into use, and what is too much to be had is left alone.
void std_expect(std::size_t bytes);

// How many threads look for what is in use while a collection holds all others back: one, unless
// the program says
//
//     NOLT_MARKERS(2)                 // in one source of it, outside of all functions
//
// With two, a collection among a million nodes takes half as long, where a second processor is
// free. Each more is a thread that the collector starts with the program, for good; processes that
// it forks have none.
extern const unsigned int std_markers [[gnu::weak, gnu::visibility("default")]];
#define NOLT_MARKERS(count) const unsigned int std_markers = count;

// The placement in which the object at `p` allocates its parts: the pool that holds it, else GC.
STD_TMP_ALLOC_POOL_T* std_get_subobject_placement(const void* p);

// GCAtomic memory that is not cleared, for those who fill it themselves. Never null.
void* std_allocate_unfilled(std::size_t size);

// NoGC memory, for those who report its lack themselves.
// On failure: null.
void* std_try_uncollectable(std::size_t size);

// Memory without pointers that is not cleared, and freed only by std_release. Never null.
void* std_allocate_owned(std::size_t size);

#endif
