#include "std/Std_Compare.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <functional>

// Integers: neighbours lie three apart, and the mask leaves room for the product.
static unsigned int hash_integer(std::uint32_t x) {
    return (x & 0x0FFFFFFFu) * 3u;
}

template<class T>
static int order(const T& a, const T& b) {
    return a > b ? 1 : a < b ? -1 : 0;
}

#define STD_COMPARE_INTEGER(NAME, TYPE, WIDENED)                                                   \
    int NAME##_cmp(const TYPE& a, const TYPE& b) {                                                 \
        return order(static_cast<WIDENED>(a), static_cast<WIDENED>(b));                            \
    }                                                                                              \
    bool NAME##_equal(const TYPE& a, const TYPE& b) {                                              \
        return a == b;                                                                             \
    }                                                                                              \
    unsigned int NAME##_hash(const TYPE& a) {                                                      \
        return hash_integer(static_cast<std::uint32_t>(static_cast<WIDENED>(a)));                  \
    }

STD_COMPARE_INTEGER(bool, bool, std::uint32_t)
STD_COMPARE_INTEGER(char, char, unsigned char)
STD_COMPARE_INTEGER(int8, std::int8_t, std::int32_t)
STD_COMPARE_INTEGER(int16, std::int16_t, std::int32_t)
STD_COMPARE_INTEGER(int32, std::int32_t, std::int32_t)
STD_COMPARE_INTEGER(int64, std::int64_t, std::int64_t)
STD_COMPARE_INTEGER(uint8, std::uint8_t, std::uint32_t)
STD_COMPARE_INTEGER(uint16, std::uint16_t, std::uint32_t)
STD_COMPARE_INTEGER(uint32, std::uint32_t, std::uint32_t)
STD_COMPARE_INTEGER(uint64, std::uint64_t, std::uint64_t)
STD_COMPARE_INTEGER(int, int, std::int32_t)

int float_cmp(const float& a, const float& b) {
    return order(a, b);
}

bool float_equal(const float& a, const float& b) {
    return float_cmp(a, b) == 0;
}

unsigned int float_hash(const float& a) {
    // To thousandths and back: exact for a float, whose product has 34 bits at most.
    const double magnitude = std::fabs(static_cast<double>(a)) * 1000.0 / 1000.0;
    // A cast of what does not fit is undefined: these would depend on the compiler.
    if (std::isnan(magnitude)) return hash_integer(0);
    if (magnitude >= 4294967296.0) return hash_integer(UINT32_MAX);
    return hash_integer(static_cast<std::uint32_t>(magnitude));
}

int voidptr_cmp(const voidptr& a, const voidptr& b) {
    return std::greater<>()(a, b) ? 1 : std::less<>()(a, b) ? -1 : 0;
}

bool voidptr_equal(const voidptr& a, const voidptr& b) {
    return a == b;
}

unsigned int voidptr_hash(const voidptr& a) {
    return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(a) >> 2);
}

int charptr_cmp(const charptr& a, const charptr& b) {
    return std::strcmp(a, b);
}

bool charptr_equal(const charptr& a, const charptr& b) {
    return std::strcmp(a, b) == 0;
}

unsigned int charptr_hash(const charptr& a) {
    // The first byte enters twice: as the start and as the first step.
    std::uint32_t h = static_cast<unsigned char>(a[0]);
    for (const char* c = a; *c; ++c) h = std::rotl(h, 7) ^ static_cast<unsigned char>(*c);
    return h & 0x7FFFFFFFu;
}
