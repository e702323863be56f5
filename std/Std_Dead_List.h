// What is left to do for objects that the collector has dropped, as a list that a thread of the
// program's choice takes: names of buffers and textures that only the thread of a renderer may
// give back.
//
//     Std_Dead_List dead;                            // a member of the renderer
//     dead.add(list, buffer);                        // once the mesh `list` has been uploaded
//     ...
//     std::uint64_t name;
//     while (dead.take(&name)) delete_buffer(name);  // in each frame
//
// Each object may be added several times. Nothing runs when an object goes, so objects that reach
// one another in a ring, as a node and its world do, go like others: no cleanup (see
// std/Std_GC_Cleanup.h) could tell of them. When an object counts as gone: see std/Std_Weak.h,
// also for where a list may stand and which objects it may be given.
// Any thread may call any operation, but no cleanup may.
// Cost: of an entry, 48 bytes and one in a table of the collector; of take, the collector's lock,
// and after a collection a look at each entry.
#ifndef STD_STD_DEAD_LIST_H
#define STD_STD_DEAD_LIST_H

#include <cstdint>
#include <mutex>

#include "std/Std_Obj.h"
#include "std/Std_Weak.h"

class Std_Dead_List {
public:
    Std_Dead_List() = default;
    Std_Dead_List(const Std_Dead_List&) = delete;
    Std_Dead_List& operator=(const Std_Dead_List&) = delete;

    // `payload` is to be taken when `object` is gone. Null is ignored.
    void add(Std_Obj* object, std::uint64_t payload);

    // The payload of an object that is gone, each once, in no particular order. False if there is
    // none: what has gone since the last collection is not known yet.
    bool take(std::uint64_t* payload);

    // Of objects that live, as far as is known, or have not been taken.
    int count() const;

private:
    struct Entry {
        Std_Weak<Std_Obj> object;
        std::uint64_t payload;
    };
    void grow();

    mutable std::mutex changing_;
    Entry* entries_ = nullptr; // collected and scanned
    int count_ = 0, room_ = 0;
    int next_ = 0; // those from here on have not been looked at since the collection of that number
    std::uint64_t collection_ = 0;
};

#endif
