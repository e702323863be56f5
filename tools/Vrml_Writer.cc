#include "tools/Vrml_Writer.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdint>

#include "std/Std_Format.h"

// Whether the nearest number with six decimals reads back as `f`. The product is exact, having 44
// bits.
static bool has_six_decimals(float f) {
    const double million = 1e6;
    const double nearest = std::nearbyint(static_cast<double>(f) * million) / million;
    // Half way between two floats nobody knows which one the decimals are nearer to.
    const std::uint64_t below_float = (std::uint64_t(1) << 29) - 1, half = std::uint64_t(1) << 28;
    return static_cast<float>(nearest) == f &&
           (std::bit_cast<std::uint64_t>(nearest) & below_float) != half;
}

// Most numbers of a file have few decimals: those come from six decimals without the zeros. The
// others need the search for the shortest text.
char* vrml_put_number(char* out, double value) {
    const double most = static_cast<double>(FLT_MAX);
    const float f = std::isnan(value) ? 0 : static_cast<float>(std::clamp(value, -most, most));
    *out++ = ' ';
    const float size = std::fabs(f), many_digits = 1e15f, few_digits = 1e-7f;
    if (size == 0) {
        *out = '0';
        return out + 1;
    }
    if (size < many_digits && has_six_decimals(f)) {
        char text[STD_FORMAT_F_MAX];
        char* end = std_format_f(text, f);
        while (end[-1] == '0') --end;
        end -= end[-1] == '.';
        const auto length = static_cast<std::size_t>(end - text);
        std::memcpy(out, text, length);
        return out + length;
    }
    const bool is_plain = size < many_digits && size >= few_digits;
    return std::to_chars(out, out + VRML_LONGEST_NUMBER - 1, f,
                         is_plain ? std::chars_format::fixed : std::chars_format::scientific)
        .ptr;
}

static std::string scene_name(std::string_view text) {
    std::string name(text);
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)) && !std::strchr("-_.", c)) c = '_';
    return name;
}

Vrml_Writer::Vrml_Writer(std::FILE* out, std::string_view prefix) : out_(out) {
    // The end of a prefix tells conversions apart.
    const std::size_t longest = 24;
    if (prefix.size() > longest) prefix.remove_prefix(prefix.size() - longest);
    if (!prefix.empty()) tail_.append(1, '.').append(scene_name(prefix));
}

std::string Vrml_Writer::new_name(std::string_view wish) {
    const std::size_t longest = 100;
    const std::string base = scene_name(wish.substr(0, longest - tail_.size()));
    std::string name = base + tail_;
    while (!names_.insert(name).second) {
        name = base;
        name += '_';
        name += std::to_string(++name_count_);
        name += tail_;
    }
    return name;
}

void Vrml_Writer::make_room(std::string_view text) {
    flush();
    if (text.size() > sizeof block_)
        is_good_ &= std::fwrite(text.data(), 1, text.size(), out_) == text.size();
}

void Vrml_Writer::put_number(double value) {
    char text[VRML_LONGEST_NUMBER + STD_FORMAT_F_MAX];
    put(std::string_view(text, static_cast<std::size_t>(vrml_put_number(text, value) - text)));
}

void Vrml_Writer::put_numbers(std::span<const double> values) {
    for (const double v : values) put_number(v);
}

bool Vrml_Writer::flush() {
    is_good_ &= std::fwrite(block_, 1, used_, out_) == used_;
    used_ = 0;
    return is_good_ && std::fflush(out_) == 0;
}
