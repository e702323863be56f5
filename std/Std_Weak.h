// A pointer that does not keep its target alive, and is null once the target is gone.
//
//     Std_Weak<WDB_Texture> shown = texture;
//     ...
//     if (WDB_Texture* const t = shown.get()) draw(t);     // kept as long as t is in use
//     else forget_it();
//
// The target is an object of the Std_Obj family; gone means that the collector has found that
// nobody points to it, or that it was deleted. Between the last pointer and that finding lies any
// time. Objects in pools, on the stack or static are found by nobody: their weak pointers must not
// be asked when they are gone. Nor is a delete noticed of objects in GCAtomic memory or of more
// than 2 KB.
//
// Copies are as cheap as those of a pointer, and may be asked by any thread while others copy and
// ask them. A weak pointer stands where the collector looks, as a plain pointer has to; elsewhere
// a Std_Root<Std_Weak<T>> keeps one that was made by new (GC).
// Cost: of one made from a pointer, a block of 32 bytes and an entry in a table of the collector;
// of get, the collector's lock.
#ifndef STD_STD_WEAK_H
#define STD_STD_WEAK_H

#include "std/Std_GC.h"

class Std_Obj;

// The target of a weak pointer and its copies, in memory that is not scanned. Internal.
class Std_Weak_Cell {
public:
    // Requires: `target` is `object`, which is not null, as its own class has it.
    static Std_Weak_Cell* make(void* target, const Std_Obj* object);

    // The target; null once it is gone.
    void* get() const;

private:
    Std_Weak_Cell(void* target, const int* id_place)
        : target_(target), id_place_(id_place), id_(*id_place) {}
    void* read() const;

    void* target_;              // the collector clears it
    const int* const id_place_; // in the target
    const int id_;
};

template<class T>
class Std_Weak {
public:
    // Null counts as no target.
    Std_Weak(T* target = nullptr)
        : cell_(target ? Std_Weak_Cell::make(const_cast<void*>(static_cast<const void*>(target)),
                                             target)
                       : nullptr) {}

    // The target; null for none, and once it is gone.
    T* get() const { return cell_ ? static_cast<T*>(cell_->get()) : nullptr; }

private:
    Std_Weak_Cell* cell_;
};

#endif
