// What a shell command is made of, safely.
//
//     const char* command = str_format("nolt_fromvrml -tmp %s", std_shell_argument(prefix));
#ifndef STD_STD_SHELL_H
#define STD_STD_SHELL_H

// `text` as one word of a shell command, whatever bytes it holds. Plain names stay as they are;
// others stand in single quotes.
// Memory: GCAtomic.
const char* std_shell_argument(const char* text);

#endif
