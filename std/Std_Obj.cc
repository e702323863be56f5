#include "std/Std_Obj.h"

#include "std/Std_Compare.h"

int Std_Obj::instance_counter = 0;

int Std_Obj::next_instance_id() {
    // Past 2^31 objects the counter goes on through the negative numbers.
    instance_counter = static_cast<int>(static_cast<unsigned int>(instance_counter) + 1u);
    return instance_counter;
}

unsigned int Std_Obj::get_hash() const {
    return int_hash(instance_id_);
}
