// Numbers out of text, with the results of sscanf, the same everywhere, and little of its cost.
#ifndef STD_STD_SCAN_H
#define STD_STD_SCAN_H

// Bytes that may be read, but are not looked at, behind the end of a text that is scanned.
inline constexpr int STD_SCAN_MARGIN = 8;

// Reads a number at `*text` as sscanf("%f") does, and moves `*text` behind it: white space, a sign,
// and then decimal or hexadecimal digits with or without a point and an exponent, "inf", "infinity"
// or "nan". Of damaged numbers, in which C libraries differ, always the same is taken:
//   1e  1e+  0x1p-   an exponent without digits is passed, and counts as none
//   0x.              is zero; 0x alone is no number
//   nan(1)           ends in front of the bracket
//   infi             has to go on as infinity, or is no number
// On failure: false, and nothing is moved.
// Requires: STD_SCAN_MARGIN readable bytes behind the terminating zero byte, and Std_Plain_Numbers.
bool std_scan_f(const char** text, float* value);

// Reads `count` plain numbers that stand in one line, also where the line lies in a larger text:
// each has decimal digits with or without a point, and ends in front of white space, the end of the
// text, one of the letters c, n and t, or a backslash, which may join the line with the next one.
// No line feed may stand in front of a number.
// On failure: false, and nothing is moved, for every text of another form, whether std_scan_f would
// read it or not: ask std_scan_f then. Of the values, some may have been written.
// Requires: STD_SCAN_MARGIN as above; the zero byte may stand behind many lines.
bool std_scan_row(const char** text, float* values, int count);

#endif
