#include "wdb/Scene_Names.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <limits>

#include "wdb/WDB_Lex_Context.h"

static const int longest_int = std::numeric_limits<int>::digits10 + 2;

// The number behind the last '_' as we would write it; 0 if there is none. `base_length` is then
// the length of what stands before.
static int number_behind(const char* name, std::size_t& base_length) {
    const char* const bar = std::strrchr(name, '_');
    if (!bar || bar[1] < '1' || bar[1] > '9') return 0;
    const char* const end = bar + 1 + std::strlen(bar + 1);
    int number = 0;
    const auto read = std::from_chars(bar + 1, end, number);
    base_length = static_cast<std::size_t>(bar - name);
    return read.ec == std::errc() && read.ptr == end ? number : 0;
}

bool Scene_Names::is_numbered(const char* name, std::size_t base_length, int number) const {
    if (number > count_) return false;
    // The last run that begins at or before the number. All numbers up to the count are in one.
    const auto behind =
        std::upper_bound(runs_.begin(), runs_.end(), number,
                         [](int wanted, const Run& run) { return wanted < run.first; });
    const char* const base = behind[-1].base;
    return std::strncmp(base, name, base_length) == 0 && base[base_length] == '\0';
}

bool Scene_Names::is_taken(const char* name) {
    std::size_t base_length = 0;
    const int number = number_behind(name, base_length);
    if (number != 0 && is_numbered(name, base_length, number)) return true;
    const int before = given_.count();
    given_.put(name);
    if (given_.count() == before) return true;
    may_meet_ |= number != 0;
    return false;
}

const char* Scene_Names::unused(const char* wanted) {
    return is_taken(wanted) ? unused_numbered(wanted) : wanted;
}

void Scene_Names::form_numbered(const char* base) {
    char digits[longest_int];
    ++count_;
    text_.append(1, '_').append(digits, std::to_chars(digits, digits + longest_int, count_).ptr);
    if (runs_.empty() || std::strcmp(runs_.back().base, base) != 0) runs_.push_back({count_, base});
}

const char* Scene_Names::unused_numbered(const char* base) {
    do {
        text_ = base;
        form_numbered(base);
    } while (may_meet_ && given_.has(text_.c_str()));
    return text_.c_str();
}

static constexpr std::array<bool, 256> signs_of_names() {
    std::array<bool, 256> is_sign{};
    for (const char* sign = WDB_Lex_Context::NAME_SET; *sign; ++sign)
        is_sign[static_cast<unsigned char>(*sign)] = true;
    return is_sign;
}

std::size_t scene_name_length(const char* text) {
    static constexpr std::array<bool, 256> is_sign = signs_of_names();
    const char* end = text;
    while (is_sign[static_cast<unsigned char>(*end)]) ++end;
    return static_cast<std::size_t>(end - text);
}
