#include "std/Std_Output_File.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <initializer_list>
#include <sys/stat.h>
#include <unistd.h>

#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_GC.h"

// A descriptor under the name of a file: what is behind it, is written where it stands.
static bool names_a_descriptor(const char* path) {
    for (const char* const begin : {"/dev/std", "/dev/fd/", "/proc/"})
        if (std::strncmp(path, begin, std::strlen(begin)) == 0) return true;
    return false;
}

// `name` in the folder of `target`.
static char* beside(const char* target, const char* name) {
    const char* const slash = std::strrchr(target, '/');
    const std::size_t folder = slash ? static_cast<std::size_t>(slash + 1 - target) : 0;
    const std::size_t length = std::strlen(name);
    char* const path = new (GCAtomic) char[folder + length + 1];
    std::memcpy(path, target, folder);
    std::memcpy(path + folder, name, length + 1);
    return path;
}

// `target` with what its own link, if it is one, leads to in its place. Also for a link that leads
// to nothing yet. The name of a descriptor stays.
static const char* resolved(const char* target) {
    const int most_links = 40; // as many as the system follows
    char* const link = new (GCAtomic) char[PATH_MAX];
    for (int i = 0; i < most_links && !names_a_descriptor(target); ++i) {
        const ssize_t length = readlink(target, link, PATH_MAX - 1);
        if (length < 0) break;
        link[length] = '\0';
        target = link[0] == '/' ? str_new(link) : beside(target, link);
    }
    return target;
}

bool Std_Output_File::open(const char* path, Links links) {
    discard();
    target_ = str_new(path);
    struct stat status;
    errno = 0;
    // What is there decides: a regular file is replaced, a folder refused, anything else, as a
    // device or a pipe, is written where it stands.
    const bool exists = (links == FOLLOW_LINKS ? stat(path, &status) : lstat(path, &status)) == 0;
    replaces_ = exists && S_ISREG(status.st_mode);
    if (errno == ELOOP) return false;
    if (exists && S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return false;
    }
    const bool is_special = exists && !replaces_ && !S_ISLNK(status.st_mode);
    if (links == FOLLOW_LINKS) target_ = resolved(path);
    if (is_special || names_a_descriptor(target_)) return open_in_place(0);
    // A file that may not be written is not replaced either.
    if (replaces_ && access(target_, W_OK) != 0) return false;
    if (open_beside()) {
        // The new file takes the rights of the old one; there is no way to ask for the mask but to
        // set it.
        const mode_t mask = umask(0);
        umask(mask);
        const mode_t mode = replaces_ ? status.st_mode & 07777 : 0666 & ~mask;
        if (fchmod(descriptor_, mode) == 0) return true;
        discard();
    }
    return open_in_place(links == REPLACE_LINKS ? O_NOFOLLOW : 0);
}

static char* pattern_beside(const char* target) {
    return beside(target, ".noltXXXXXX");
}

// Where a descriptor has a name, by which a file without one gets one.
static const char* name_of(int descriptor) {
    return str_format("/proc/self/fd/%d", descriptor);
}

// Without a name, if that can be had: a process that is killed leaves nothing then.
bool Std_Output_File::open_beside() {
#ifdef O_TMPFILE
    const int flags = O_TMPFILE | O_WRONLY | O_CLOEXEC;
    descriptor_ = std_above_standard(::open(beside(target_, "."), flags, 0600));
    is_nameless_ = descriptor_ >= 0 && access(name_of(descriptor_), F_OK) == 0;
    if (is_nameless_) return true;
    if (descriptor_ >= 0) ::close(descriptor_);
#endif
    char* const path = pattern_beside(target_);
    descriptor_ = std_above_standard(mkostemp(path, O_CLOEXEC));
    temporary_ = descriptor_ < 0 ? nullptr : path;
    return descriptor_ >= 0;
}

// A link cannot replace a file, so the name is one beside it, which the rename of commit then
// moves. mkostemp finds a free one; somebody may take it before the link does.
bool Std_Output_File::give_name() {
    const int most_tries = 100;
    for (int i = 0; i < most_tries; ++i) {
        char* const path = pattern_beside(target_);
        const int placeholder = mkostemp(path, O_CLOEXEC);
        if (placeholder < 0) return false;
        ::close(placeholder);
        unlink(path);
        if (linkat(AT_FDCWD, name_of(descriptor_), AT_FDCWD, path, AT_SYMLINK_FOLLOW) == 0) {
            temporary_ = path;
            return true;
        }
        if (errno != EEXIST) return false;
    }
    return false;
}

bool Std_Output_File::open_in_place(int more_flags) {
    const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | more_flags;
    descriptor_ = std_above_standard(::open(target_, flags, 0666));
    return descriptor_ >= 0;
}

bool Std_Output_File::commit() {
    // Without the sync, a crash may leave the new name with none of its bytes, and the old ones
    // gone.
    bool is_good = !(temporary_ || is_nameless_) || !replaces_ || fsync(descriptor_) == 0;
    if (is_nameless_ && is_good) is_good = give_name();
    // The first thing that went wrong is the one to tell.
    int error = errno;
    if (::close(descriptor_) != 0 && is_good) {
        is_good = false;
        error = errno;
    }
    descriptor_ = -1;
    if (temporary_ && is_good && std::rename(temporary_, target_) != 0) {
        is_good = false;
        error = errno;
    }
    if (temporary_ && !is_good) unlink(temporary_);
    temporary_ = nullptr;
    is_nameless_ = false;
    errno = error;
    return is_good;
}

void Std_Output_File::discard() {
    if (descriptor_ < 0) return;
    const int error = errno;
    ::close(descriptor_);
    if (temporary_) unlink(temporary_);
    descriptor_ = -1;
    temporary_ = nullptr;
    is_nameless_ = false;
    errno = error;
}
