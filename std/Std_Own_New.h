// For programs with much memory of their own in std::vector and the like: leaves plain new and
// delete to malloc, so that the collector looks only through its own memory.
//
//     #include "std/Std_Own_New.h"
//     NOLT_OWN_NEW                      // in one source of the program, outside of all functions
//
// From then on nothing that plain new gave keeps an object of the library alive: a container of
// such pointers takes the std_allocator, and any other place outside the collector's memory a
// Std_Root. Where plain new finds no memory, that is a fatal report all the same.
#ifndef STD_STD_OWN_NEW_H
#define STD_STD_OWN_NEW_H

// Not there, unless the program says NOLT_OWN_NEW.
extern const char std_own_new [[gnu::weak, gnu::visibility("default")]];

#define NOLT_OWN_NEW const char std_own_new = 1;

#endif
