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

void Hash_Index::make(int modulus) {
    const auto m = static_cast<unsigned int>(modulus);
    block_ = reinterpret_cast<Head*>(new (GCAtomic) char[sizeof(Head) + m + far_]);
    block_->mask = m - 1;
    block_->bits = std::countr_zero(m);
}

void Hash_Index::release() {
    Std_GC::operator delete(block_);
    block_ = nullptr;
}

void Hash_Index::clear() {
    std::memset(tags(), 0, modulus() + far_);
    if (block_->entries) {
        std::memset(block_->entries, 0, modulus() * sizeof(std::uint32_t));
        std::memset(taken(), 0, words_of_levels(modulus()) * sizeof(std::uint64_t));
    }
    block_->reach = 0;
}

// One to one, so that equal mixes mean equal hashes.
std::uint32_t Hash_Index::mix(std::uint32_t hash) {
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
    while (block_->entries[slot] != 0 && block_->entries[slot] != entry) slot = next(slot);
    return slot;
}

void Hash_Index::enter(unsigned int hash, int cell) {
    block_->entries[slot_of(hash, cell)] =
        upper_bits(mix(hash)) | (static_cast<std::uint32_t>(cell) + 1);
}

bool Hash_Index::rename(unsigned int hash, int from, int to) {
    if (!block_->entries) return false;
    std::uint32_t& entry = block_->entries[slot_of(hash, from)];
    if (entry == 0) return false;
    entry += static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from);
    return true;
}

void Hash_Index::free_cell(int cell) {
    set_tag(cell, 0);
    if (block_->entries) mark_free(cell);
}

// Goes over to a longer block, still without entries.
void Hash_Index::make_entries() {
    const unsigned int m = modulus();
    const std::size_t old_bytes = sizeof(Head) + m + far_;
    const std::size_t entries_at = old_bytes + words_of_levels(m) * sizeof(std::uint64_t);
    char* const longer = new (GCAtomic) char[entries_at + m * sizeof(std::uint32_t)];
    std::memcpy(longer, block_, old_bytes);
    release();
    block_ = reinterpret_cast<Head*>(longer);
    block_->entries = reinterpret_cast<std::uint32_t*>(longer + entries_at);
    const int all_cells = static_cast<int>(m);
    for (int cell = next_taken(0); cell < all_cells; cell = next_taken(cell + 1)) mark_taken(cell);
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

void Hash_Index::mark_taken(int cell) {
    auto at = static_cast<std::size_t>(cell);
    std::uint64_t* level = taken();
    for (std::size_t count = words_for(modulus());; count = words_for(count)) {
        std::uint64_t& word = level[at / word_bits_];
        word |= std::uint64_t{1} << (at % word_bits_);
        if (word != UINT64_MAX || count == 1) return;
        at /= word_bits_;
        level += count;
    }
}

void Hash_Index::mark_free(int cell) {
    auto at = static_cast<std::size_t>(cell);
    std::uint64_t* level = taken();
    for (std::size_t count = words_for(modulus());; count = words_for(count)) {
        std::uint64_t& word = level[at / word_bits_];
        const bool was_full = word == UINT64_MAX;
        word &= ~(std::uint64_t{1} << (at % word_bits_));
        if (!was_full || count == 1) return;
        at /= word_bits_;
        level += count;
    }
}
