#include "std/Std_Obj.h"

#include <atomic>

#include "std/Std_Compare.h"

constinit int Std_Obj::instance_counter = 0;

int Std_Obj::next_instance_id() {
    // Past 2^31 objects the counter goes on through the negative numbers.
    const int last = std::atomic_ref(instance_counter).fetch_add(1, std::memory_order_relaxed);
    return static_cast<int>(static_cast<unsigned int>(last) + 1u);
}

unsigned int Std_Obj::get_hash() const {
    return int_hash(instance_id_);
}
