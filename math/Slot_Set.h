// Set of small numbers that is filled in any order and emptied in ascending order.
//
//     Slot_Set hits;
//     hits.reserve(n);                         // room for 0 to n - 1; nothing else allocates
//     hits.put(7), hits.put(3);
//     end = hits.drain(out);                   // 3, 7; the set is empty again
//
// A bit a number, and above them a bit for each word that is not zero: draining passes by 4096
// absent numbers at a step. Numbers that are held already may be put again.
#ifndef MATH_SLOT_SET_H
#define MATH_SLOT_SET_H

#include <bit>
#include <cstddef>
#include <cstdint>

#include "base/Plain_Array.h"

class Slot_Set {
public:
    // Requires: the set is empty.
    void reserve(std::size_t count) {
        words_.resize(count / word_bits_ + 1);
        summary_.resize(words_.count() / word_bits_ + 1);
    }

    // Requires: number below the reserved count.
    void put(std::uint32_t number) {
        words_[number / word_bits_] |= bit(number);
        summary_[number / word_bits_ / word_bits_] |= bit(number / word_bits_);
    }

    // Writes the members to `out`, ascending, and answers the end of what was written.
    std::uint32_t* drain(std::uint32_t* out) {
        for (std::size_t s = 0; s < summary_.count(); ++s) {
            for (std::uint64_t used = summary_[s]; used != 0; used &= used - 1) {
                const std::size_t w = s * word_bits_ + first_bit(used);
                for (std::uint64_t word = words_[w]; word != 0; word &= word - 1)
                    *out++ = static_cast<std::uint32_t>(w * word_bits_ + first_bit(word));
                words_[w] = 0;
            }
            summary_[s] = 0;
        }
        return out;
    }

private:
    static constexpr std::size_t word_bits_ = 64;

    static std::uint64_t bit(std::size_t number) { return std::uint64_t{1} << number % word_bits_; }
    static std::size_t first_bit(std::uint64_t word) {
        return static_cast<std::size_t>(std::countr_zero(word));
    }

    Plain_Array<std::uint64_t> words_;
    Plain_Array<std::uint64_t> summary_;
};

#endif
