#include "std/Std_Shell.h"

#include <climits>
#include <cstring>
#include <unistd.h>

#include "std/Std_GC.h"
#include "std/Std_Path.h"

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

const char* std_shell_argument(const char* text) {
    static const char single_quote[] = "'\\''"; // out, an escaped quote, in again
    // Each character may become the four of an escaped quote.
    const std::size_t longest = 4 * std::strlen(text) + sizeof "''";
    char* const word = new (GCAtomic) char[longest];
    char* to = word;
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

std::string std_path_to_own_commands() {
    std::string folders(PATH_MAX, '\0');
    const ssize_t length = readlink("/proc/self/exe", folders.data(), folders.size());
    folders.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    folders.resize(std_folder_length(folders.c_str()));
    // Nothing before or behind a colon would be the current folder; inside a name it parts folders.
    if (folders.find(':') != folders.npos) folders.clear();
    if (!folders.empty()) folders += ':';
    folders += NOLT_BINDIR;
    return std::string("PATH=${PATH:+$PATH:}") + std_shell_argument(folders.c_str()) + " ";
}
