#include "std/Std_Format.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

// "00" to "99": two digits for one division.
static const struct Digit_Pairs {
    char text[200];
    constexpr Digit_Pairs() : text() {
        for (int i = 0; i < 100; ++i) {
            text[2 * i] = static_cast<char>('0' + i / 10);
            text[2 * i + 1] = static_cast<char>('0' + i % 10);
        }
    }
} digit_pairs;

static inline std::uint16_t pair_of(std::uint32_t value) {
    std::uint16_t pair;
    std::memcpy(&pair, digit_pairs.text + 2 * value, 2);
    return pair;
}

static inline void put_pair(char* out, std::uint32_t value) {
    std::memcpy(out, digit_pairs.text + 2 * value, 2);
}

// Puts the bytes of `text` that follow the first `skipped` ones, in the order in
// which they lie in memory; may write past them, up to the size of Word.
template<class Word>
static inline void put_word(char* out, Word text, int skipped) {
    if constexpr (std::endian::native == std::endian::little) {
        text = static_cast<Word>(text >> 8 * skipped);
    } else {
        text = static_cast<Word>(text << 8 * skipped);
    }
    std::memcpy(out, &text, sizeof text);
}

// `first` lies `bytes` bytes before `second` in memory.
template<class Word>
static inline Word join(Word first, Word second, int bytes) {
    if constexpr (std::endian::native == std::endian::little) return first | second << 8 * bytes;
    return first | second >> 8 * bytes;
}

// Up to four digits without a branch: random lengths would be mispredicted.
static inline char* put_short_integer(char* out, std::uint32_t value) {
    std::uint32_t pairs[2] = {pair_of(value / 100), pair_of(value % 100)};
    if constexpr (std::endian::native == std::endian::big) pairs[0] <<= 16, pairs[1] <<= 16;
    const int length = 1 + (value > 9) + (value > 99) + (value > 999);
    put_word(out, join(pairs[0], pairs[1], 2), 4 - length);
    return out + length;
}

// From the back, a pair at a time, until at most two are left; these have no leading zero.
static char* put_integer(char* out, std::uint64_t value) {
    char digits[20];
    char* first = digits + sizeof digits;
    while (value >= 100) {
        first -= 2;
        put_pair(first, static_cast<std::uint32_t>(value % 100));
        value /= 100;
    }
    out = put_short_integer(out, static_cast<std::uint32_t>(value));
    const auto length = static_cast<std::size_t>(digits + sizeof digits - first);
    std::memcpy(out, first, length);
    return out + length;
}

// The point and six digits behind the integer, whose length alone varies.
static inline char* put_fixed(char* out, std::uint64_t whole, std::uint32_t millionths) {
    constexpr std::uint64_t short_limit = 10000;
    out = whole < short_limit ? put_short_integer(out, static_cast<std::uint32_t>(whole))
                              : put_integer(out, whole);
    *out = '.';
    put_pair(out + 1, millionths / 10000);
    put_pair(out + 3, millionths / 100 % 100);
    put_pair(out + 5, millionths % 100);
    return out + 7;
}

char* std_format_f(char* out, float value) {
    // value = mantissa * 2^exponent, exactly.
    const auto bits = std::bit_cast<std::uint32_t>(value);
    const int biased = static_cast<int>(bits >> 23 & 0xFF);
    const std::uint64_t fraction = bits & 0x7FFFFF;
    const std::uint64_t mantissa = biased == 0 ? fraction : fraction | 0x800000;
    const int exponent = (biased == 0 ? 1 : biased) - 150;

    // From 2^64 on, and for what is no number, speed does not matter.
    if (exponent > 40) {
        const auto wide = static_cast<double>(value);
        if (!std::isfinite(wide)) return out + std::snprintf(out, STD_FORMAT_F_MAX, "%f", wide);
        return std::to_chars(out, out + STD_FORMAT_F_MAX, wide, std::chars_format::fixed, 6).ptr;
    }

    *out = '-';
    out += bits >> 31;
    if (exponent >= 0) return put_fixed(out, mantissa << exponent, 0);

    // Below 2^24 the value in millionths, mantissa * 10^6 / 2^shift, fits 64 bits
    // before the shift. Rounding is half to even, without a branch to mispredict.
    const std::uint64_t scaled = mantissa * 1000000;
    const int shift = -exponent;
    if (shift > 45) return put_fixed(out, 0, 0); // scaled < 2^44: less than half a millionth
    const std::uint64_t half = std::uint64_t(1) << (shift - 1);
    const std::uint64_t odd = scaled >> shift & 1;
    const std::uint64_t millionths = (scaled + half - 1 + odd) >> shift;
    return put_fixed(out, millionths / 1000000, static_cast<std::uint32_t>(millionths % 1000000));
}
