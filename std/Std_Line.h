// Lines for people: what comes from a document may hold control characters, which a terminal takes
// for commands. They are shown as "\x1b", all but line feeds and tabs.
#ifndef STD_STD_LINE_H
#define STD_STD_LINE_H

// Writes `prefix`, `text` and a line feed to the standard error stream in one go,
// with the control characters of `text` shown as above.
void std_write_line(const char* prefix, const char* text);

// The text as reports show it, for those who write names to other streams: itself if it is
// harmless, else a new text.
const char* std_harmless(const char* text);

#endif
