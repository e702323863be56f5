#include "std/Std_Str_Buffer.h"

#include <cstdint>
#include <cstring>

#include "std/Std_Assert.h"
#include "std/Std_GC.h"

namespace str_buffer {

static const int smallest_block = 16;
static const int block_overhead = 10; // record, terminator, and what the allocator may add
static const int block_reserve = 4;
static const int largest_block = 32767;

void release(Std_Str_Rep* rep) {
    if (!is_nil(rep)) std_release(rep);
}

Std_Str_Rep* new_rep(long long length) {
    long long block = smallest_block;
    while (block < length + block_overhead) block *= 2;
    if (block - block_reserve >= largest_block)
        std_assert(-1, "Std_String: Requested length out of range", __FILE__, __LINE__);
    auto* rep = static_cast<Std_Str_Rep*>(
        ::operator new[](static_cast<std::size_t>(block - block_reserve), GCAtomic));
    rep->capacity = static_cast<unsigned short>(block - block_overhead);
    set_length(rep, 0);
    return rep;
}

// The old buffer goes last: `y` may lie in it.
Std_Str_Rep* set(Std_Str_Rep* old, const Std_Text& y) {
    Std_Str_Rep* rep = fits(old, y.length()) ? old : new_rep(y.length());
    copy(rep->text(), y.chars(), y.length());
    if (rep != old) release(old);
    set_length(rep, y.length());
    return rep;
}

Std_Str_Rep* copy_of(Std_Str_Rep* old, const Std_Str_Rep* source) {
    if (old == source) return old;
    if (!is_nil(source)) return set(old, Std_Text(source->text(), source->length));
    if (!is_nil(old)) set_length(old, 0);
    return old;
}

Std_Str_Rep* with_room(Std_Str_Rep* old, int length) {
    if (fits(old, length)) return old;
    Std_Str_Rep* rep = new_rep(length);
    copy(rep->text(), old->text(), old->length);
    set_length(rep, old->length);
    release(old);
    return rep;
}

Std_Str_Rep* resized(Std_Str_Rep* old, int length) {
    Std_Str_Rep* rep = with_room(old, length);
    set_length(rep, length);
    return rep;
}

// The old buffer serves again unless `b` or `c` lies in it, where `a` would run over them. `a` may:
// its characters move as a whole before anything else is written.
Std_Str_Rep* joined(Std_Str_Rep* old, const Std_Text& a, const Std_Text& b, const Std_Text& c) {
    const long long length = static_cast<long long>(a.length()) + b.length() + c.length();
    const bool stays = fits(old, length) && !lies_in(old, b.chars()) && !lies_in(old, c.chars());
    Std_Str_Rep* rep = stays ? old : new_rep(length);
    char* to = rep->text();
    copy(to, a.chars(), a.length());
    copy(to + a.length(), b.chars(), b.length());
    copy(to + a.length() + b.length(), c.chars(), c.length());
    if (rep != old) release(old);
    set_length(rep, static_cast<int>(length));
    return rep;
}

// The text makes room before `y` goes in front of it, so `y` must not lie in it.
Std_Str_Rep* prefixed(Std_Str_Rep* old, const Std_Text& y) {
    const Std_Text text(old->text(), old->length);
    const long long length = static_cast<long long>(text.length()) + y.length();
    Std_Str_Rep* rep = fits(old, length) && !lies_in(old, y.chars()) ? old : new_rep(length);
    copy(rep->text() + y.length(), text.chars(), text.length());
    copy(rep->text(), y.chars(), y.length());
    if (rep != old) release(old);
    set_length(rep, static_cast<int>(length));
    return rep;
}

} // namespace str_buffer
