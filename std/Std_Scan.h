// Numbers out of text, with exactly the results of sscanf and little of its cost.
#ifndef STD_STD_SCAN_H
#define STD_STD_SCAN_H

// Bytes that may be read, but are not looked at, behind the end of a text that is scanned.
inline constexpr int STD_SCAN_MARGIN = 8;

// Reads a plain decimal number at `*text`: white space, a sign, digits with or without a point, and
// then white space, the end of the text, or one of the letters c, n and t. Moves `*text` behind the
// number. The value is the nearest float, as of sscanf("%f").
// On failure: false, and nothing is moved, for every text of another form, whether sscanf would
// read it or not: ask sscanf then.
// Requires: STD_SCAN_MARGIN readable bytes behind the terminating zero byte.
bool std_scan_f(const char** text, float* value);

// Reads `count` such numbers that stand in one line, also where the line lies in a larger text: no
// line feed may stand in front of a number, and a backslash, which may join the line with the next
// one, ends a number too.
// On failure: false, and nothing is moved; of the values, some may have been written.
// Requires: as above; the zero byte may stand behind many lines.
bool std_scan_row(const char** text, float* values, int count);

#endif
