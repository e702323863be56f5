// What a shell command is made of, safely.
//
//     const char* command = str_format("nolt_fromvrml -tmp %s", std_shell_argument(prefix));
#ifndef STD_STD_SHELL_H
#define STD_STD_SHELL_H

#include <string>

// `text` as one word of a shell command, whatever bytes it holds. Plain names stay as they are;
// others stand in single quotes.
// Memory: GCAtomic.
const char* std_shell_argument(const char* text);

// Stands before a command of this system, which is looked for behind PATH beside the program that
// runs, as commands of one build lie, and where the library was to be installed. A blank follows.
std::string std_path_to_own_commands();

#endif
