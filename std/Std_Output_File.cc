#include "std/Std_Output_File.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <initializer_list>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_GC.h"
#include "std/Std_Path.h"

// A descriptor under the name of a file: what is behind it, is written where it stands.
static bool names_a_descriptor(const char* path) {
    for (const char* const begin : {"/dev/std", "/dev/fd/", "/proc/"})
        if (std::strncmp(path, begin, std::strlen(begin)) == 0) return true;
    return false;
}

// `name` in the folder of `target`.
static char* beside(const char* target, const char* name) {
    const std::size_t folder = std_folder_length(target);
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
    if (links == FOLLOW_LINKS) target_ = resolved(target_);
    // Nobody waits for the reader of a pipe that he did not name himself.
    if (is_special || names_a_descriptor(target_))
        return open_in_place(links == REPLACE_LINKS ? O_NONBLOCK : 0);
    // A file that may not be written is not replaced either.
    if (replaces_ && access(target_, W_OK) != 0) return false;
    // The new file takes the rights of the old one.
    if (open_beside() && (!replaces_ || fchmod(descriptor_, status.st_mode & 07777) == 0))
        return true;
    discard();
    // Only where the folder stands in the way: a full disk would cut the old file.
    if (errno != EACCES && errno != EPERM && errno != EROFS) return false;
    return open_in_place(links == REPLACE_LINKS ? O_NOFOLLOW : 0);
}

// Makes a file beside the target under a name that is free: make(path) answers -1, with EEXIST, if
// the name is taken.
// On failure: null, with errno.
template<class Make>
static const char* make_beside(const char* target, Make make) {
    const int most_tries = 100;
    for (int i = 0; i < most_tries; ++i) {
        timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        const char* const path =
            beside(target, str_format(".nolt%x_%lx", static_cast<unsigned int>(getpid()),
                                      static_cast<unsigned long>(now.tv_nsec)));
        if (make(path) >= 0) return path;
        if (errno != EEXIST) break;
    }
    return nullptr;
}

// Where a descriptor has a name, by which a file without one gets one.
static const char* name_of(int descriptor) {
    return str_format("/proc/self/fd/%d", descriptor);
}

// Without a name, if that can be had: a process that is killed leaves nothing then.
bool Std_Output_File::open_beside() {
    const int flags = O_WRONLY | O_CLOEXEC;
    // What is to have the rights of an old file has none for others before.
    const mode_t mode = replaces_ ? 0600 : 0666;
#ifdef O_TMPFILE
    descriptor_ = std_above_standard(::open(beside(target_, "."), flags | O_TMPFILE, mode));
    is_nameless_ = descriptor_ >= 0 && access(name_of(descriptor_), F_OK) == 0;
    if (is_nameless_) return true;
    if (descriptor_ >= 0) ::close(descriptor_);
#endif
    temporary_ = make_beside(target_, [&](const char* path) {
        return descriptor_ = std_above_standard(::open(path, flags | O_CREAT | O_EXCL, mode));
    });
    return temporary_ != nullptr;
}

bool Std_Output_File::open_in_place(int more_flags) {
    const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | more_flags;
    descriptor_ = std_above_standard(::open(target_, flags, 0666));
    if (descriptor_ >= 0 && flags & O_NONBLOCK) fcntl(descriptor_, F_SETFL, 0);
    return descriptor_ >= 0;
}

bool Std_Output_File::prepare() {
    // Without the sync, a crash may leave the new name with none of its bytes, and the old ones
    // gone.
    bool is_good = !(temporary_ || is_nameless_) || !replaces_ || fsync(descriptor_) == 0;
    if (is_nameless_ && is_good) {
        // A link cannot replace a file, so the name is one beside it.
        temporary_ = make_beside(target_, [&](const char* path) {
            return linkat(AT_FDCWD, name_of(descriptor_), AT_FDCWD, path, AT_SYMLINK_FOLLOW);
        });
        is_good = temporary_ != nullptr;
    }
    is_nameless_ = false;
    // The first thing that went wrong is the one to tell.
    int error = errno;
    if (::close(descriptor_) != 0 && is_good) {
        is_good = false;
        error = errno;
    }
    descriptor_ = -1;
    if (!is_good) discard();
    errno = error;
    return is_good;
}

bool Std_Output_File::put_in_place(bool keeps_old) {
    if (!temporary_) return true;
    if (keeps_old) {
        // Whatever is there now, be it a link that is to be replaced.
        old_ = make_beside(target_, [&](const char* path) {
            return linkat(AT_FDCWD, target_, AT_FDCWD, path, 0);
        });
        is_first_ = !old_ && errno == ENOENT;
        // Where files have one name only, the old one cannot be kept.
        if (!old_ && !is_first_ && errno != EPERM && errno != EOPNOTSUPP && errno != EMLINK)
            return false;
    }
    if (std::rename(temporary_, target_) != 0) {
        discard();
        return false;
    }
    temporary_ = nullptr;
    is_in_place_ = keeps_old;
    return true;
}

void Std_Output_File::take_back() {
    if (is_in_place_ && is_first_) unlink(target_);
    if (is_in_place_ && old_) {
        std::rename(old_, target_);
        old_ = nullptr; // if that failed, it keeps its other name rather than be lost
    }
    discard();
}

void Std_Output_File::give_up_old() {
    if (old_) unlink(old_);
    old_ = nullptr;
    is_in_place_ = false;
}

bool Std_Output_File::commit() {
    Std_Output_File* const self[] = {this};
    return prepare() && commit_all(self, 1);
}

bool Std_Output_File::commit_all(Std_Output_File* const files[], int count) {
    int done = 0;
    while (done < count && files[done]->put_in_place(count > 1)) ++done;
    const int error = errno;
    const bool are_all = done == count;
    while (!are_all && count-- > 0) files[count]->take_back();
    while (are_all && count-- > 0) files[count]->give_up_old();
    errno = error;
    return are_all;
}

void Std_Output_File::discard() {
    const int error = errno;
    if (descriptor_ >= 0) ::close(descriptor_);
    if (temporary_) unlink(temporary_);
    give_up_old();
    descriptor_ = -1;
    temporary_ = nullptr;
    is_nameless_ = false;
    errno = error;
}
