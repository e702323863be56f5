#include "std/Std_Filter.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "std/Std_Descriptor.h"

static const int telling = 3; // the descriptor on which a shell tells the status of its command

// 0, or what went wrong.
// Not popen, which takes no descriptor as input and leaves the program's signals as they are: one
// that ignores SIGPIPE would make a command write for ever that nobody reads.
static int spawn_shell(const char* command, int input, int output, int told, pid_t* child) {
    // A command that nobody reads is to end, whatever the program does with these signals.
    sigset_t defaults, mask;
    sigemptyset(&defaults);
    for (const int signal : {SIGPIPE, SIGXFSZ, SIGCHLD}) sigaddset(&defaults, signal);
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    for (const int signal : {SIGPIPE, SIGXFSZ, SIGCHLD}) sigdelset(&mask, signal);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setsigmask(&attributes, &mask);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    int error = posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    if (!error) error = posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    if (!error) error = posix_spawn_file_actions_adddup2(&actions, told, telling);
    // The shell stays, to tell the status: a program that ignores SIGCHLD is told none by the
    // system, and of a shell that could not do its work nothing comes, whatever its own status is.
    std::string line = std::string("(").append(command) + "\n) 3>&-; echo $? >&3";
    char shell[] = "sh", option[] = "-c";
    char* const arguments[] = {shell, option, line.data(), nullptr};
    pid_t started;
    if (!error) error = posix_spawn(&started, "/bin/sh", &actions, &attributes, arguments, environ);
    if (!error) *child = started;
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return error;
}

// Also if its end is nobody's business, or another part of the program has seen it before.
static void wait_for(pid_t child) {
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// Of a command whose shell has ended.
static int read_status(int told) {
    const int not_run = 126; // as shells tell it
    char text[8] = {};
    fcntl(told, F_SETFL, O_NONBLOCK);
    return read(told, text, sizeof text - 1) > 0 ? std::atoi(text) : not_run;
}

// At both ends above the standard descriptors. On failure: false, with errno, and both are closed.
static bool open_pipe(int (&ends)[2]) {
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    for (int& end : ends) end = std_above_standard(end);
    if (ends[0] >= 0 && ends[1] >= 0) return true;
    for (const int end : ends)
        if (end >= 0) close(end);
    errno = EMFILE;
    return false;
}

std::FILE* Std_Filter::start(const char* command, int input) {
    finish();
    int ends[2], told[2];
    if (!open_pipe(ends)) return nullptr;
    int error = open_pipe(told) ? 0 : errno;
    if (!error) {
#ifdef F_SETPIPE_SZ
        // Fewer turns between the processes at both ends. No matter if it is refused.
        fcntl(ends[0], F_SETPIPE_SZ, 1 << 20);
#endif
        error = spawn_shell(command, input, ends[1], told[1], &child_);
        close(told[1]);
        told_ = told[0];
    }
    // Ours must go, or the end of the output would never come.
    close(ends[1]);
    if (!error) {
        output_ = fdopen(ends[0], "r");
        if (output_) return output_;
        error = errno;
    }
    close(ends[0]);
    end_child();
    errno = error;
    return nullptr;
}

// The status of the command, if one was started.
int Std_Filter::end_child() {
    if (child_ >= 0) wait_for(child_);
    child_ = -1;
    if (told_ < 0) return 0;
    const int status = read_status(told_);
    close(told_);
    told_ = -1;
    return status;
}

int Std_Filter::finish() {
    if (!is_running()) return 0;
    char byte;
    fcntl(fileno(output_), F_SETFL, O_NONBLOCK);
    // A reader that stops early makes the command fail by that alone. Only who has seen the end may
    // ask how it ended; without waiting, for there may be much to come.
    const bool is_at_end = read(fileno(output_), &byte, 1) == 0;
    std::fclose(output_);
    output_ = nullptr;
    const int status = end_child();
    return is_at_end ? status : 0;
}

bool Std_Filter::can_run(const char* name) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    int error = 0;
    for (int i = STDIN_FILENO; i <= STDERR_FILENO && !error; ++i)
        error = posix_spawn_file_actions_addopen(&actions, i, "/dev/null", O_RDWR, 0);
    char option[] = "--version";
    char* const arguments[] = {const_cast<char*>(name), option, nullptr};
    pid_t child;
    if (!error) error = posix_spawnp(&child, name, &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (!error) wait_for(child);
    return !error;
}
