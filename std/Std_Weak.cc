// 1. The collector decides who is alive while all threads stand, and clears the links to the others
//    when they run again, but under its lock: a link that is read without the lock may lead to
//    what is about to be reused.
// 2. delete leaves links as they are. The memory stays readable until the next collection has
//    cleared them; it reads as zero, or is in use again: the instance id tells. It is read by its
//    address, since there may be no object any more.
#include "std/Std_Weak.h"

#include <gc.h>

#include "std/Std_Collector.h"
#include "std/Std_Obj.h"

Std_Weak_Cell* Std_Weak_Cell::make(void* target, const Std_Obj* object) {
    auto* const cell = new (GCAtomic) Std_Weak_Cell(target, &object->instance_id_);
#ifndef NOLT_PLAIN_HEAP
    if (void* const block = GC_base(target))
        if (GC_general_register_disappearing_link(&cell->target_, block) == GC_NO_MEMORY)
            std_out_of_memory(sizeof *cell);
#endif
    return cell;
}

void* Std_Weak_Cell::read() const {
#ifdef NOLT_PLAIN_HEAP
    return target_;
#else
    // What is found is for this thread to keep: the collector has to know it.
    Std_Collector::meet();
    const auto read = [](void* link) { return *static_cast<void**>(link); };
    return GC_call_with_alloc_lock(read, const_cast<void**>(&target_));
#endif
}

void* Std_Weak_Cell::get() const {
    void* const target = read();
    return target && *id_place_ == id_ ? target : nullptr;
}
