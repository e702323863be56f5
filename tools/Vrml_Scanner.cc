#include "tools/Vrml_Scanner.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "std/Std_Powers.h"
#include "std/Std_Space.h"

// What a character is, by table: blanks are passed millions of times.
enum : unsigned char { BLANK = 1, END_OF_WORD = 2, SIGN1 = 4 };

static constexpr std::array<unsigned char, 256> make_kinds() {
    std::array<unsigned char, 256> kinds = {};
    for (const char c : {' ', '\t', '\n', '\v', '\f', '\r', ',', '\0'})
        kinds[static_cast<unsigned char>(c)] = BLANK | END_OF_WORD;
    for (const char c : {'{', '}', '[', ']', '"', '#'})
        kinds[static_cast<unsigned char>(c)] = END_OF_WORD;
    for (const char c : {'(', ')', '|'}) kinds[static_cast<unsigned char>(c)] = SIGN1;
    return kinds;
}
static constexpr std::array<unsigned char, 256> kinds = make_kinds();

static inline unsigned char kind_of(char c) {
    return kinds[static_cast<unsigned char>(c)];
}

Vrml_Scanner::Vrml_Scanner(const std::string& text, bool is_vrml1)
    : text_(text), is_vrml1_(is_vrml1) {
    take();
}

void Vrml_Scanner::skip_blanks() {
    while (at_ < text_.size()) {
        if (kind_of(text_[at_]) & BLANK) {
            ++at_;
        } else if (text_[at_] == '#') {
            at_ = std::min(text_.find_first_of("\n\r", at_), text_.size());
        } else {
            return;
        }
    }
}

bool Vrml_Scanner::ends_word(char c) const {
    return kind_of(c) & (is_vrml1_ ? END_OF_WORD | SIGN1 : END_OF_WORD);
}

void Vrml_Scanner::take_word() {
    const std::size_t start = at_;
    while (at_ < text_.size() && (!ends_word(text_[at_]) || is_broken_number(start))) ++at_;
    token_ = std::string_view(text_).substr(start, at_ - start);
}

// Some writers have numbers such as -1.#IND, whose sign is no comment.
bool Vrml_Scanner::is_broken_number(std::size_t start) const {
    return text_[at_] == '#' && at_ > start && text_[at_ - 1] == '.';
}

void Vrml_Scanner::take() {
    skip_blanks();
    if (at_ >= text_.size()) {
        token_ = {};
    } else if (text_[at_] == '"') {
        const std::size_t start = at_;
        for (++at_; at_ < text_.size() && text_[at_] != '"'; ++at_)
            // An escaped quote does not end the string; the escapes go when the string is used.
            if (text_[at_] == '\\') ++at_;
        at_ = std::min(at_, text_.size());
        token_ = std::string_view(text_).substr(start, at_ - start);
        if (at_ < text_.size()) ++at_;
    } else if (ends_word(text_[at_])) {
        token_ = std::string_view(text_).substr(at_++, 1);
    } else {
        take_word();
    }
}

// Names may hold characters that are signs of VRML 1.0, as in part(1).
void Vrml_Scanner::take_name() {
    skip_blanks();
    const std::size_t start = at_;
    while (at_ < text_.size() && !(kind_of(text_[at_]) & END_OF_WORD)) ++at_;
    token_ = std::string_view(text_).substr(start, at_ - start);
    if (token_.empty()) take();
}

bool Vrml_Scanner::is_sign() const {
    return token_.size() == 1 && token_[0] != '"' && ends_word(token_[0]);
}

// Also broken ones: they keep the place of a number in its list.
bool Vrml_Scanner::looks_like_number() const {
    if (is_over()) return false;
    for (const char* word : {"nan", "NaN", "NAN", "inf", "Inf", "INF"})
        if (token_ == word) return true;
    if (std_is_digit(token_[0])) return true;
    const char second = token_.size() > 1 ? token_[1] : '\0';
    return std::strchr("+-.", token_[0]) && (std_is_digit(second) || second == '.');
}

bool Vrml_Scanner::is_followed_by_brace() {
    skip_blanks();
    return at_ < text_.size() && text_[at_] == '{';
}

// Returns the end of the digits, or null if there are none or too many for 32 bits.
static const char* scan_hexadecimal(const char* digits, bool is_negative, double* value) {
    const char* end = digits;
    while (std::isxdigit(static_cast<unsigned char>(*end))) ++end;
    std::uint32_t bits;
    const int hexadecimal = 16;
    const auto result = std::from_chars(digits, end, bits, hexadecimal);
    if (result.ec != std::errc()) return nullptr;
    *value = is_negative ? -static_cast<double>(bits) : static_cast<double>(bits);
    return result.ptr;
}

// Behind the sign and the digits of an exponent, or null if there are no digits.
static const char* end_of_exponent(const char* p) {
    p += *p == '-' || *p == '+';
    if (!std_is_digit(*p)) return nullptr;
    while (std_is_digit(*p)) ++p;
    return p;
}

// Behind the number at `p`, or `p` itself if there is none. The mantissa of most numbers is exact
// in double precision, and then one division gives the nearest double.
static const char* scan_number(const char* p, double* value) {
    const char* const start = p;
    const bool is_negative = *p == '-';
    p += *p == '-' || *p == '+';
    std::uint64_t mantissa = 0;
    const char* const whole = p;
    for (; std_is_digit(*p); ++p) mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p - '0');
    std::ptrdiff_t digits = p - whole, decimals = 0;
    if (*p == '.') {
        const char* const point = p++;
        for (; std_is_digit(*p); ++p)
            mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p - '0');
        decimals = p - point - 1;
        digits += decimals;
    }
    if (digits == 0) return start;
    const std::ptrdiff_t most_digits = 18; // fit 64 bits
    const bool is_plain = (*p | 0x20) != 'e' && (*p | 0x20) != 'x';
    if (is_plain && digits <= most_digits && mantissa < std::uint64_t(1) << 53) {
        const double exact = static_cast<double>(mantissa) / std_power_of_ten[decimals];
        *value = is_negative ? -exact : exact;
        return p;
    }
    if ((*p | 0x20) == 'x') { // whole numbers may be hexadecimal
        const char* const end =
            mantissa == 0 && digits == 1 ? scan_hexadecimal(p + 1, is_negative, value) : nullptr;
        return end ? end : start;
    }
    if ((*p | 0x20) == 'e') p = end_of_exponent(p + 1);
    if (!p) return start;
    const auto result = std::from_chars(*start == '+' ? start + 1 : start, p, *value);
    // strtod tells what is too large from what is as good as zero.
    if (result.ec == std::errc::result_out_of_range) *value = std::strtod(start, nullptr);
    return p;
}

bool Vrml_Scanner::is_number(double* value) const {
    // Behind the token stands more text or the zero byte: no number goes on there.
    return !is_over() && scan_number(token_.data(), value) == token_.data() + token_.size();
}

void Vrml_Scanner::take_numbers(std::vector<double>* numbers) {
    const char* const text = text_.c_str(); // ends with a zero byte, which no scan passes
    while (true) {
        while (kind_of(text[at_]) & BLANK && at_ < text_.size()) ++at_;
        if (at_ < text_.size() && text[at_] == '#') {
            skip_blanks();
            continue;
        }
        double value;
        const char* const end = scan_number(text + at_, &value);
        if (end == text + at_ || !ends_word(*end) || (*end == '#' && end[-1] == '.')) return;
        numbers->push_back(value);
        at_ = static_cast<std::size_t>(end - text);
    }
}

// Programs of a Script are strings, so only its own braces count.
bool Vrml_Scanner::skip_enclosed() {
    int open = 0;
    do {
        open += token_ == "{" || token_ == "[";
        open -= token_ == "}" || token_ == "]";
        take();
    } while (open > 0 && !is_over());
    return open <= 0;
}

void Vrml_Scanner::end() {
    at_ = text_.size();
    token_ = {};
    is_ended_ = true;
}
