// Where the keys of a large Hash_Table lie, and which of its cells are taken.
//
// The cells of a table are ordered by linear probing. Beside them stands one
// block without pointers, so that a lookup reads next to none of them:
//
//     tags[m + 64]   for each cell 0, or 8 bits of the hash; the first 64 again
//                    at the end. A look at 16 cells is one comparison, and nearly
//                    all keys lie within 64 cells from home
//     taken[m/64]    for each cell a bit, then for each full word a bit, and so
//                    on, 64 to 1, up to one word: finds the end of any run in
//                    as many steps as there are levels
//
// Linear probing promises nothing about speed: hashes that cluster (texts that
// end alike, addresses of large objects) make runs of taken cells as long as the
// table. So, when the first key comes to lie farther, the block goes on:
//
//     entries[m]     the far keys alone: open addressing by a mix of all 32 bits
//                    of the hash, at most half full; an entry is a cell number
//                    and what bits of the mix have room beside it, 0 is empty
//
// The modulus m is a power of two. This class never sees a key: functions of its
// user compare keys (`is_it(cell)`) and hash them (`hash_of(cell)`).
#ifndef BASE_HASH_INDEX_H
#define BASE_HASH_INDEX_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// 16 tags at a time: which of them equal a value, as 16 bits.
#if defined(__SSE2__)
class Hash_Tag_Group {
public:
    explicit Hash_Tag_Group(const std::uint8_t* tags)
        : tags_(_mm_loadu_si128(reinterpret_cast<const __m128i*>(tags))) {}
    unsigned int equal(std::uint8_t tag) const {
        // A byte alone would go by way of memory, and wait there.
        const __m128i wanted = _mm_set1_epi32(static_cast<int>(tag * 0x01010101u));
        return static_cast<unsigned int>(_mm_movemask_epi8(_mm_cmpeq_epi8(tags_, wanted)));
    }

private:
    __m128i tags_;
};
#else
class Hash_Tag_Group {
public:
    explicit Hash_Tag_Group(const std::uint8_t* tags) : tags_(tags) {}
    unsigned int equal(std::uint8_t tag) const {
        unsigned int bits = 0;
        for (int i = 0; i < 16; ++i) bits |= static_cast<unsigned int>(tags_[i] == tag) << i;
        return bits;
    }

private:
    const std::uint8_t* tags_;
};
#endif

class Hash_Index {
public:
    // Below this many cells a table does without.
    static constexpr int least_modulus = 64;
    // Entries must name any cell, plus 1, in 31 bits.
    static constexpr int greatest_modulus = 1 << 30;
    static constexpr int absent = -1;

    bool is_used() const { return tags_ != nullptr; }

    // Begins anew, with cells 0 .. modulus - 1 free. The old block is dropped.
    // Memory: GCAtomic.
    void make(int modulus);
    // Gives the block back; the index is unused from now on.
    void release();
    // Frees all cells.
    void clear();

    // The cell of the key with this hash for which is_it is true, or `absent`.
    // Order: that in which linear probing comes by; is_it is asked for few keys
    // of other hashes, and for all of this one.
    // Requires: no free cell between a key and its home.
    template<class Is_It>
    int find(unsigned int hash, Is_It is_it) const;

    // Takes the first free cell at or after hash mod m, past the last one from
    // cell 0. The key should stand there before the next removal.
    // Requires: a free cell.
    int take(unsigned int hash);

    // Takes cells for the keys of an older index of the same keys, in the order of its cells:
    // move(from, to) is called for each. old_hash_of(cell) hashes a key where it was.
    template<class Old_Hash_Of, class Move>
    void take_all(const Hash_Index& old, Old_Hash_Of old_hash_of, Move move);

    bool is_taken(int cell) const { return tags_[cell] != 0; }

    // The first taken cell from `from` on; the modulus if there is none.
    int next_taken(int from) const;

    // visit(cell) for all taken cells, the first one first.
    template<class Visit>
    void each_taken(Visit visit) const;

    // No key lies farther behind its home cell.
    int reach() const { return static_cast<int>(reach_); }

    // Removal: forget the key, move others up to close the run, free the cell
    // that is left. Forgetting and moving answer false if the key seems to have
    // been taken in under another hash; enter all anew at the end.
    template<class Hash_Of>
    bool forget(unsigned int hash, int cell, Hash_Of hash_of);
    template<class Hash_Of>
    bool move(unsigned int hash, int from, int to, Hash_Of hash_of);
    void free_cell(int cell);
    // While no key lies far, there is nothing to forget, and tags are all that moves.
    bool has_far() const { return entries_ != nullptr; }
    class Tags;
    Tags tags() const;
    template<class Hash_Of>
    void enter_all(Hash_Of hash_of);

private:
    static constexpr unsigned int group_ = 16; // cells seen at a time
    static constexpr unsigned int far_ = 64;   // as many as a mask has bits
    static constexpr unsigned int word_bits_ = 64;

    unsigned int modulus() const { return mask_ + 1; }
    unsigned int next(unsigned int slot) const { return (slot + 1) & mask_; }
    std::uint64_t* taken() const {
        return reinterpret_cast<std::uint64_t*>(tags_ + modulus() + far_);
    }

    // Of the cells from `home` to the end of its word, as bits.
    std::uint64_t free_from(unsigned int home) const {
        return ~taken()[home / word_bits_] >> (home % word_bits_);
    }

    static std::uint8_t tag(unsigned int hash);
    template<unsigned int cells>
    std::uint64_t equal_from(unsigned int home, std::uint8_t tag) const;
    void set_tag(int cell, std::uint8_t tag);
    bool is_far(unsigned int hash, int cell) const;

    // Entries by mixed hash. Like mixes cancel out of an entry, and leave a cell
    // number plus 1.
    static std::uint32_t mix(std::uint32_t hash);
    unsigned int first_slot(std::uint32_t mixed) const { return mixed >> (32 - bits_); }
    std::uint32_t upper_bits(std::uint32_t mixed) const { return mixed << (bits_ + 1); }
    int cell_of(std::uint32_t entry) const;
    template<class Is_It>
    int find_far(unsigned int hash, Is_It is_it) const;
    unsigned int slot_of(unsigned int hash, int cell) const;
    void enter(unsigned int hash, int cell);
    template<class Hash_Of>
    void erase(unsigned int slot, Hash_Of hash_of);
    void make_entries();
    void note_reach(unsigned int distance);
    bool rename(unsigned int hash, int from, int to);

    int first_free(unsigned int home) const;
    int next_free(int home) const;
    void mark_taken(int cell);
    void mark_full_word(std::size_t word);
    void mark_free(int cell);

    std::uint8_t* tags_ = nullptr;     // the block
    std::uint32_t* entries_ = nullptr; // in this block; null while no key lies far
    unsigned int mask_ = 0;            // modulus - 1
    unsigned int reach_ = 0;           // no key lies farther from home
    int bits_ = 0;                     // log2 of the modulus
};

// The tags of all cells, to be held by value in a loop: a stored tag might be any part of an index,
// for all that the compiler knows, which then reads it anew.
class Hash_Index::Tags {
public:
    Tags(std::uint8_t* tags, unsigned int mask) : tags_(tags), mask_(mask) {}
    bool is_taken(int cell) const { return tags_[cell] != 0; }
    void move(int from, int to) const { set(static_cast<unsigned int>(to), tags_[from]); }
    void set(unsigned int cell, std::uint8_t tag) const {
        tags_[cell] = tag;
        tags_[((cell - far_) & mask_) + far_] = tag; // the same cell, but for the first 64
    }

private:
    std::uint8_t* tags_;
    unsigned int mask_;
};

inline Hash_Index::Tags Hash_Index::tags() const {
    return Tags(tags_, mask_);
}

// 2^32 over the golden ratio, to the next prime: each bit of the hash reaches
// the high bits of the product.
inline std::uint8_t Hash_Index::tag(unsigned int hash) {
    const unsigned int high = (hash * 0x9E3779B1u) >> 24;
    return static_cast<std::uint8_t>(high + (high == 0));
}

// Which of the cells from `home` on have this tag. No branches: how far a key
// lies from home is anybody's guess.
template<unsigned int cells>
inline std::uint64_t Hash_Index::equal_from(unsigned int home, std::uint8_t tag) const {
    std::uint64_t bits = 0;
    for (unsigned int i = 0; i < cells; i += group_) {
        bits |= static_cast<std::uint64_t>(Hash_Tag_Group(tags_ + home + i).equal(tag)) << i;
    }
    return bits;
}

template<class Is_It>
[[gnu::always_inline]] inline int Hash_Index::find(unsigned int hash, Is_It is_it) const {
    const unsigned int home = hash & mask_;
    std::uint64_t like = reach_ < group_       ? equal_from<group_>(home, tag(hash))
                         : reach_ < 2 * group_ ? equal_from<2 * group_>(home, tag(hash))
                         : reach_ < 3 * group_ ? equal_from<3 * group_>(home, tag(hash))
                                               : equal_from<far_>(home, tag(hash));
    for (; like != 0; like &= like - 1) {
        const auto i = static_cast<unsigned int>(std::countr_zero(like));
        const int cell = static_cast<int>((home + i) & mask_);
        if (is_it(cell)) return cell;
    }
    return entries_ && free_from(home) == 0 ? find_far(hash, is_it) : absent;
}

inline int Hash_Index::next_taken(int from) const {
    const auto start = static_cast<unsigned int>(from);
    if (start >= modulus()) return static_cast<int>(modulus());
    std::uint64_t word = taken()[start / word_bits_] >> (start % word_bits_)
                                                            << (start % word_bits_);
    unsigned int first = start / word_bits_ * word_bits_;
    while (word == 0) {
        first += word_bits_;
        if (first == modulus()) return static_cast<int>(first);
        word = taken()[first / word_bits_];
    }
    return static_cast<int>(first + static_cast<unsigned int>(std::countr_zero(word)));
}

template<class Visit>
inline void Hash_Index::each_taken(Visit visit) const {
    const unsigned int end = modulus();
    const std::uint64_t* const words = taken();
    for (unsigned int first = 0; first < end; first += word_bits_) {
        for (std::uint64_t word = words[first / word_bits_]; word != 0; word &= word - 1) {
            visit(static_cast<int>(first + static_cast<unsigned int>(std::countr_zero(word))));
        }
    }
}

template<class Is_It>
int Hash_Index::find_far(unsigned int hash, Is_It is_it) const {
    const std::uint32_t mixed = mix(hash);
    const std::uint32_t upper = upper_bits(mixed);
    const unsigned int all_cells = modulus();
    for (unsigned int slot = first_slot(mixed);; slot = next(slot)) {
        const std::uint32_t entry = entries_[slot];
        if (entry == 0) return absent;
        const std::uint32_t cell = (entry ^ upper) - 1;
        if (cell >= all_cells || tags_[cell] == 0) continue;
        if (is_it(static_cast<int>(cell))) return static_cast<int>(cell);
    }
}

inline void Hash_Index::set_tag(int cell, std::uint8_t tag) {
    tags().set(static_cast<unsigned int>(cell), tag);
}

inline bool Hash_Index::is_far(unsigned int hash, int cell) const {
    return ((static_cast<unsigned int>(cell) - hash) & mask_) >= far_;
}

// In most runs that leave a word, the next word has room.
inline int Hash_Index::first_free(unsigned int home) const {
    const std::uint64_t free = free_from(home);
    if (free != 0) return static_cast<int>(home) + std::countr_zero(free);
    const unsigned int next_word = (home / word_bits_ + 1) & (mask_ / word_bits_);
    const std::uint64_t taken_there = taken()[next_word];
    if (taken_there == UINT64_MAX) return next_free(static_cast<int>(home));
    return static_cast<int>(next_word * word_bits_) + std::countr_zero(~taken_there);
}

// The free cell is found in the bits: a load of 16 tags would wait for the last
// tag stored among them.
inline int Hash_Index::take(unsigned int hash) {
    const unsigned int home = hash & mask_;
    const int cell = first_free(home);
    const unsigned int distance = (static_cast<unsigned int>(cell) - home) & mask_;
    if (distance > reach_) note_reach(distance);
    mark_taken(cell);
    set_tag(cell, tag(hash));
    if (distance >= far_) enter(hash, cell);
    return cell;
}

// Half of the time of a growing table goes by here, so what does not change is held in variables.
template<class Old_Hash_Of, class Move>
void Hash_Index::take_all(const Hash_Index& old, Old_Hash_Of old_hash_of, Move move) {
    const unsigned int mask = mask_, old_end = old.modulus();
    const std::uint64_t* const old_words = old.taken();
    std::uint64_t* words = taken();
    Tags tags = this->tags();
    unsigned int reach = reach_;
    for (unsigned int first = 0; first < old_end; first += word_bits_) {
        for (std::uint64_t left = old_words[first / word_bits_]; left != 0; left &= left - 1) {
            const unsigned int from = first + static_cast<unsigned int>(std::countr_zero(left));
            const unsigned int hash = old_hash_of(static_cast<int>(from));
            const unsigned int home = hash & mask;
            std::uint64_t& word = words[home / word_bits_];
            const std::uint64_t free = ~word >> (home % word_bits_);
            if (free == 0) [[unlikely]] {
                reach_ = reach;
                move(static_cast<int>(from), take(hash));
                reach = reach_;
                words = taken(); // it may have gone over to a longer block
                tags = this->tags();
                continue;
            }
            const auto distance = static_cast<unsigned int>(std::countr_zero(free));
            const unsigned int cell = home + distance;
            reach = std::max(reach, distance);
            word |= std::uint64_t{1} << (cell % word_bits_);
            if (word == UINT64_MAX) [[unlikely]]
                mark_full_word(home / word_bits_);
            tags.set(cell, tag(hash));
            move(static_cast<int>(from), static_cast<int>(cell));
        }
    }
    reach_ = reach;
}

inline void Hash_Index::mark_taken(int cell) {
    const auto at = static_cast<std::size_t>(cell);
    std::uint64_t& word = taken()[at / word_bits_];
    word |= std::uint64_t{1} << (at % word_bits_);
    if (word == UINT64_MAX) mark_full_word(at / word_bits_);
}

template<class Hash_Of>
bool Hash_Index::forget(unsigned int hash, int cell, Hash_Of hash_of) {
    if (!entries_) return true;
    if (tags_[cell] != tag(hash)) return false;
    if (!is_far(hash, cell)) return true;
    const unsigned int slot = slot_of(hash, cell);
    if (entries_[slot] == 0) return false;
    erase(slot, hash_of);
    return true;
}

template<class Hash_Of>
bool Hash_Index::move(unsigned int hash, int from, int to, Hash_Of hash_of) {
    set_tag(to, tags_[from]);
    return is_far(hash, to) ? rename(hash, from, to) : forget(hash, from, hash_of);
}

// Closes the run of entries behind the erased one, as a table does with its
// cells.
template<class Hash_Of>
void Hash_Index::erase(unsigned int slot, Hash_Of hash_of) {
    std::uint32_t* const all = entries_;
    unsigned int hole = slot;
    for (unsigned int s = next(hole); all[s] != 0; s = next(s)) {
        const unsigned int first = first_slot(mix(hash_of(cell_of(all[s]))));
        if (((s - first) & mask_) < ((s - hole) & mask_)) continue;
        all[hole] = all[s];
        hole = s;
    }
    all[hole] = 0;
}

// From a free cell on, so that keys of one hash are entered in probe order.
template<class Hash_Of>
void Hash_Index::enter_all(Hash_Of hash_of) {
    if (!entries_) return;
    for (unsigned int slot = 0; slot < modulus(); ++slot) entries_[slot] = 0;
    const auto start = static_cast<unsigned int>(next_free(0));
    for (unsigned int i = 1; i < modulus(); ++i) {
        const auto cell = static_cast<int>((start + i) & mask_);
        if (tags_[cell] == 0) continue;
        const unsigned int hash = hash_of(cell);
        set_tag(cell, tag(hash));
        if (is_far(hash, cell)) enter(hash, cell);
    }
}

#endif
