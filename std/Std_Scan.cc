#include "std/Std_Scan.h"

#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>

static bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// What may stand behind a number in a scene: the letters begin the next group of a triangle, as in
// "1n".
static bool ends_number(char c) {
    return c == '\0' || is_space(c) || c == 'n' || c == 'c' || c == 't';
}

// 10^n; all exact in double precision.
static const double power_of_ten[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                      1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                      1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
static const std::uint64_t integer_power_of_ten[] = {1,      10,      100,      1000,     10000,
                                                     100000, 1000000, 10000000, 100000000};

static inline bool is_digit(char c) {
    return static_cast<unsigned char>(c - '0') < 10;
}

// Up to 8 digits at `p`, all looked at in one word: their value, and in `*count` how many there
// are.
static inline std::uint64_t short_digits(const char* p, int* count) {
    std::uint64_t word;
    std::memcpy(&word, p, sizeof word);
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
    const std::uint64_t digits = word ^ 0x3030303030303030u;
    // A byte is a digit if it is below 10 now: neither it nor it plus 6 reaches the high half.
    const std::uint64_t others = (digits | (digits + 0x0606060606060606u)) & 0xF0F0F0F0F0F0F0F0u;
    const int n = others == 0 ? 8 : std::countr_zero(others) / 8;
    *count = n;
    if (n == 0) return 0;
    // To the end of the word, with zeros in front, and then pairs, fours and eights are joined.
    std::uint64_t v = digits << 8 * (8 - n);
    v = (v * 10 + (v >> 8)) & 0x00FF00FF00FF00FFu;
    v = (v * 100 + (v >> 16)) & 0x0000FFFF0000FFFFu;
    return (v * 10000 + (v >> 32)) & 0x00000000FFFFFFFFu;
}

// Rounding to double and then to float goes wrong only where the double lies just between two
// floats.
static bool rounds_once(double value) {
    const std::uint64_t below_float = (std::uint64_t(1) << 29) - 1;
    return (std::bit_cast<std::uint64_t>(value) & below_float) != std::uint64_t(1) << 28;
}

bool std_scan_f(const char** text, float* value) {
    const char* p = *text;
    while (is_space(*p)) ++p;
    const char* const start = p;
    // No branch: signs are as good as random.
    const std::uint32_t is_negative = *p == '-';
    p += is_negative | (*p == '+');

    // Mostly few digits before the point, and many behind it.
    // Digits may overflow 64 bits: `digits` tells, and then from_chars below answers.
    std::uint64_t mantissa = 0;
    const char* const whole = p;
    for (; is_digit(*p); ++p) mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p - '0');
    std::ptrdiff_t digits = p - whole, decimals = 0;
    if (*p == '.') {
        const char* const point = p++;
        int n;
        do {
            const std::uint64_t part = short_digits(p, &n);
            mantissa = mantissa * integer_power_of_ten[n] + part;
            p += n;
        } while (n == 8);
        decimals = p - point - 1;
        digits += decimals;
    }
    const int most_digits = 19; // fit 64 bits; their value is 0 or far above the denormal floats
    // Exponents, hexadecimal digits, "inf": rare, and left to the caller's slower way.
    if (digits == 0 || !ends_number(*p)) return false;
    if (digits <= most_digits && mantissa < std::uint64_t(1) << 53) {
        // Both operands are exact in double precision, so the quotient is the decimal rounded once.
        const double exact = static_cast<double>(mantissa) / power_of_ten[decimals];
        if (rounds_once(exact)) {
            const auto bits = std::bit_cast<std::uint32_t>(static_cast<float>(exact));
            *value = std::bit_cast<float>(bits | is_negative << 31);
            *text = p;
            return true;
        }
    }
    const char* const first = *start == '+' ? start + 1 : start;
    const auto [end, error] = std::from_chars(first, p, *value);
    if (error != std::errc() || end != p) return false;
    *text = p;
    return true;
}
