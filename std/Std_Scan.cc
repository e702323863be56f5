#include "std/Std_Scan.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "std/Std_Powers.h"
#include "std/Std_Space.h"

static bool ends_number(char c) {
    return c == ' ' || c == '\0' || std_is_space(c) || c == 'n' || c == 'c' || c == 't' ||
           c == '\\';
}

static const std::uint64_t integer_power_of_ten[] = {1,      10,      100,      1000,     10000,
                                                     100000, 1000000, 10000000, 100000000};

static inline bool is_digit(char c) {
    return static_cast<unsigned char>(c - '0') < 10;
}

// Eight characters as one word, the first of them lowest, with digits turned into their values.
static inline std::uint64_t eight_at(const char* p) {
    std::uint64_t word;
    std::memcpy(&word, p, sizeof word);
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
    return word ^ 0x3030303030303030u;
}

// A high half that is not zero for each of the eight that is no digit, at least for the first of
// them.
static inline std::uint64_t others_in(std::uint64_t eight) {
    // A byte is a digit if it is below 10: neither it nor it plus 6 reaches the high half.
    return (eight | (eight + 0x0606060606060606u)) & 0xF0F0F0F0F0F0F0F0u;
}

// The value of the first `count` of the eight. Requires: 0 <= count <= 8, all of them digits.
static inline std::uint64_t value_of(std::uint64_t eight, int count) {
    // To the end of the word, with zeros in front, and then pairs, fours and eights are joined. In
    // two steps, since none may shift by a whole word.
    const int half_way = 4 * (8 - count);
    std::uint64_t v = eight << half_way << half_way;
    v = v * (1 + (std::uint64_t{10} << 8)) >> 8 & 0x00FF00FF00FF00FFu;
    v = v * (1 + (std::uint64_t{100} << 16)) >> 16 & 0x0000FFFF0000FFFFu;
    return v * (1 + (std::uint64_t{10000} << 32)) >> 32;
}

// Whether `value`, and all up to `steps` last bits of a double away from it, become the same float
// as the number that it was rounded from: the middle between two floats must not be among them.
static inline bool rounds_once(double value, std::uint64_t steps) {
    const std::uint64_t below_float = (std::uint64_t{1} << 29) - 1, middle = std::uint64_t{1} << 28;
    const std::uint64_t place = std::bit_cast<std::uint64_t>(value) & below_float;
    return place - (middle - steps) > 2 * steps;
}

static inline float with_sign(double magnitude, std::uint32_t is_negative) {
    const auto bits = std::bit_cast<std::uint32_t>(static_cast<float>(magnitude));
    return std::bit_cast<float>(bits | is_negative << 31);
}

// A number as our writer puts it, with few digits and six decimals. Returns its end, or null if
// none stands there. The next number waits for this end, so all on the way there that can be
// foreseen is a branch: how many digits there are mostly stays. A sign is as good as random and
// none.
static inline const char* scan_six_decimals(const char* p, float* value) {
    const std::uint32_t is_negative = *p == '-';
    const char* const first = p + is_negative;
    const char* point = first;
    std::uint64_t whole = 0;
    for (; is_digit(*point); ++point) whole = whole * 10 + static_cast<std::uint64_t>(*point - '0');
    const std::uint64_t decimals = eight_at(point + 1), first_six = (std::uint64_t{1} << 48) - 1;
    const std::ptrdiff_t most_digits = 9; // whose value, with six more behind, is exact as a double
    if (*point != '.' || point - first > most_digits || (others_in(decimals) & first_six) != 0 ||
        !ends_number(point[7]))
        return nullptr;
    // A product is there sooner than a quotient, but rounded twice, and 1e-6 is not exact either.
    const double near = static_cast<double>(whole * 1000000 + value_of(decimals, 6)) * 1e-6;
    if (!rounds_once(near, 4)) return nullptr;
    *value = with_sign(near, is_negative);
    return point + 7;
}

// Any number that starts at `p`, with its sign. Returns its end, or null if none stands there that
// may end there.
static const char* scan_any(const char* p, float* value) {
    const char* const start = p;
    const std::uint32_t is_negative = *p == '-';
    p += is_negative | (*p == '+');

    // Mostly few digits before the point, and many behind it.
    std::uint64_t mantissa = 0;
    const char* const whole = p;
    for (; is_digit(*p); ++p) mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p - '0');
    std::ptrdiff_t digits = p - whole, decimals = 0;
    if (*p == '.') {
        const char* const point = p++;
        int n;
        do {
            const std::uint64_t eight = eight_at(p);
            n = std::countr_zero(others_in(eight)) / 8;
            mantissa = mantissa * integer_power_of_ten[n] + value_of(eight, n);
            p += n;
        } while (n == 8);
        decimals = p - point - 1;
        digits += decimals;
    }
    const int most_digits = 19; // fit 64 bits; their value is 0 or far above the denormal floats
    if (digits == 0 || !ends_number(*p)) return nullptr;
    if (digits <= most_digits && mantissa < std::uint64_t(1) << 53) {
        const double exact = static_cast<double>(mantissa) / std_power_of_ten[decimals];
        if (rounds_once(exact, 0)) {
            *value = with_sign(exact, is_negative);
            return p;
        }
    }
    const auto [end, error] = std::from_chars(*start == '+' ? whole : start, p, *value);
    return error == std::errc() && end == p ? p : nullptr;
}

static inline const char* scan_number(const char* p, float* value) {
    const char* const end = scan_six_decimals(p, value);
    return end ? end : scan_any(p, value);
}

// In any case; `word` is of small letters.
static bool begins_with(const char* p, const char* word) {
    while (*word && (*p | 0x20) == *word) ++p, ++word;
    return *word == '\0';
}

// Behind "inf", "infinity" or "nan", or null.
static const char* scan_word(const char* p, double* value) {
    if (begins_with(p, "nan")) {
        *value = NAN;
        return p + std::strlen("nan");
    }
    if (!begins_with(p, "inf")) return nullptr;
    *value = INFINITY;
    if (!begins_with(p, "infi")) return p + std::strlen("inf");
    return begins_with(p, "infinity") ? p + std::strlen("infinity") : nullptr;
}

static bool is_digit_of(bool is_hexadecimal, char c) {
    const int letter = c | 0x20;
    return is_digit(c) || (is_hexadecimal && letter >= 'a' && letter <= 'f');
}

// Behind the digits, the point and the exponent, or null if they are no number.
static const char* pass_digits(const char* p) {
    const bool is_hexadecimal = *p == '0' && begins_with(p + 1, "x");
    if (is_hexadecimal) p += std::strlen("0x");
    const char* const start = p;
    bool has_digits = false, has_point = false;
    for (;; ++p) {
        if (is_digit_of(is_hexadecimal, *p))
            has_digits = true;
        else if (*p == '.' && !has_point)
            has_point = true;
        else
            break;
    }
    if (!has_digits) return is_hexadecimal && p != start ? p : nullptr;
    if ((*p | 0x20) != (is_hexadecimal ? 'p' : 'e')) return p;
    ++p;
    p += *p == '-' || *p == '+';
    while (is_digit(*p)) ++p;
    return p;
}

// What is no plain number. strtof passes less of a damaged number, but agrees about its value.
static const char* scan_other(const char* const start, float* value) {
    const char* const p = start + (*start == '-' || *start == '+');
    double number;
    if (const char* const end = scan_word(p, &number)) {
        *value = with_sign(number, *start == '-');
        return end;
    }
    const char* const end = pass_digits(p);
    if (end) *value = std::strtof(start, nullptr);
    return end;
}

bool std_scan_f(const char** text, float* value) {
    const char* p = *text;
    while (std_is_space(*p)) ++p;
    const char* end = scan_number(p, value);
    if (!end) end = scan_other(p, value);
    if (!end) return false;
    *text = end;
    return true;
}

bool std_scan_row(const char** text, float* values, int count) {
    const char* p = *text;
    for (float* const end = values + count; values != end; ++values) {
        while (std_is_blank(*p)) ++p;
        p = scan_number(p, values);
        if (!p) return false;
    }
    *text = p;
    return true;
}
