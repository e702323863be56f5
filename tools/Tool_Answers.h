// What every command answers to.
#ifndef TOOLS_TOOL_ANSWERS_H
#define TOOLS_TOOL_ANSWERS_H

#include <cstdio>
#include <cstring>

// Answers "--help", with `usage`, and "--version", on the standard output. False if the command was
// given anything else: nothing is written then.
inline bool tool_answers(int argc, char** argv, const char* usage) {
    if (argc != 2) return false;
    if (std::strcmp(argv[1], "--help") == 0) return std::puts(usage), true;
    if (std::strcmp(argv[1], "--version") == 0)
        return std::puts("nolt " NOLT_COMMAND_VERSION), true;
    return false;
}

#endif
