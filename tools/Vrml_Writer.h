// Scene text: names that nobody else uses, numbers that read back to the same bits, and blocks.
//
//     Vrml_Writer out(stdout, "town_vrml_3");
//     out.put("node ");
//     out.put(out.new_name("door"));            // door.town_vrml_3
#ifndef TOOLS_VRML_WRITER_H
#define TOOLS_VRML_WRITER_H

#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>

// Room that one number can need, with the blank before it: a triangle with 36 numbers stays within
// the 1023 characters of a line.
inline constexpr int VRML_LONGEST_NUMBER = 24;

// Writes a blank and the nearest single-precision number, the shortest way. What is beyond becomes
// the largest, and what is no number zero. Returns the end. Requires: VRML_LONGEST_NUMBER bytes,
// and some more that may be written over.
char* vrml_put_number(char* out, double value);

class Vrml_Writer {
public:
    // The end of `prefix` goes into every name; without one names are as they are wished.
    // Lifetime: `out` stays the caller's, and gets its last text from flush.
    Vrml_Writer(std::FILE* out, std::string_view prefix);

    // A name of the scene format, of at most 127 characters, that is not taken yet.
    std::string new_name(std::string_view wish);

    void put(std::string_view text) {
        if (text.size() > sizeof block_ - used_) make_room(text);
        if (text.size() <= sizeof block_) {
            std::memcpy(block_ + used_, text.data(), text.size());
            used_ += text.size();
        }
    }
    void put_number(double value);
    void put_numbers(std::span<const double> values);
    // False if something could not be written.
    bool flush();

private:
    void make_room(std::string_view text);

    std::FILE* const out_;
    std::string tail_;
    std::unordered_set<std::string> names_;
    int name_count_ = 0;
    bool is_good_ = true;
    std::size_t used_ = 0;
    char block_[1 << 16];
};

#endif
