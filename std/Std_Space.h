// What counts as white space and as a digit, in any locale. Internal.
#ifndef STD_STD_SPACE_H
#define STD_STD_SPACE_H

// Within a line: all white space but the line feed.
inline bool std_is_blank(char c) {
    return c == ' ' || c == '\t' || (c >= '\v' && c <= '\r');
}

inline bool std_is_space(char c) {
    return c == '\n' || std_is_blank(c);
}

inline bool std_is_digit(char c) {
    return static_cast<unsigned char>(c - '0') < 10;
}

#endif
