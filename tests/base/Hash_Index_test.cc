#include "base/Hash_Index.h"

#include <set>

#include "tests/Test.h"

// One run over nearly half of the cells and round their end: four levels of full
// words. The twin is a sorted set of the free cells.
TEST(Hash_Index, takes_the_next_free_cell_of_a_long_run) {
    const int modulus = 1 << 19, home = modulus - 100000, keys = 200000;
    std::mt19937 random(5);
    std::vector<unsigned int> hashes(modulus);
    std::set<int> free;
    for (int i = 0; i < modulus; ++i) free.insert(free.end(), i);
    Hash_Index index;
    index.make(modulus);
    const auto hash_of = [&](int cell) { return hashes[static_cast<std::size_t>(cell)]; };
    const auto take = [&](int from, int number) {
        const unsigned int hash =
            static_cast<unsigned int>(number) << 19 | static_cast<unsigned int>(from);
        const auto at = free.lower_bound(from);
        const int should = at != free.end() ? *at : *free.begin();
        ASSERT_EQ(index.take(hash), should) << "key " << number << " from " << from;
        hashes[static_cast<std::size_t>(should)] = hash;
        free.erase(should);
    };
    for (int i = 0; i < keys; ++i) take(home, i);
    for (int c = index.next_taken(0); c < modulus; c = index.next_taken(c + 1)) {
        ASSERT_EQ(index.find(hash_of(c), [c](int found) { return found == c; }), c);
    }
    // From here on the run has holes, which a table would close.
    for (int i = 0; i < keys; ++i) {
        const int cell = (home + static_cast<int>(random() % keys)) % modulus;
        if (free.count(cell) == 0) {
            ASSERT_TRUE(index.forget(hash_of(cell), cell, hash_of)) << "cell " << cell;
            index.free_cell(cell);
            free.insert(cell);
        }
        if (i % 3 != 0) take((cell + i) % modulus, i);
    }
    int taken = 0;
    for (int c = index.next_taken(0); c < modulus; c = index.next_taken(c + 1), ++taken) {
        ASSERT_EQ(free.count(c), 0u) << "cell " << c;
    }
    EXPECT_EQ(taken, modulus - static_cast<int>(free.size()));
}
