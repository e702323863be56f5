// Descriptors, opened so that they cannot be mistaken for others or make the process wait.
//
//     const int file = std_open_plain(path);
//     if (file < 0) return complain(errno);
//
// All are closed in commands that the process starts.
#ifndef STD_STD_DESCRIPTOR_H
#define STD_STD_DESCRIPTOR_H

#include <cstddef>

// The same open file above 2, closing `descriptor` if that is below: a program that was started
// with its standard error closed must not write its reports into a file that happened to get that
// number. On failure, and for a negative descriptor: -1, with errno.
int std_above_standard(int descriptor);

// Opens /dev/null in place of those of the descriptors 0 to 2 that are closed. For the start of
// main.
void std_take_standard_descriptors();

// A plain file for reading. What it is, is asked of the open file, so that nobody can change it in
// between, and opening does not wait for the writer of a pipe.
// On failure: -1, with errno; EINVAL for folders, pipes, sockets and devices, and for files in
// which the kernel shows itself, such as those of /proc and /sys.
int std_open_plain(const char* path);

// A new empty file without a name, which is gone with its last descriptor, however the process
// ends. For reading and writing; in the folder that TMPDIR names, or "/tmp". On failure: -1, with
// errno.
int std_open_nameless();

// On failure: false, with errno. A reader that has gone (EPIPE) and a file that may not grow
// (EFBIG) end the process by no signal.
bool std_write_all(int descriptor, const void* bytes, std::size_t count);
// All of the file, from its start on.
bool std_copy_all(int from, int to);
bool std_write_all_at(int descriptor, const void* bytes, std::size_t count, long long offset);

#endif
