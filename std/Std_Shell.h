// What a shell command is made of, safely: quoted words and temporary files.
//
//     const char* command = str_format("cat %s | gunzip", std_shell_word(path));
#ifndef STD_STD_SHELL_H
#define STD_STD_SHELL_H

// `text` as one word of a shell command, whatever bytes it holds. Plain names stay as they are;
// others stand in single quotes. A text that begins with "-" gets "./" in front, so that no
// command takes it for an option; "-" alone stays, as it names the standard input.
// Memory: GCAtomic.
const char* std_shell_word(const char* text);

// The same for a text that is an argument, not a path: nothing is put in front.
const char* std_shell_argument(const char* text);

// A new empty file that only this user can open, under a name that cannot be guessed, in the
// folder that TMPDIR names, or "/tmp". Whoever calls it deletes it.
// Returns the open descriptor, and in `*name` the path (GCAtomic).
// On failure: -1 with errno, and `*name` is null.
int std_open_tmp_file(const char** name);

#endif
