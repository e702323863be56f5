#include "images/Foreign_Image.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>

#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_Filter.h"
#include "std/Std_Limits.h"
#include "std/Std_Load_Budget.h"
#include "std/Std_Report.h"
#include "std/Std_Shell.h"

bool is_foreign_image(int file) {
    static const char png[] = "\x89PNG", jpeg[] = "\xFF\xD8\xFF";
    char begin[sizeof png - 1];
    return pread(file, begin, sizeof begin, 0) == sizeof begin &&
           (std::memcmp(begin, png, sizeof png - 1) == 0 ||
            std::memcmp(begin, jpeg, sizeof jpeg - 1) == 0);
}

static bool store_all(std::FILE* from, int to) {
    char block[8192]; // on stacks of threads, which may be small
    while (const std::size_t got = std::fread(block, 1, sizeof block, from))
        if (!std_store(to, block, got)) return false;
    return true;
}

// The URL last: reports are cut at their end.
static void tell(const char* what, const char* source) {
    std_tell(str_format("Error - %.90s: %s", what, source));
}

int converted_image(int file, const char* source, bool* is_whole) {
    *is_whole = false;
    const std::string command = std_path_to_own_commands() + "nolt_fromimage -pixels " +
                                std::to_string(std_limits.image_pixels);
    Std_Filter filter;
    const int result = std_open_nameless();
    std::FILE* const image = result >= 0 && lseek(file, 0, SEEK_SET) == 0
                                 ? filter.start(command.c_str(), file)
                                 : nullptr;
    ::close(file);
    const bool is_stored = image && store_all(image, result);
    if (!is_stored) tell(str_format("cannot be converted (%s)", std::strerror(errno)), source);
    const int status = filter.finish();
    const int not_found = 127;
    if (status == not_found) {
        tell("command not found (nolt_fromimage)", source);
    } else if (status != 0) {
        tell(str_format("nolt_fromimage ended with status %d", status), source);
    }
    *is_whole = is_stored && status == 0;
    if (is_stored) return result;
    if (result >= 0) ::close(result);
    return -1;
}
