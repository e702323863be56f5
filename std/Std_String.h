// Mutable text with a buffer of its own, and views of its ranges.
//
//     Std_String s = "a walk in the park";
//     s.at("walk", 0) = "run";                 // "a run in the park": the view splices
//     s.before(" in", 0).chars();              // a view; not terminated at its end
//     s.gsub("a", "A");                        // 2; "A run in the pArk"
//     Std_String t = s + ", " + s.after(s.length() - 5);
//
// A text holds up to 32758 characters; more ends the process with a fatal report. Zero bytes are
// characters like others, but for compare with a plain text. Buffers are released as soon as they
// are replaced. Wherever an operation takes a text, the text may come from the string itself.
#ifndef STD_STD_STRING_H
#define STD_STD_STRING_H

#include <compare>
#include <concepts>
#include <iosfwd>

#include "std/Std_Obj.h"
#include "std/Std_Sub_String.h"

class Std_String;

// The buffer of one string.
struct Std_Str_Rep {
    unsigned short length;
    unsigned short capacity; // characters that fit, without the terminator

    // Behind the record, to the end of the block.
    char* text() { return reinterpret_cast<char*>(this + 1); }
    const char* text() const { return reinterpret_cast<const char*>(this + 1); }
};

// Shared by all strings without a buffer. Never written to.
extern Std_Str_Rep& _nil_Std_Str_Rep;

// Shared by all views of a range that does not exist. Assigning to such a view does nothing.
extern Std_String _nil_Std_String;

// What operations take as a text: a string, a view, a plain text (null counts as empty) or a
// character.
// Lifetime: a parameter only; it points into what it was made of.
class Std_Text {
public:
    Std_Text(const Std_String& string);
    Std_Text(const Std_Sub_String& view);
    Std_Text(const char* text);
    Std_Text(const char* text, int length) : text_(text), length_(length) {}
    Std_Text(char character) : text_(&character_), length_(1), character_(character) {}
    Std_Text(const Std_Text&) = delete;
    Std_Text& operator=(const Std_Text&) = delete;

    const char* chars() const { return text_; }
    int length() const { return length_; }

private:
    const char* text_;
    int length_;
    char character_ = '\0';
};

class Std_String : public Std_Obj {
    STD_OBJ_CLASS(Std_String, Std_Obj)

    Std_String() : rep_(&_nil_Std_Str_Rep) {}
    Std_String(const Std_String& other);
    Std_String(const char* text); // null gives an empty text
    Std_String(const char* text, int length);
    Std_String(const Std_Sub_String& view);
    Std_String(char character);
    virtual ~Std_String();

    Std_String& operator=(const Std_String& other);
    Std_String& operator=(const Std_Sub_String& view);
    Std_String& operator=(const char* text);
    Std_String& operator=(char character);

    int length() const { return rep_->length; }
    bool empty() const { return rep_->length == 0; }

    // Lifetime: until the string changes.
    const char* chars() const { return rep_->text(); }
    operator const char*() const { return chars(); }

    // Characters that fit without a new buffer: 6, 22, 54, 118 and so on.
    int allocation() const { return rep_->capacity; }
    // Makes room for `n` characters.
    void alloc(int n);

    // Requires: 0 <= index < length().
    char operator[](int index) const { return elem(index); }
    char& operator[](int index) { return rep_->text()[index]; }
    // Numbers of other types would as well be those of chars()[index].
    template<std::integral Index>
    char operator[](Index index) const {
        return elem(static_cast<int>(index));
    }
    template<std::integral Index>
    char& operator[](Index index) {
        return rep_->text()[index];
    }
    char elem(int index) const { return chars()[index]; }
    // The zero byte for an empty string.
    char firstchar() const { return elem(0); }
    char lastchar() const { return elem(empty() ? 0 : length() - 1); }

    Std_String& operator+=(const Std_Text& y);
    void prepend(const Std_Text& y);

    void reverse();
    void upcase();   // a to z only
    void downcase(); // A to Z only
    // Each run of letters, digits and apostrophes that begins with a letter or digit: its first
    // letter upper case, the others lower case.
    void capitalize();

    // Start of the first match at or after `start`; -1 if there is none, or if x is empty. A
    // negative `start` scans backward: -1 from the end.
    int index(const Std_Text& x, int start = 0) const;

    bool contains(const Std_Text& x) const;
    // Whether x stands at `pos`; a negative `pos` is where x ends: -1 at the end.
    bool contains(const Std_Text& x, int pos) const;
    // Whether x stands at `pos` and reaches to the end; for a negative `pos`, to the start.
    bool matches(const Std_Text& x, int pos = 0) const;
    // Number of positions at which x stands; matches may overlap.
    int freq(const Std_Text& x) const;

    // Removes the first match at or after `start`.
    void del(const Std_Text& x, int start = 0);
    template<std::same_as<char> Char>
    void del(Char x, int start = 0) {
        del(Std_Text(x), start);
    }
    // Removes a range; nothing happens if it does not lie in the text.
    void del(int pos, int len);

    // Replaces all matches, which do not overlap, and returns their number.
    int gsub(const Std_Text& pattern, const Std_Text& replacement);

    // Views: a range; up to pos; up to pos with it; behind pos; from pos on. The nil view for
    // a range that does not lie in the text. A view of a const string is not to be assigned to.
    // Lifetime: as long as the string lives and keeps its length.
    Std_Sub_String at(int pos, int len) const;
    Std_Sub_String operator()(int pos, int len) const;
    Std_Sub_String before(int pos) const;
    Std_Sub_String through(int pos) const;
    Std_Sub_String after(int pos) const;
    Std_Sub_String from(int pos) const;

    // The same around the first match at or after `start` (see index): the match itself; up to
    // its start; through its end; behind its end; from its start on.
    Std_Sub_String at(const Std_Text& x, int start = 0) const;
    Std_Sub_String before(const Std_Text& x, int start = 0) const;
    Std_Sub_String through(const Std_Text& x, int start = 0) const;
    Std_Sub_String after(const Std_Text& x, int start = 0) const;
    Std_Sub_String from(const Std_Text& x, int start = 0) const;

    // A character is a pattern, not a position; a number of any type is a position.
    template<std::same_as<char> Char>
    Std_Sub_String at(Char x, int start = 0) const {
        return at(Std_Text(x), start);
    }
    template<std::same_as<char> Char>
    Std_Sub_String before(Char x, int start = 0) const {
        return before(Std_Text(x), start);
    }
    template<std::same_as<char> Char>
    Std_Sub_String through(Char x, int start = 0) const {
        return through(Std_Text(x), start);
    }
    template<std::same_as<char> Char>
    Std_Sub_String after(Char x, int start = 0) const {
        return after(Std_Text(x), start);
    }
    template<std::same_as<char> Char>
    Std_Sub_String from(Char x, int start = 0) const {
        return from(Std_Text(x), start);
    }

    // Self-check: a fatal report for a broken string.
    bool OK() const;

private:
    friend class Std_Sub_String;
    friend void cat(const Std_Text& a, const Std_Text& b, Std_String& r);
    friend void cat(const Std_Text& a, const Std_Text& b, const Std_Text& c, Std_String& r);
    friend std::istream& operator>>(std::istream& in, Std_String& s);
    friend int readline(std::istream& in, Std_String& s, char terminator, int discard);

    Std_Sub_String range(int pos, int len) const;
    int read(std::istream& in, int first_size, bool (*is_end)(int c, char terminator),
             char terminator, bool keeps_end);

    Std_Str_Rep* rep_;
};

// Negative, 0 or positive. Two strings, or a string and a plain text, compare like C texts: up to
// a zero byte; a null text is less than all but the empty string. Where a view takes part, the
// lengths decide between texts that begin alike. Bytes differ by their difference as a signed
// 8-bit value, so 0xFF is less than 0x01.
int compare(const Std_String& x, const Std_String& y);
int compare(const Std_String& x, const char* y);
int compare(const Std_String& x, const Std_Sub_String& y);
int compare(const Std_Sub_String& x, const Std_String& y);
int compare(const Std_Sub_String& x, const Std_Sub_String& y);
int compare(const Std_Sub_String& x, const char* y);

// By lengths, as above, with a to z taken for A to Z.
int fcompare(const Std_Text& x, const Std_Text& y);

// r = a + b, r = a + b + c, without a string in between.
void cat(const Std_Text& a, const Std_Text& b, Std_String& r);
void cat(const Std_Text& a, const Std_Text& b, const Std_Text& c, Std_String& r);

Std_String reverse(const Std_String& x);
Std_String upcase(const Std_String& x);
Std_String downcase(const Std_String& x);
Std_String capitalize(const Std_String& x);

// Cuts `source` at each `separator` into at most `n` results; returns their number. Neighbouring
// separators give an empty result, one at the end gives none.
int split(const Std_String& source, Std_String results[], int n, const Std_String& separator);

// The items with `separator` between them.
Std_String join(Std_String items[], int n, const Std_String& separator);

Std_String replicate(char c, int n);
Std_String replicate(const Std_String& y, int n);

// The longest run that both have from `start` on; that both have up to `start`, counted from the
// end: -1 is the last character.
Std_String common_prefix(const Std_String& x, const Std_String& y, int start = 0);
Std_String common_suffix(const Std_String& x, const Std_String& y, int start = -1);

std::ostream& operator<<(std::ostream& out, const Std_String& s);
std::ostream& operator<<(std::ostream& out, const Std_Sub_String& s);

// One word; the white space behind it is consumed.
// On failure: the fail bit; the text stays, if the input ends in white space, or becomes empty.
std::istream& operator>>(std::istream& in, Std_String& s);

// Up to `terminator`, which is stored if `discard` is 0. Leading white space is skipped if the
// stream's flag says so. Returns the number of characters stored.
// On failure: 0, and the text stays, if the stream is not good.
int readline(std::istream& in, Std_String& s, char terminator = '\n', int discard = 1);

// Classes derived from these included.
template<class T>
concept Std_String_Or_View =
    std::derived_from<T, Std_String> || std::derived_from<T, Std_Sub_String>;
template<class T>
concept Std_Plain_Text = std::convertible_to<T, const char*> && !Std_String_Or_View<T>;

// A string or view with any text, or a plain text with either.
template<class A, class B>
requires(Std_String_Or_View<A>&& std::convertible_to<const B&, Std_Text>) ||
    (Std_Plain_Text<A> && Std_String_Or_View<B>)Std_String operator+(const A& a, const B& b) {
    Std_String r;
    cat(a, b, r);
    return r;
}

// By compare; the other relations and the other order of a pair follow. A view and a string are
// compared the other way round.
inline bool operator==(const Std_String& a, const Std_String& b) {
    return compare(a, b) == 0;
}
inline bool operator==(const Std_String& a, const Std_Sub_String& b) {
    return compare(a, b) == 0;
}
inline bool operator==(const Std_String& a, const char* b) {
    return compare(a, b) == 0;
}
inline bool operator==(const Std_Sub_String& a, const Std_Sub_String& b) {
    return compare(a, b) == 0;
}
inline bool operator==(const Std_Sub_String& a, const char* b) {
    return compare(a, b) == 0;
}
inline std::weak_ordering operator<=>(const Std_String& a, const Std_String& b) {
    return compare(a, b) <=> 0;
}
inline std::weak_ordering operator<=>(const Std_String& a, const Std_Sub_String& b) {
    return compare(a, b) <=> 0;
}
inline std::weak_ordering operator<=>(const Std_String& a, const char* b) {
    return compare(a, b) <=> 0;
}
inline std::weak_ordering operator<=>(const Std_Sub_String& a, const Std_Sub_String& b) {
    return compare(a, b) <=> 0;
}
inline std::weak_ordering operator<=>(const Std_Sub_String& a, const char* b) {
    return compare(a, b) <=> 0;
}

#endif
