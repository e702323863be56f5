// Numbers in documents have a point, whatever the language of the program's user.
//
//     const Std_Plain_Numbers plain;    // printf and scanf use a point
//     ...                               // up to the end of the block
#ifndef STD_STD_PLAIN_NUMBERS_H
#define STD_STD_PLAIN_NUMBERS_H

#include <locale.h>

// While it lives, numbers are read and written in this thread as in the C locale. All other
// conventions of the current locale stay. Lives may be nested, the inner one ends first.
class Std_Plain_Numbers {
public:
    Std_Plain_Numbers();
    ~Std_Plain_Numbers();
    Std_Plain_Numbers(const Std_Plain_Numbers&) = delete;
    Std_Plain_Numbers& operator=(const Std_Plain_Numbers&) = delete;

private:
    locale_t plain_;
    locale_t before_;
};

#endif
