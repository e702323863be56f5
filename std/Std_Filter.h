// A shell command that reads a file that is open already, and whose output is read as a stream.
//
//     Std_Filter filter;
//     std::FILE* const unpacked = filter.start("gunzip", packed);
//     if (!unpacked) return complain(errno);
//     read(unpacked);
//     if (const int status = filter.finish()) complain_about(status);
//
// The command gets no other descriptors than its standard ones, and ends when nobody reads it any
// more.
#ifndef STD_STD_FILTER_H
#define STD_STD_FILTER_H

#include <cstdio>
#include <sys/types.h>

class Std_Filter {
public:
    Std_Filter() = default;
    Std_Filter(const Std_Filter&) = delete;
    Std_Filter& operator=(const Std_Filter&) = delete;
    ~Std_Filter() { finish(); }

    // Runs `command` with `input`, from where that stands, as its standard input. A command that is
    // still running is finished first. `input` stays the caller's, who may close it at once.
    // Lifetime: of the stream: until finish, which is not fclose. It may be read past its buffer,
    // by its descriptor. On failure: null, with errno. A command that does not exist is none:
    // finish tells it.
    std::FILE* start(const char* command, int input);

    bool is_running() const { return output_ != nullptr; }

    // Closes the stream and waits for the command to end. If the output was read to its end, its
    // status as a shell tells it: 0 for success, 126 for a command that the shell could not run,
    // 127 for one that was not found, 128 and the number for a signal. Otherwise 0, as for a filter
    // that is not running: who closes early wants no more. It does not matter whether the program
    // lets its children be waited for (SIGCHLD).
    int finish();

    // Whether the system itself can run the command of that name, with "--version". A shell takes a
    // file that is no program for a script, whose failures then look like those of the command.
    static bool can_run(const char* name);

private:
    int end_child();

    std::FILE* output_ = nullptr;
    pid_t child_ = -1; // the shell
    int told_ = -1;    // what it tells of the command
};

#endif
