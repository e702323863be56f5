#include "std/Std_Plain_Numbers.h"

// Where there is no memory for a locale, the current one stays.
Std_Plain_Numbers::Std_Plain_Numbers() : plain_(locale_t()), before_(uselocale(locale_t())) {
    const locale_t copy = duplocale(before_);
    if (!copy) return;
    plain_ = newlocale(LC_NUMERIC_MASK, "C", copy);
    if (plain_)
        uselocale(plain_);
    else
        freelocale(copy);
}

Std_Plain_Numbers::~Std_Plain_Numbers() {
    if (!plain_) return;
    uselocale(before_);
    freelocale(plain_);
}
