#include "base/Hash_Index.h"

#include <cstring>

#include "std/Std_GC.h"

// Words of the level over `bits` bits.
static std::size_t words_for(std::size_t bits) {
    return (bits + 63) / 64;
}

// Of all levels together, up to the one word on top.
static std::size_t words_of_levels(std::size_t bits) {
    std::size_t all = 0;
    do {
        bits = words_for(bits);
        all += bits;
    } while (bits > 1);
    return all;
}

// Of the block without entries.
static std::size_t bytes_for(std::size_t modulus, std::size_t far) {
    return modulus + far + words_of_levels(modulus) * sizeof(std::uint64_t);
}

void Hash_Index::make(int modulus) {
    const auto m = static_cast<unsigned int>(modulus);
    *this = Hash_Index();
    tags_ = new (GCAtomic) std::uint8_t[bytes_for(m, far_)];
    mask_ = m - 1;
    bits_ = std::countr_zero(m);
}

void Hash_Index::release() {
    std_release(tags_);
    *this = Hash_Index();
}

void Hash_Index::clear() {
    std::memset(tags_, 0, bytes_for(modulus(), far_));
    // The longer block stays: a table that had far keys may well have them again.
    if (entries_) std::memset(entries_, 0, modulus() * sizeof(std::uint32_t));
    reach_ = 0;
}

// One to one, so that equal mixes mean equal hashes.
std::uint32_t Hash_Index::mix(std::uint32_t hash) {
    // Each step can be undone: odd factors have an inverse modulo 2^32, and so has the shift.
    hash *= 0x9E3779B1u;
    hash ^= hash >> 15;
    return hash * 0x85EBCA77u;
}

int Hash_Index::cell_of(std::uint32_t entry) const {
    return static_cast<int>(entry & (2 * modulus() - 1)) - 1;
}

// Of the entry, or empty where it would stand.
unsigned int Hash_Index::slot_of(unsigned int hash, int cell) const {
    const std::uint32_t mixed = mix(hash);
    const std::uint32_t entry = upper_bits(mixed) | (static_cast<std::uint32_t>(cell) + 1);
    unsigned int slot = first_slot(mixed);
    while (entries_[slot] != 0 && entries_[slot] != entry) slot = next(slot);
    return slot;
}

void Hash_Index::enter(unsigned int hash, int cell) {
    entries_[slot_of(hash, cell)] = upper_bits(mix(hash)) | (static_cast<std::uint32_t>(cell) + 1);
}

bool Hash_Index::rename(unsigned int hash, int from, int to) {
    if (!entries_) return false;
    std::uint32_t& entry = entries_[slot_of(hash, from)];
    if (entry == 0) return false;
    // Both numbers have the same room, so the bits above them stay.
    entry += static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from);
    return true;
}

void Hash_Index::free_cell(int cell) {
    set_tag(cell, 0);
    mark_free(cell);
}

// The first far key makes the entries: no other is far yet.
void Hash_Index::note_reach(unsigned int distance) {
    reach_ = distance;
    if (distance >= far_ && !entries_) make_entries();
}

// Goes over to a longer block. The entries are still empty.
void Hash_Index::make_entries() {
    const std::size_t old_bytes = bytes_for(modulus(), far_);
    auto* const longer = new (GCAtomic) std::uint8_t[old_bytes + modulus() * sizeof(std::uint32_t)];
    std::memcpy(longer, tags_, old_bytes);
    std_release(tags_);
    tags_ = longer;
    entries_ = reinterpret_cast<std::uint32_t*>(longer + old_bytes);
}

// Climbs while the rest of a word is full, then comes down along the first zero
// bits. Bits past the end of a level read as zero: they lead past the last cell,
// and the search starts again at cell 0.
int Hash_Index::next_free(int home) const {
    struct Level {
        const std::uint64_t* words;
        std::size_t bits;
    } levels[6]; // 64^5 is greatest_modulus
    levels[0] = {taken(), modulus()};
    for (auto at = static_cast<std::size_t>(home);; at = 0) {
        int depth = 0;
        while (at < levels[depth].bits) {
            const Level& level = levels[depth];
            const std::uint64_t free = ~level.words[at / word_bits_] >> (at % word_bits_);
            at += static_cast<std::size_t>(std::countr_zero(free)); // 64 if there is none
            if (free != 0) break;
            const std::size_t count = words_for(level.bits);
            levels[++depth] = {level.words + count, count};
            at = at / word_bits_;
        }
        for (; depth > 0 && at < levels[depth].bits; --depth) {
            const std::uint64_t word = levels[depth - 1].words[at];
            at = at * word_bits_ + static_cast<std::size_t>(std::countr_zero(~word));
        }
        if (depth == 0 && at < modulus()) return static_cast<int>(at);
    }
}

void Hash_Index::mark_full_word(std::size_t word) {
    std::uint64_t* level = taken();
    for (std::size_t count = words_for(modulus()); count > 1; count = words_for(count)) {
        level += count;
        std::uint64_t& above = level[word / word_bits_];
        above |= std::uint64_t{1} << (word % word_bits_);
        // A level only knows of words that are full.
        if (above != UINT64_MAX) return;
        word /= word_bits_;
    }
}

void Hash_Index::mark_free(int cell) {
    auto at = static_cast<std::size_t>(cell);
    std::uint64_t* level = taken();
    for (std::size_t count = words_for(modulus());; count = words_for(count)) {
        std::uint64_t& word = level[at / word_bits_];
        const bool was_full = word == UINT64_MAX;
        word &= ~(std::uint64_t{1} << (at % word_bits_));
        // A word that had room before has no mark above it.
        if (!was_full || count == 1) return;
        at /= word_bits_;
        level += count;
    }
}
