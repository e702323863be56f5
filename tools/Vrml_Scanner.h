// VRML text as tokens: signs, words, strings with the quote in front, and runs of numbers.
//
//     Vrml_Scanner scanner(text, is_vrml1);
//     while (!scanner.is_over()) { ...scanner.token()...; scanner.take(); }
//
// Commas count as white space, and a comment ends with its line, be that by LF or CR.
#ifndef TOOLS_VRML_SCANNER_H
#define TOOLS_VRML_SCANNER_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

class Vrml_Scanner {
public:
    // Stands at the first token. In VRML 1.0 parentheses and bars are signs, else parts of words.
    // Lifetime: the text must outlive the scanner and what it gives out.
    Vrml_Scanner(const std::string& text, bool is_vrml1);

    std::string_view token() const { return token_; } // empty at the end
    bool is_over() const { return token_.empty(); }
    // Over by its own end, not by that of the operation.
    bool is_cut() const { return is_over() && !is_ended_; }
    // What stands behind the token: no text at the end, but still a place in it.
    std::string_view rest() const { return std::string_view(text_).substr(at_); }
    bool is_sign() const;
    bool is_string() const { return !token_.empty() && token_[0] == '"'; }
    // Whether the token begins as a number does, good or not.
    bool looks_like_number() const;
    bool is_number(double* value) const; // as a whole
    // Whether an opening brace follows the token.
    bool is_followed_by_brace();

    void take();
    // The same for a name behind DEF or USE, which may hold signs of VRML 1.0: `part(1)`.
    void take_name();
    // Appends the numbers that stand behind the token; the token stays. What only looks like a
    // number is left.
    void take_numbers(std::vector<double>* numbers);
    // From an opening brace or bracket to behind its close. False if the text ends first.
    bool skip_enclosed();
    // To the end of the text.
    void end();

private:
    void skip_blanks();
    bool ends_word(char c) const;
    void take_word();
    bool is_broken_number(std::size_t start) const;

    const std::string& text_;
    const bool is_vrml1_;
    std::size_t at_ = 0;
    std::string_view token_;
    bool is_ended_ = false;
};

#endif
