// The standard input of a converter as one text.
#ifndef TOOLS_READ_INPUT_H
#define TOOLS_READ_INPUT_H

#include <cstddef>
#include <cstdio>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

// False if there are more bytes than `most_bytes`.
inline bool read_input(std::string* text, std::size_t most_bytes) {
    const std::size_t block = 1 << 16;
    struct stat status;
    // The size of a file is known, and then the text needs no room to grow.
    const bool is_file = fstat(STDIN_FILENO, &status) == 0 && S_ISREG(status.st_mode) &&
                         static_cast<std::size_t>(status.st_size) <= most_bytes;
    text->reserve(is_file ? static_cast<std::size_t>(status.st_size) + 2 * block : block);
    std::size_t got;
    do {
        const std::size_t size = text->size();
        text->resize(size + block);
        got = std::fread(text->data() + size, 1, block, stdin);
        text->resize(size + got);
    } while (got > 0 && text->size() <= most_bytes);
    return text->size() <= most_bytes;
}

#endif
