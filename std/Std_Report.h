// Reports with the place of the call, in short. Internal.
//
//     std_tell("Converting from VRML");
#ifndef STD_STD_REPORT_H
#define STD_STD_REPORT_H

#include "std/Std_Assert.h"

inline void std_tell(const char* message, const char* file = __builtin_FILE(),
                     int line = __builtin_LINE()) {
    std_assert(0, message, file, line);
}

inline void std_warn(const char* message, const char* file = __builtin_FILE(),
                     int line = __builtin_LINE()) {
    std_assert(2, message, file, line);
}

#endif
