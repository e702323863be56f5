#include "std/Std_Line.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "std/Std_Common.h"

static bool is_between(unsigned char c, int low, int high) {
    return c >= low && c <= high;
}

// Whether a terminal may take the byte for a command: on its own, as far as UTF-8 has bytes of 0x80
// and more in other characters.
static bool is_control(unsigned char c) {
    return is_between(c, 0x7F, 0x9F) || (c < ' ' && c != '\n' && c != '\t');
}

// Bytes of the character in UTF-8 that begins there; 1 for what is none.
static int utf8_length(const unsigned char* c) {
    const int length = is_between(c[0], 0xC2, 0xDF)   ? 2
                       : is_between(c[0], 0xE0, 0xEF) ? 3
                       : is_between(c[0], 0xF0, 0xF4) ? 4
                                                      : 1;
    // Longer forms than needed, surrogates and what lies past the last character.
    const int low = c[0] == 0xE0 ? 0xA0 : c[0] == 0xF0 ? 0x90 : 0x80;
    const int high = c[0] == 0xED ? 0x9F : c[0] == 0xF4 ? 0x8F : 0xBF;
    if (length > 1 && !is_between(c[1], low, high)) return 1;
    for (int i = 2; i < length; ++i)
        if (!is_between(c[i], 0x80, 0xBF)) return 1;
    return length;
}

// With control characters as "\x1b".
static std::string harmless(const char* text) {
    static const char digits[] = "0123456789abcdef";
    std::string shown;
    for (int length; *text; text += length) {
        const auto* const c = reinterpret_cast<const unsigned char*>(text);
        length = utf8_length(c);
        const bool is_control_pair = length == 2 && c[0] == 0xC2 && is_control(c[1]);
        if (!is_control_pair && !(length == 1 && is_control(*c))) {
            shown.append(text, static_cast<std::size_t>(length));
            continue;
        }
        for (int i = 0; i < length; ++i) (shown += "\\x") += {digits[c[i] / 16], digits[c[i] % 16]};
    }
    return shown;
}

// True also for some harmless characters of several bytes.
static bool may_be_harmful(const char* text) {
    for (; *text; ++text)
        if (is_control(static_cast<unsigned char>(*text))) return true;
    return false;
}

const char* std_harmless(const char* text) {
    return may_be_harmful(text) ? str_new(harmless(text).c_str()) : text;
}

void std_write_line(const char* prefix, const char* text) {
    std::string shown; // only where it is needed
    if (may_be_harmful(text)) text = (shown = harmless(text)).c_str();
    // The standard error stream is unbuffered: each call on it is a write. A report has 1023
    // characters at most, four times as many if all are shown as "\x1b".
    const int enough_for_a_report = 5 * 1024;
    char line[enough_for_a_report];
    const std::size_t start = std::strlen(prefix), length = start + std::strlen(text);
    if (length < sizeof line) {
        // Progress comes by the hundred thousand here, too.
        std::memcpy(line, prefix, start);
        std::memcpy(line + start, text, length - start);
        line[length] = '\n';
        std::fwrite(line, 1, length + 1, stderr);
    } else {
        std::fprintf(stderr, "%s%s\n", prefix, text);
    }
}
