#include "std/Std_GC_Cleanup.h"

#include <cstdint>
#include <gc.h>

#include "std/Std_Collector.h"
#include "std/Std_Tmp_Alloc.h"

static void* distance(const void* block, const void* object) {
    return reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(object) -
                                   reinterpret_cast<std::uintptr_t>(block));
}

Std_GC_Cleanup::Std_GC_Cleanup(int enable) {
    if (!enable) {
        clear_finaliser();
        return;
    }
    void* const block = GC_base(this);
    // The block of a pool goes while nobody knows of the objects in it.
    if (!block || std_tmp_pool_of(this)) return;
    const Std_Collector::Guest guest;
    GC_register_finalizer(block, gc_cleanup_callback, distance(block, this), nullptr, nullptr);
}

Std_GC_Cleanup::~Std_GC_Cleanup() {
    clear_finaliser();
}

// At the start of a block any finaliser; farther in, only that of this object: another may be that
// of the whole block.
void Std_GC_Cleanup::clear_finaliser() {
    void* const block = GC_base(this);
    if (!block || std_tmp_pool_of(this)) return;
    GC_finalization_proc old = nullptr;
    void* old_data = nullptr;
    GC_register_finalizer(block, nullptr, nullptr, &old, &old_data);
    if (!old || block == this) return;
    if (old != gc_cleanup_callback || old_data != distance(block, this))
        GC_register_finalizer(block, old, old_data, nullptr, nullptr);
}

void Std_GC_Cleanup::gc_cleanup_callback(void* object, void* distance) {
    const Std_Cleanup_Scope scope;
    char* const at = static_cast<char*>(object) + reinterpret_cast<std::uintptr_t>(distance);
    reinterpret_cast<Std_GC_Cleanup*>(at)->~Std_GC_Cleanup();
}
