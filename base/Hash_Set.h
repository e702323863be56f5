// Set of one-word values: a Hash_Table whose items say nothing.
//
//     Hash_Set<const char*> names(charptr_hash, charptr_equal);
//     names.put("Sphere");
//     if (names.has("Sphere")) ...
//     for (Hash_Set_Iter<const char*> it(names); !it.off(); it.forth()) puts(*it());
//
// Order, cost, memory and what hash functions must keep to: base/Hash_Table.h.
#ifndef BASE_HASH_SET_H
#define BASE_HASH_SET_H

#include "base/Hash_Table.h"
#include "std/Std_Common.h"

template<class T>
class Hash_Set : public Std_Obj {
    STD_OBJ_CLASS_NAMED(Hash_Set, Std_Obj, "Hash_Set<T>")

    using Hash = unsigned int (*)(const T&);
    using Compare = bool (*)(const T&, const T&);

    // Null takes the defaults of Hash_Table: by word.
    explicit Hash_Set(Hash hash = nullptr, Compare compare = nullptr) : table_(hash, compare) {}

    // Null takes the default. Requires: an empty set.
    void set_hash(Hash hash) { table_.set_hash(hash); }
    void set_compare(Compare compare) { table_.set_key_equal(compare); }

    // A member that is equal is overwritten.
    void put(const T& member) { table_.put(YES, member); }
    bool has(const T& member) const { return table_.has(member); }
    // Does nothing if there is no such member.
    void remove(const T& member) { table_.remove(member); }
    int count() const { return table_.count(); }
    // Removes all and keeps the cells.
    void wipe_out() { table_.wipe_out(); }

    // The first member of a walk. Requires: a member.
    const T* get_one_item() const { return &table_.pairs_[table_.next_taken(0)].key; }

private:
    template<class>
    friend class Hash_Set_Iter;

    Hash_Table<T, bool> table_;
};

// Stands on one member after the other.
// Requires: no change of the set while walking.
template<class T>
class Hash_Set_Iter : public Hash_Table_Key_Iter<T, bool> {
public:
    explicit Hash_Set_Iter(const Hash_Set<T>& set) : Hash_Table_Key_Iter<T, bool>(set.table_) {}
};

#endif
