#include "std/Std_Filter.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <initializer_list>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "std/Std_Descriptor.h"

// 0, or what went wrong.
// Not popen, which takes no descriptor as input and leaves the program's signals as they are: one
// that ignores SIGPIPE would make a command write for ever that nobody reads.
static int spawn_shell(const char* command, int input, int output, pid_t* child) {
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
    char shell[] = "sh", option[] = "-c";
    char* const arguments[] = {shell, option, const_cast<char*>(command), nullptr};
    pid_t started;
    if (!error) error = posix_spawn(&started, "/bin/sh", &actions, &attributes, arguments, environ);
    if (!error) *child = started;
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return error;
}

// As a shell tells it; 0 if it cannot be known.
static int wait_for(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return 0;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

std::FILE* Std_Filter::start(const char* command, int input) {
    finish();
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return nullptr;
    for (int& end : ends) end = std_above_standard(end);
#ifdef F_SETPIPE_SZ
    // Fewer turns between the processes at both ends. No matter if it is refused.
    fcntl(ends[0], F_SETPIPE_SZ, 1 << 20);
#endif
    int error = ends[0] < 0 || ends[1] < 0 ? EMFILE : spawn_shell(command, input, ends[1], &child_);
    // Ours must go, or the end of the output would never come.
    if (ends[1] >= 0) close(ends[1]);
    if (!error) {
        output_ = fdopen(ends[0], "r");
        if (output_) return output_;
        error = errno;
    }
    if (ends[0] >= 0) close(ends[0]);
    if (child_ >= 0) wait_for(child_);
    child_ = -1;
    errno = error;
    return nullptr;
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
    const int status = wait_for(child_);
    child_ = -1;
    return is_at_end ? status : 0;
}
