// Numbers for names: each distinct text gets one, in both directions.
//
//     Unique_Id materials;
//     unsigned int red = materials.id("red");  // 1
//     materials.id("blue");                    // 2
//     materials.id("red");                     // 1 again
//     puts(materials.name(red));
//
// Numbers count up from 1; 0 is never issued. Texts are copied.
#ifndef BASE_UNIQUE_ID_H
#define BASE_UNIQUE_ID_H

#include <cstdint>
#include <iosfwd>

#include "base/Hash_Table.h"

class Unique_Id : public Std_Obj {
    STD_OBJ_CLASS(Unique_Id, Std_Obj)

    Unique_Id();

    // The number of `name`, a new one at first sight. 0 for null.
    unsigned int id(const char* name);

    // Lifetime: that of this object. On failure: null.
    const char* name(unsigned int id);

    bool has_id(unsigned int id) const { return names_.has(id); }
    bool has_name(const char* name) const { return name && ids_.has(name); }

private:
    friend std::ostream& operator<<(std::ostream& out, const Unique_Id& ids);

    Hash_Table<const char*, unsigned int> ids_;
    Hash_Table<unsigned int, const char*> names_; // the same copies of the texts
    std::uint32_t last_id_ = 0;
};

// "( < a, 2> < b, 1> )", in the order of the table's cells.
std::ostream& operator<<(std::ostream& out, const Unique_Id& ids);
// "Nil" for null.
std::ostream& operator<<(std::ostream& out, const Unique_Id* ids);

#endif
