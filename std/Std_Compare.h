// Comparison, equality and hash functions in the shape that containers take.
//
//     Hash_Table<const char*, WDB_Node*> by_name(charptr_hash, charptr_equal, nullptr);
//
// For each of the types: type_cmp answers 1, -1 or 0; type_equal is true when
// type_cmp gives 0; type_hash gives 32 bits. A char counts as an unsigned byte.
#ifndef STD_STD_COMPARE_H
#define STD_STD_COMPARE_H

#include <cstdint>

#define STD_COMPARE_FAMILY(NAME, TYPE)                                                             \
    int NAME##_cmp(const TYPE& a, const TYPE& b);                                                  \
    bool NAME##_equal(const TYPE& a, const TYPE& b);                                               \
    unsigned int NAME##_hash(const TYPE& a);

using voidptr = const void*;
using charptr = const char*;

STD_COMPARE_FAMILY(bool, bool)
STD_COMPARE_FAMILY(char, char)
STD_COMPARE_FAMILY(int8, std::int8_t)
STD_COMPARE_FAMILY(int16, std::int16_t)
STD_COMPARE_FAMILY(int32, std::int32_t)
STD_COMPARE_FAMILY(int64, std::int64_t) // the hash reads the low 32 bits only
STD_COMPARE_FAMILY(uint8, std::uint8_t)
STD_COMPARE_FAMILY(uint16, std::uint16_t)
STD_COMPARE_FAMILY(uint32, std::uint32_t)
STD_COMPARE_FAMILY(uint64, std::uint64_t)
STD_COMPARE_FAMILY(int, int)

// A NaN compares equal to everything: keep it out of containers that compare.
// The hash reads the integer part of the magnitude only: 1.2 and -1.9 share it.
// Infinities and magnitudes from 2^32 count as the largest integer, NaN as 0.
STD_COMPARE_FAMILY(float, float)

// By address.
STD_COMPARE_FAMILY(voidptr, voidptr)

// By text. charptr_cmp answers any number of the right sign, as strcmp does.
STD_COMPARE_FAMILY(charptr, charptr)

#undef STD_COMPARE_FAMILY

#endif
