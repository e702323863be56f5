// The buffers of strings. Internal.
//
// Every function here takes the nil record for no buffer at all, answers the buffer that replaces
// `old`, and has released `old` if that is another one. Texts may lie in `old`.
// On failure: a fatal report, for texts that are longer than a string can be.
#ifndef STD_STD_STR_BUFFER_H
#define STD_STD_STR_BUFFER_H

#include <cstdint>
#include <cstring>

#include "std/Std_String.h"

namespace str_buffer {

inline bool is_nil(const Std_Str_Rep* rep) {
    return rep == &_nil_Std_Str_Rep;
}

void release(Std_Str_Rep* rep);

// The characters up to there must have been set, and there must be room.
inline void set_length(Std_Str_Rep* rep, int length) {
    rep->length = static_cast<unsigned short>(length);
    rep->text()[length] = '\0';
}

inline void copy(char* to, const char* from, int length) {
    if (to != from) std::memmove(to, from, static_cast<std::size_t>(length));
}

inline bool fits(const Std_Str_Rep* rep, long long length) {
    return !is_nil(rep) && length <= rep->capacity;
}

inline bool lies_in(const Std_Str_Rep* rep, const char* text) {
    const auto start = reinterpret_cast<std::uintptr_t>(rep->text());
    const auto place = reinterpret_cast<std::uintptr_t>(text);
    return !is_nil(rep) && place >= start && place <= start + rep->capacity;
}

// Empty, with room for `length` characters.
Std_Str_Rep* new_rep(long long length);
Std_Str_Rep* set(Std_Str_Rep* old, const Std_Text& y);
// A string that becomes empty keeps its buffer for what comes next.
Std_Str_Rep* copy_of(Std_Str_Rep* old, const Std_Str_Rep* source);
Std_Str_Rep* with_room(Std_Str_Rep* old, int length);
Std_Str_Rep* resized(Std_Str_Rep* old, int length);
Std_Str_Rep* joined(Std_Str_Rep* old, const Std_Text& a, const Std_Text& b, const Std_Text& c);
Std_Str_Rep* prefixed(Std_Str_Rep* old, const Std_Text& y);

} // namespace str_buffer

#endif
