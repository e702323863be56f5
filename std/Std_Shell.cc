#include "std/Std_Shell.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "std/Std_GC.h"

// Bytes that no shell takes for anything but themselves, anywhere in a word.
static bool is_plain(const char* text) {
    static const char plain[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                "_-./+,:@%=";
    return text[0] != '\0' && text[strspn(text, plain)] == '\0';
}

static char* put(char* to, const char* text) {
    const std::size_t length = std::strlen(text);
    std::memcpy(to, text, length);
    return to + length;
}

static const char* quoted(const char* prefix, const char* text) {
    static const char single_quote[] = "'\\''"; // out, an escaped quote, in again
    const std::size_t longest = std::strlen(prefix) + 4 * std::strlen(text) + sizeof "''";
    char* const word = new (GCAtomic) char[longest];
    char* to = put(word, prefix);
    if (is_plain(text)) {
        put(to, text);
        return word;
    }
    *to++ = '\'';
    for (; *text; ++text) {
        if (*text == '\'') {
            to = put(to, single_quote);
        } else {
            *to++ = *text;
        }
    }
    *to = '\'';
    return word;
}

const char* std_shell_word(const char* text) {
    return quoted(text[0] == '-' && text[1] != '\0' ? "./" : "", text);
}

const char* std_shell_argument(const char* text) {
    return quoted("", text);
}

int std_open_tmp_file(const char** name) {
    const char* folder = std::getenv("TMPDIR");
    if (!folder || folder[0] != '/') folder = "/tmp";
    static const char pattern[] = "/noltXXXXXX";
    const std::size_t length = std::strlen(folder);
    char* const path = new (GCAtomic) char[length + sizeof pattern];
    std::memcpy(path, folder, length);
    std::memcpy(path + length, pattern, sizeof pattern);
    const int descriptor = mkostemp(path, O_CLOEXEC);
    *name = descriptor < 0 ? nullptr : path;
    return descriptor;
}
