// The names of one scene file, each once.
//
//     Scene_Names names;
//     names.unused("Sphere");      // "Sphere"
//     names.unused("Sphere");      // "Sphere_1"
//     names.unused("Cube");        // "Cube"
//     names.unused("Cube");        // "Cube_2": one counter for all
//
// Worlds have millions of objects of one name. Numbers are given once, so no two names with a
// number of ours are alike; which were given is kept as runs of numbers of one name, and no text.
#ifndef WDB_SCENE_NAMES_H
#define WDB_SCENE_NAMES_H

#include <cstddef>
#include <string>

#include "base/Hash_Set.h"
#include "std/Std_Allocator.h"
#include "wdb/Secret_Hash.h"

class Scene_Names {
public:
    // `wanted`, or if the file holds that already, `wanted` with a number.
    // Lifetime: `wanted` itself, which must live as long as this object; with a number, to the next
    // call.
    const char* unused(const char* wanted);

    // `base` with the next number of which no name is known: "base_7". `base` lives as long as this
    // object, too, and something else must keep it alive.
    const char* unused_numbered(const char* base);

private:
    // Numbers from `first` to the next run belong to names that begin with `base`. One that has met
    // a name that was there is among them, and taken as well.
    struct Run {
        int first;
        const char* base;
    };

    bool is_numbered(const char* name, std::size_t base_length, int number) const;
    bool is_taken(const char* name); // from now on, if not before
    void form_numbered(const char* base);

    Hash_Set<const char*> given_{name_hash, name_equal}; // without a number of ours
    bool may_meet_ = false;                              // a given name looks like one of ours
    int count_ = 0;                                      // numbers so far
    Std_Plain_Vector<Run> runs_;
    std::string text_; // of the last name with a number
};

// How many signs at the start of `text` may stand in a name.
std::size_t scene_name_length(const char* text);

#endif
