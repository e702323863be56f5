#include "std/Std_Descriptor.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#ifdef __linux__
#include <sys/vfs.h>
#endif
#include <unistd.h>

#include "std/Std_GC.h"

int std_above_standard(int descriptor) {
    // In a program whose standard streams are closed a file would get their numbers, and then all
    // that is printed.
    if (descriptor < 0 || descriptor > STDERR_FILENO) return descriptor;
    const int above = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    close(descriptor);
    errno = error;
    return above;
}

void std_take_standard_descriptors() {
    for (int i = STDIN_FILENO; i <= STDERR_FILENO; ++i) {
        if (fcntl(i, F_GETFD) >= 0 || errno != EBADF) continue;
        // The lowest that is free, so this one.
        if (open("/dev/null", i == STDIN_FILENO ? O_RDONLY : O_WRONLY) < 0) return;
    }
}

// What the kernel shows of itself as files may have no end, though it is called regular, and
// reading it may have effects.
static bool is_of_kernel([[maybe_unused]] int descriptor) {
#ifdef __linux__
    // Not all headers have all of these names.
    static const unsigned kinds[] = {
        0x9fa0,     // proc
        0x62656572, // sysfs
        0x64626720, // debugfs
        0x74726163, // tracefs
        0x73636673, // securityfs
        0x62656570, // configfs
        0x0027e0eb, // cgroup
        0x63677270, // cgroup2
        0xf97cff8c, // selinux
        0xcafe4a11, // bpf
        0xde5e81e4, // efivarfs
        0x6165676c, // pstore
        0x42494e4d, // binfmt_misc
        0x07655821, // resctrl
    };
    struct statfs system;
    if (fstatfs(descriptor, &system) != 0) return false;
    for (const unsigned kind : kinds)
        if (static_cast<unsigned>(system.f_type) == kind) return true;
#endif
    return false;
}

int std_open_plain(const char* path) {
    const int descriptor =
        // A pipe without a writer would block the open, and a terminal become that of the process.
        // What was opened is judged, not the name, which may lead elsewhere by then.
        std_above_standard(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (descriptor < 0) return -1;
    struct stat status;
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && !is_of_kernel(descriptor))
        return descriptor;
    close(descriptor);
    errno = EINVAL;
    return -1;
}

int std_open_nameless() {
    const char* folder = std::getenv("TMPDIR");
    // A relative folder would move with the working directory.
    if (!folder || folder[0] != '/') folder = "/tmp";
#ifdef O_TMPFILE
    const int nameless = std_above_standard(open(folder, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (nameless >= 0) return nameless;
#endif
    // Not every file system knows files without a name.
    static const char pattern[] = "/noltXXXXXX";
    const std::size_t length = std::strlen(folder);
    char* const path = new (GCAtomic) char[length + sizeof pattern];
    std::memcpy(path, folder, length);
    std::memcpy(path + length, pattern, sizeof pattern);
    const int descriptor = std_above_standard(mkostemp(path, O_CLOEXEC));
    if (descriptor >= 0) unlink(path);
    return descriptor;
}

namespace {
// While it lives, a reader that has gone and a file that is too large are errors of write alone,
// and no signals that end the process, whatever the program does with these.
class Quiet_Writing {
public:
    Quiet_Writing() {
        sigemptyset(&quiet_);
        sigaddset(&quiet_, SIGPIPE);
        sigaddset(&quiet_, SIGXFSZ);
        sigpending(&before_);
        pthread_sigmask(SIG_BLOCK, &quiet_, &mask_);
    }
    Quiet_Writing(const Quiet_Writing&) = delete;
    Quiet_Writing& operator=(const Quiet_Writing&) = delete;
    ~Quiet_Writing() {
        const int error = errno;
        const timespec at_once = {0, 0};
        // Not those that were waiting before.
        if (sigismember(&before_, SIGPIPE)) sigdelset(&quiet_, SIGPIPE);
        if (sigismember(&before_, SIGXFSZ)) sigdelset(&quiet_, SIGXFSZ);
        if (is_failed) sigtimedwait(&quiet_, nullptr, &at_once);
        pthread_sigmask(SIG_SETMASK, &mask_, nullptr);
        errno = error;
    }

    bool is_failed = false;

private:
    sigset_t quiet_, before_, mask_;
};
} // namespace

// write(bytes, count) writes some of them.
template<class Write>
static bool write_all(const void* bytes, std::size_t count, Write write) {
    Quiet_Writing quiet;
    const char* next = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t put = write(next, count);
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) {
            quiet.is_failed = true;
            return false;
        }
        next += put;
        count -= static_cast<std::size_t>(put);
    }
    return true;
}

bool std_write_all(int descriptor, const void* bytes, std::size_t count) {
    return write_all(bytes, count, [=](const char* next, std::size_t left) {
        return write(descriptor, next, left);
    });
}

bool std_write_all_at(int descriptor, const void* bytes, std::size_t count, long long offset) {
    const char* const start = static_cast<const char*>(bytes);
    return write_all(bytes, count, [=](const char* next, std::size_t left) {
        return pwrite(descriptor, next, left, static_cast<off_t>(offset + (next - start)));
    });
}

bool std_copy_all(int from, int to) {
    char block[8192]; // on stacks of threads, which may be small
    if (lseek(from, 0, SEEK_SET) != 0) return false;
    ssize_t got;
    while ((got = read(from, block, sizeof block)) != 0) {
        if (got < 0 && errno == EINTR) continue;
        if (got < 0 || !std_write_all(to, block, static_cast<std::size_t>(got))) return false;
    }
    return true;
}
