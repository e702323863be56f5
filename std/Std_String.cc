#include "std/Std_String.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <istream>
#include <ostream>

#include "std/Std_Assert.h"
#include "std/Std_Space.h"
#include "std/Std_Str_Buffer.h"

using namespace str_buffer;

// A Std_Str_Rep with room for its terminator.
static constinit struct {
    unsigned short length, capacity;
    char text[4];
} nil_record = {0, 1, ""};
Std_Str_Rep& _nil_Std_Str_Rep = reinterpret_cast<Std_Str_Rep&>(nil_record);

// Before the static objects of other files, which may ask for missing ranges.
__attribute__((init_priority(101))) Std_String _nil_Std_String;

// Searching, in the first `sl` characters of `s`.

static bool stands_at(const char* s, const Std_Text& x) {
    return std::memcmp(s, x.chars(), static_cast<std::size_t>(x.length())) == 0;
}

// Forwards from `start`, or backwards from the end if it is negative. An empty text is nowhere.
static int search(const char* s, int start, int sl, const Std_Text& x) {
    if (sl < 1 || x.length() < 1) return -1;
    if (start >= 0) {
        for (int i = start; i <= sl - x.length(); ++i)
            if (stands_at(s + i, x)) return i;
    } else if (start >= -sl) {
        // The candidate's last character is at sl + start.
        for (int i = sl + start + 1 - x.length(); i >= 0; --i)
            if (stands_at(s + i, x)) return i;
    }
    return -1;
}

// At one place only; a negative `start` tells where `x` ends, counted from the end.
static int match(const char* s, int start, int sl, bool exact, const Std_Text& x) {
    if (sl == 0 || x.length() == 0) return -1;
    int pos = start;
    if (start < 0) {
        if (start < -sl) return -1;
        pos = sl + start + 1 - x.length();
        if (pos < 0 || (exact && pos != 0)) return -1;
    } else if (x.length() > sl - start || (exact && x.length() != sl - start)) {
        return -1;
    }
    return stands_at(s + pos, x) ? x.length() : -1;
}

// No text that is longer fits in a string, so a longer one need not be measured.
static int length_of(const char* text) {
    return text ? static_cast<int>(strnlen(text, 1 << 20)) : 0;
}

Std_Text::Std_Text(const Std_String& string) : Std_Text(string.chars(), string.length()) {}

Std_Text::Std_Text(const char* text) : text_(text ? text : ""), length_(length_of(text)) {}

Std_String::Std_String(const Std_String& other)
    : Std_Obj(other), rep_(copy_of(&_nil_Std_Str_Rep, other.rep_)) {}

Std_String::Std_String(const char* text) : rep_(set(&_nil_Std_Str_Rep, text)) {}

Std_String::Std_String(const char* text, int length)
    : rep_(text && length >= 0 ? set(&_nil_Std_Str_Rep, Std_Text(text, length))
                               : set(&_nil_Std_Str_Rep, text)) {}

Std_String::Std_String(const Std_Sub_String& view) : rep_(set(&_nil_Std_Str_Rep, view)) {}

Std_String::Std_String(char character) : rep_(set(&_nil_Std_Str_Rep, character)) {}

Std_String::~Std_String() {
    release(rep_);
    rep_ = &_nil_Std_Str_Rep;
}

Std_String& Std_String::operator=(const Std_String& other) {
    rep_ = copy_of(rep_, other.rep_);
    return *this;
}

Std_String& Std_String::operator=(const Std_Sub_String& view) {
    rep_ = set(rep_, view);
    return *this;
}

Std_String& Std_String::operator=(const char* text) {
    rep_ = set(rep_, text);
    return *this;
}

Std_String& Std_String::operator=(char character) {
    rep_ = set(rep_, character);
    return *this;
}

void Std_String::alloc(int n) {
    rep_ = with_room(rep_, std::max(n, 0));
}

Std_String& Std_String::operator+=(const Std_Text& y) {
    cat(*this, y, *this);
    return *this;
}

void Std_String::prepend(const Std_Text& y) {
    rep_ = prefixed(rep_, y);
}

void cat(const Std_Text& a, const Std_Text& b, Std_String& r) {
    r.rep_ = joined(r.rep_, a, b, Std_Text("", 0));
}

void cat(const Std_Text& a, const Std_Text& b, const Std_Text& c, Std_String& r) {
    r.rep_ = joined(r.rep_, a, b, c);
}

// ASCII only: texts of a file must not depend on who reads it.
static bool is_lower(char c) {
    return c >= 'a' && c <= 'z';
}
static bool is_upper(char c) {
    return c >= 'A' && c <= 'Z';
}
static char to_upper(char c) {
    return is_lower(c) ? static_cast<char>(c - 'a' + 'A') : c;
}
static char to_lower(char c) {
    return is_upper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}
// The nil record is never written to, not even with what it holds already.
static void change_each(Std_Str_Rep* rep, char (*change)(char)) {
    if (rep->length) std::transform(rep->text(), rep->text() + rep->length, rep->text(), change);
}

void Std_String::reverse() {
    std::reverse(rep_->text(), rep_->text() + rep_->length);
}

void Std_String::upcase() {
    change_each(rep_, to_upper);
}

void Std_String::downcase() {
    change_each(rep_, to_lower);
}

// A word is letters, digits and apostrophes, so that "don't" gets one capital; it begins with no
// apostrophe.
void Std_String::capitalize() {
    char* const text = rep_->text();
    const int end = length();
    for (int i = 0; i < end; ++i) {
        if (!is_lower(text[i]) && !is_upper(text[i]) && !std_is_digit(text[i])) continue;
        text[i] = to_upper(text[i]);
        for (++i; i < end; ++i) {
            if (!is_lower(text[i]) && !is_upper(text[i]) && !std_is_digit(text[i]) &&
                text[i] != '\'')
                break;
            text[i] = to_lower(text[i]);
        }
    }
}

Std_String reverse(const Std_String& x) {
    Std_String r = x;
    r.reverse();
    return r;
}

Std_String upcase(const Std_String& x) {
    Std_String r = x;
    r.upcase();
    return r;
}

Std_String downcase(const Std_String& x) {
    Std_String r = x;
    r.downcase();
    return r;
}

Std_String capitalize(const Std_String& x) {
    Std_String r = x;
    r.capitalize();
    return r;
}

int Std_String::index(const Std_Text& x, int start) const {
    return search(chars(), start, length(), x);
}

bool Std_String::contains(const Std_Text& x) const {
    return search(chars(), 0, length(), x) >= 0;
}

bool Std_String::contains(const Std_Text& x, int pos) const {
    return match(chars(), pos, length(), false, x) >= 0;
}

bool Std_String::matches(const Std_Text& x, int pos) const {
    return match(chars(), pos, length(), true, x) >= 0;
}

// Those that overlap count each.
int Std_String::freq(const Std_Text& x) const {
    int found = 0;
    for (int i = 0; i < length(); ++i) found += contains(x, i);
    return found;
}

void Std_String::del(const Std_Text& x, int start) {
    del(search(chars(), start, length(), x), x.length());
}

void Std_String::del(int pos, int len) {
    if (pos < 0 || len <= 0 || pos > length() - len) return;
    char* const text = rep_->text();
    copy(text + pos, text + pos + len, length() - pos - len);
    set_length(rep_, length() - len);
}

int Std_String::gsub(const Std_Text& pattern, const Std_Text& replacement) {
    if (empty() || pattern.length() == 0 || pattern.length() > length()) return 0;
    int matches = 0, done = 0;
    Std_Str_Rep* result = &_nil_Std_Str_Rep;
    for (;;) {
        const int pos = search(chars(), done, length(), pattern);
        if (pos < 0) break;
        ++matches;
        const int head = pos - done, at = result->length, grown = at + head + replacement.length();
        result = with_room(result, grown + length() - pos - pattern.length());
        copy(result->text() + at, chars() + done, head);
        copy(result->text() + at + head, replacement.chars(), replacement.length());
        set_length(result, grown);
        done = pos + pattern.length();
    }
    if (matches == 0) return 0;
    const int at = result->length;
    copy(result->text() + at, chars() + done, length() - done);
    set_length(result, at + length() - done);
    if (fits(rep_, result->length)) {
        rep_ = set(rep_, Std_Text(result->text(), result->length));
        release(result);
    } else {
        release(rep_);
        rep_ = result;
    }
    return matches;
}

Std_Sub_String Std_String::range(int pos, int len) const {
    if (pos < 0 || len < 0 || pos > length() - len) return Std_Sub_String(_nil_Std_String, 0, 0);
    return Std_Sub_String(*this, pos, len);
}

Std_Sub_String Std_String::at(int pos, int len) const {
    return range(pos, len);
}
Std_Sub_String Std_String::operator()(int pos, int len) const {
    return range(pos, len);
}
Std_Sub_String Std_String::before(int pos) const {
    return range(0, pos);
}
Std_Sub_String Std_String::through(int pos) const {
    return pos < -1 || pos == INT_MAX ? range(-1, 0) : range(0, pos + 1);
}
Std_Sub_String Std_String::after(int pos) const {
    return pos < -1 || pos >= length() ? range(-1, 0) : range(pos + 1, length() - pos - 1);
}
Std_Sub_String Std_String::from(int pos) const {
    return pos < 0 ? range(-1, 0) : range(pos, length() - pos);
}

Std_Sub_String Std_String::at(const Std_Text& x, int start) const {
    return range(index(x, start), x.length());
}
Std_Sub_String Std_String::before(const Std_Text& x, int start) const {
    return before(index(x, start));
}
Std_Sub_String Std_String::through(const Std_Text& x, int start) const {
    const int pos = index(x, start);
    return pos < 0 ? range(-1, 0) : range(0, pos + x.length());
}
Std_Sub_String Std_String::after(const Std_Text& x, int start) const {
    const int pos = index(x, start);
    return pos < 0 ? range(-1, 0) : from(pos + x.length());
}
Std_Sub_String Std_String::from(const Std_Text& x, int start) const {
    return from(index(x, start));
}

bool Std_String::OK() const {
    const bool ok = rep_ && rep_->length <= rep_->capacity && chars()[rep_->length] == '\0';
    if (!ok) std_assert(-1, "invariant failure", __FILE__, __LINE__);
    return ok;
}

static signed char difference(char a, char b) {
    return static_cast<signed char>(a - b);
}

// Up to and with the zero byte of `a`.
static int compare_terminated(const char* a, const char* b) {
    for (;; ++a, ++b) {
        const signed char d = difference(*a, *b);
        if (d != 0 || *a == '\0') return d;
    }
}

static int compare_counted(const Std_Text& a, const Std_Text& b) {
    const int common = std::min(a.length(), b.length());
    for (int i = 0; i < common; ++i)
        if (const signed char d = difference(a.chars()[i], b.chars()[i])) return d;
    return a.length() - b.length();
}

int compare(const Std_String& x, const Std_String& y) {
    return compare_terminated(x.chars(), y.chars());
}

int compare(const Std_String& x, const char* y) {
    return y ? compare_terminated(x.chars(), y) : !x.empty();
}

int compare(const Std_String& x, const Std_Sub_String& y) {
    return compare_counted(x, y);
}

int compare(const Std_Sub_String& x, const Std_String& y) {
    return compare_counted(x, y);
}

int compare(const Std_Sub_String& x, const Std_Sub_String& y) {
    return compare_counted(x, y);
}

int compare(const Std_Sub_String& x, const char* y) {
    const Std_Text a(x);
    if (!y) return a.length();
    for (int i = 0; i < a.length(); ++i, ++y) {
        if (const signed char d = difference(a.chars()[i], *y)) return d;
        if (*y == '\0') return a.length() - i; // a zero byte of the view met the end of the text
    }
    return *y == '\0' ? 0 : -1;
}

int fcompare(const Std_Text& x, const Std_Text& y) {
    const int common = std::min(x.length(), y.length());
    for (int i = 0; i < common; ++i) {
        const char a = x.chars()[i], b = y.chars()[i];
        if (const signed char d = difference(to_upper(a), to_upper(b))) return d;
    }
    return x.length() - y.length();
}

int split(const Std_String& source, Std_String results[], int n, const Std_String& separator) {
    // Copies, as the results may hold source or separator.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const Std_String text = source, mark = separator;
    int count = 0;
    for (int pos = 0; count < n && pos < text.length(); ++count) {
        int end = text.index(mark, pos);
        if (end < 0) end = text.length();
        results[count] = text.at(pos, end - pos);
        pos = end + mark.length();
    }
    return count;
}

Std_String join(Std_String items[], int n, const Std_String& separator) {
    Std_String r;
    for (int i = 0; i < n; ++i) {
        if (i > 0) r += separator;
        r += items[i];
    }
    return r;
}

Std_String replicate(char c, int n) {
    return replicate(Std_String(c), n);
}

Std_String replicate(const Std_String& y, int n) {
    Std_String r;
    if (n <= 0 || y.empty()) return r;
    const long long length = static_cast<long long>(n) * y.length();
    r.alloc(static_cast<int>(std::min<long long>(length, INT_MAX)));
    for (int i = 0; i < n; ++i) r += y;
    return r;
}

Std_String common_prefix(const Std_String& x, const Std_String& y, int start) {
    if (start < 0) return Std_String();
    int end = start;
    while (end < x.length() && end < y.length() && x[end] == y[end]) ++end;
    return x.at(start, end - start);
}

Std_String common_suffix(const Std_String& x, const Std_String& y, int start) {
    if (start >= 0) return Std_String();
    const int end = x.length() + start + 1;
    int i = x.length() + start, j = y.length() + start;
    while (i >= 0 && j >= 0 && x[i] == y[j]) --i, --j;
    return x.at(i + 1, end - i - 1);
}

std::ostream& operator<<(std::ostream& out, const Std_String& s) {
    return out.write(s.chars(), s.length());
}

std::ostream& operator<<(std::ostream& out, const Std_Sub_String& s) {
    const Std_Text text(s);
    return out.write(text.chars(), text.length());
}

// Reads up to a character that is an end or to the end of input, whose bit is then set; returns
// the number of characters stored.
int Std_String::read(std::istream& in, int first_size, bool (*is_end)(int c, char terminator),
                     char terminator, bool keeps_end) {
    constexpr int end_of_input = std::istream::traits_type::eof();
    rep_ = resized(rep_, first_size);
    set_length(rep_, 0);
    std::streambuf* const source = in.rdbuf();
    for (;;) {
        const int c = source->sbumpc();
        if (c == end_of_input) in.setstate(std::ios::eofbit);
        const bool ends = c == end_of_input || is_end(c, terminator);
        if (c == end_of_input || (ends && !keeps_end)) return length();
        const int at = length();
        rep_ = resized(rep_, at + 1);
        rep_->text()[at] = static_cast<char>(c);
        if (ends) return length();
    }
}

std::istream& operator>>(std::istream& in, Std_String& s) {
    const int first_size = 20;
    const std::istream::sentry is_ready(in, false);
    if (!is_ready) return in;
    const auto is_space = [](int c, char) { return std_is_space(static_cast<char>(c)); };
    if (s.read(in, first_size, is_space, '\0', false) == 0) in.setstate(std::ios::failbit);
    return in;
}

int readline(std::istream& in, Std_String& s, char terminator, int discard) {
    const int first_size = 80;
    const std::istream::sentry is_ready(in, false);
    if (!is_ready) return 0;
    const auto is_terminator = [](int c, char t) { return c == static_cast<unsigned char>(t); };
    return s.read(in, first_size, is_terminator, terminator, !discard);
}
