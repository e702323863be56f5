// Numbers as text, with exactly the characters of printf in the C locale and none of its cost.
#ifndef STD_STD_FORMAT_H
#define STD_STD_FORMAT_H

// Room that one "%f" of a float can need: sign, 39 digits, point, 6 decimals.
inline constexpr int STD_FORMAT_F_MAX = 48;

// Writes `value` as printf("%f") does in the C locale, for every float: ties go to the even
// digit, negative zero keeps its sign, infinities and NaNs are spelled as there.
// Returns the end of the text, which is not terminated.
// Requires: STD_FORMAT_F_MAX bytes at `out`.
char* std_format_f(char* out, float value);

#endif
