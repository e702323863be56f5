#include "base/Unique_Id.h"

#include <ostream>

#include "std/Std_Common.h"
#include "std/Std_Compare.h"

Unique_Id::Unique_Id()
    : ids_(charptr_hash, charptr_equal, uint32_equal),
      names_(uint32_hash, uint32_equal, charptr_equal) {}

unsigned int Unique_Id::id(const char* name) {
    if (!name) return 0;
    if (ids_.find(name)) return *ids_.found_item();
    // One for both tables: the caller may change or drop the text.
    const char* const copy = str_new(name);
    ++last_id_;
    ids_.put(last_id_, copy);
    names_.put(copy, last_id_);
    return last_id_;
}

const char* Unique_Id::name(unsigned int id) {
    return names_.find(id) ? *names_.found_item() : nullptr;
}

std::ostream& operator<<(std::ostream& out, const Unique_Id& ids) {
    return out << ids.ids_;
}

std::ostream& operator<<(std::ostream& out, const Unique_Id* ids) {
    return ids ? out << *ids : out << "Nil";
}
