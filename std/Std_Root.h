// A pointer that keeps its target alive wherever it stands: in memory of malloc, of another
// library, in a thread_local of a plugin.
//
//     struct View { Std_Root<WDB_Database> world; };   // made by somebody else's allocator
//     view->world = wdb_load("town.3d", nullptr);
//     if (view->world) view->world->apply_to_nodes(draw, nullptr);
//
// The target is kept until the root is destroyed. Members of collected objects are not, unless the
// object is deleted: there a plain pointer serves.
// Cost: a block of the collector for each root, and of each root a collection looks at one word.
#ifndef STD_STD_ROOT_H
#define STD_STD_ROOT_H

#include "std/Std_GC.h"

template<class T>
class Std_Root {
public:
    // Null counts as no target.
    Std_Root(T* target = nullptr) : cell_(new (NoGC) T*) { *cell_ = target; }
    Std_Root(const Std_Root& other) : Std_Root(other.get()) {}
    Std_Root& operator=(const Std_Root& other) { return *this = other.get(); }
    Std_Root& operator=(T* target) {
        *cell_ = target;
        return *this;
    }
    ~Std_Root() { std_release(cell_); }

    T* get() const { return *cell_; }
    operator T*() const { return get(); }
    T* operator->() const { return get(); }
    T& operator*() const { return *get(); }

private:
    T** cell_; // uncollectable and scanned
};

#endif
