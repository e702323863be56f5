// Base of classes whose destructor runs when the collector drops them.
//
//     class Log_File : public Std_GC_Cleanup {
//         ~Log_File() override { fclose(file_); }
//     };
//     new Log_File(...);                       // closed some time after the last pointer goes
//
// The destructor runs inside any later allocation, so it should do little; what the object points
// to is still whole then. Objects that reach one another in a ring are never dropped. delete runs
// the destructor at once, and it does not run again.
// Nothing is registered for objects outside the collector's heap or in a pool: static ones, ones on
// the stack. Of several such objects in one block, as in an array, only the last one built is
// cleaned up. Not to be copied as bytes.
#ifndef STD_STD_GC_CLEANUP_H
#define STD_STD_GC_CLEANUP_H

#include "std/Std_GC.h"

class Std_GC_Cleanup : public virtual Std_GC {
public:
    // 0 leaves the object without, and takes away what `new` with a cleanup registered for it.
    explicit Std_GC_Cleanup(int enable = 1);
    // A copy is cleaned up too. Assignment changes nothing.
    Std_GC_Cleanup(const Std_GC_Cleanup&) : Std_GC_Cleanup(1) {}
    Std_GC_Cleanup& operator=(const Std_GC_Cleanup&) { return *this; }
    virtual ~Std_GC_Cleanup();

    // Runs the destructor of the Std_GC_Cleanup that stands `distance` bytes behind `object`; the
    // memory stays.
    static void gc_cleanup_callback(void* object, void* distance);

private:
    void clear_finaliser();
};

#endif
