// What every command answers to.
#ifndef TOOLS_TOOL_ANSWERS_H
#define TOOLS_TOOL_ANSWERS_H

#include <cstdio>
#include <cstring>

#include <nolt/nolt_version.h>

// Answers "--help", with `usage`, and "--version", on the standard output. False if the command was
// given anything else: nothing is written then.
inline bool tool_answers(int argc, char** argv, const char* usage) {
    const bool is_version = argc == 2 && std::strcmp(argv[1], "--version") == 0;
    const bool is_help = argc == 2 && std::strcmp(argv[1], "--help") == 0;
    if (is_version)
        std::printf("nolt %d.%d.%d\n", NOLT_VERSION_MAJOR, NOLT_VERSION_MINOR, NOLT_VERSION_PATCH);
    if (is_help) std::puts(usage);
    return is_version || is_help;
}

#endif
