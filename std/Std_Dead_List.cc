#include "std/Std_Dead_List.h"

#include <algorithm>

#include "std/Std_Collector.h"
#include "std/Std_GC.h"

// At least doubled, so that all additions together are linear.
void Std_Dead_List::grow() {
    const int least = 64;
    room_ = std::max(least, 2 * room_);
    auto* const larger = new (std_gc) Entry[static_cast<std::size_t>(room_)];
    std::copy_n(entries_, count_, larger);
    std_release(entries_);
    entries_ = larger;
}

void Std_Dead_List::add(Std_Obj* object, std::uint64_t payload) {
    if (!object) return;
    const std::lock_guard lock(changing_);
    if (count_ == room_) grow();
    entries_[count_++] = {object, payload};
}

// Objects go in collections alone, so that between two of them one look at each entry is enough.
bool Std_Dead_List::take(std::uint64_t* payload) {
    const std::lock_guard lock(changing_);
    const std::uint64_t present = Std_Collector::collection_count();
    if (present != collection_) {
        collection_ = present;
        next_ = 0;
    }
    for (; next_ < count_; ++next_) {
        Entry& entry = entries_[next_];
        if (entry.object.get()) continue;
        *payload = entry.payload;
        entry = entries_[--count_];
        entries_[count_] = {};
        return true;
    }
    return false;
}

int Std_Dead_List::count() const {
    const std::lock_guard lock(changing_);
    return count_;
}
