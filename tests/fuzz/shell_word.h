// What a shell makes of a word without expansions: plain bytes, 'quoted' and \escaped ones.
#ifndef TESTS_FUZZ_SHELL_WORD_H
#define TESTS_FUZZ_SHELL_WORD_H

#include <cstdlib>
#include <cstring>
#include <string>

// The text without its quotes. It is to be one word: all else is a finding.
inline std::string word_of(const char* c) {
    std::string word;
    bool is_quoted = false;
    for (; *c; ++c) {
        if (*c == '\'') {
            is_quoted = !is_quoted;
        } else if (!is_quoted && *c == '\\' && c[1]) {
            word += *++c;
        } else if (!is_quoted && std::strchr(" |&;<>()$`\"*?[]#~!{}\\\n\t", *c)) {
            std::abort();
        } else {
            word += *c;
        }
    }
    if (is_quoted) std::abort();
    return word;
}

#endif
