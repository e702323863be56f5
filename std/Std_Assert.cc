#include "std/Std_Assert.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unistd.h>

#include "std/Std_Env.h"
#include "std/Std_Line.h"
#include "std/Std_Messager.h"

// Of a report, its terminating zero included.
static const int report_size = 1024;

static int assert_level() {
    static const int level = Std_Env::getenv_value("STD_ASSERT_LEVEL");
    return level;
}

static void report_possible_error(int error) {
    if (error == 0) return;
    errno = error;
    std::perror("possible error");
}

[[noreturn]] static void dump_core(int error) {
    report_possible_error(error);
    std::fputs("Dumping core...\n", stderr);
    std::abort();
}

static void inform(const char* message) {
    // Progress comes by the hundred thousand: no format for it.
    char text[report_size];
    const std::size_t length = strnlen(message, report_size - 1);
    std::memcpy(text, message, length);
    text[length] = '\0';
    // One thread at a time; a messager may report on its own.
    static std::recursive_mutex delivery;
    const std::lock_guard lock(delivery);
    std_get_current_messager()->refresh(text);
}

void std_assert(int level, const char* message, const char* file, int line) {
    // What the report itself does to errno must not blame the caller.
    const int error = errno;
    if (!message) message = "?";
    if (level == 0) {
        inform(message);
        return;
    }
    if (level == 1) {
        char text[report_size];
        std::snprintf(text, sizeof text, "DEBUG  : %s", message);
        std_write_line("", text);
        return;
    }
    if (level != 2 && level != -1) {
        std::fputs("Wrong warncode. Dumping core...\n", stderr);
        std::abort();
    }
    char text[report_size];
    std::snprintf(text, sizeof text, "%s%s in line %d of file %s",
                  level == 2 ? "WARNING: " : "FATAL  : ", message, line, file ? file : "?");
    std_write_line("", text);
    if (level == 2) {
        if (assert_level() >= 2) dump_core(error);
        errno = error;
        return;
    }
    if (assert_level() >= 1) dump_core(error);
    report_possible_error(error);
    std::fputs("Exiting...\n", stderr);
    _exit(1);
}
