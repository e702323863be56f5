#include "base/Hash_Table.h"

#include <cstdlib>

#include "base/Hash_Set.h"
#include "std/Std_Compare.h"
#include "tests/Test.h"

using Key = unsigned int;
using Table = Hash_Table<Key, int>;

static unsigned int one_hash(const Key&) {
    return 77;
}
static unsigned int one_home(const Key& k) {
    return k << 20 | 3;
}
static unsigned int last_homes(const Key& k) {
    return k << 20 | (0xFFFFE + k % 2);
}
static unsigned int few_homes(const Key& k) {
    return k % 5 * 40 | k << 16;
}
static unsigned int as_is(const Key& k) {
    return k;
}
static bool same(const Key& a, const Key& b) {
    return a == b;
}
// Not transitive: which of two neighbours is met first decides.
static unsigned int hundreds(const Key& k) {
    return k / 100;
}
static bool nearly_same(const Key& a, const Key& b) {
    return std::abs(static_cast<int>(a - b)) <= 1 && a / 100 == b / 100;
}

// The sums are those of linear probing as plainly as can be, which tables promise.
TEST(Hash_Table, has_the_order_of_linear_probing) {
    const struct {
        const char* row;
        Table::Hash hash;
        Table::Key_Equal equal;
        unsigned int keys, unit;
        int look; // sum the whole each so many steps
        const char* sum;
    } rows[] = {{"small, default", nullptr, nullptr, 7, 4, 1, "90a590cc6485fa7f"},
                {"small, one home", one_home, nullptr, 8, 1, 1, "6ef1873e3fcb1088"},
                {"small, round the end", last_homes, same, 8, 1, 1, "39a14cab050596f0"},
                {"with an index, default", nullptr, nullptr, 300, 4, 1, "90526afcdb139b87"},
                {"addresses of objects", nullptr, nullptr, 400, 64, 1, "00352de2c4c9c126"},
                {"spread", as_is, same, 400, 2654435761u, 1, "8e51af60a1cae3a9"},
                {"one hash", one_hash, same, 200, 1, 1, "39ce26ff43d22ce5"},
                {"one home", one_home, nullptr, 300, 1, 1, "286a230fdf4421ef"},
                {"round the end", last_homes, same, 300, 1, 1, "28ce9d949399ca49"},
                {"few homes", few_homes, nullptr, 300, 1, 1, "7bd80b398a67b5e9"},
                {"equality with a tolerance", hundreds, nearly_same, 900, 1, 1, "68b21abb84ed7cc9"},
                {"tolerance, one hash", hundreds, nearly_same, 100, 1, 1, "7c6284cdce18a716"},
                {"small, tolerance", hundreds, nearly_same, 12, 1, 1, "11bd113868ad46d2"},
                {"a long run, one home", one_home, nullptr, 2000, 1, 100, "08c2d1997a50d6ad"},
                {"a long run round the end", last_homes, same, 2000, 1, 100, "5d6dd5aeecfeee3b"},
                {"large, few homes", few_homes, same, 4000, 1, 500, "921368113d6eb614"}};
    for (const auto& r : rows) {
        SCOPED_TRACE(r.row);
        std::mt19937 random(11);
        Table table(r.hash, r.equal);
        std::string all;
        const int steps = 3 * static_cast<int>(r.keys) + 500;
        for (int step = 1; step <= steps; ++step) {
            const Key key = random() % r.keys * r.unit;
            // Filled in the first half, emptied in the second.
            if (random() % 8 < (step < steps / 2 ? 6u : 2u))
                table.put(step, key);
            else
                table.remove(key);
            const Key other = random() % r.keys * r.unit;
            ASSERT_EQ(table.has(other), table.find(other)) << "step " << step;
            all += std::to_string(table.find(other) ? *table.found_item() : 0) + " ";
            all += std::to_string(table.count()) + (step % r.look ? " " : printed(table));
        }
        EXPECT_EQ(checksum(all), r.sum);
        table.wipe_out();
        EXPECT_EQ(printed(table), "( )");
        table.put(1, 0);
        EXPECT_EQ(printed(table), "( < 0, 1> )");
    }
}

TEST(Hash_Table, keeps_the_found_item_until_the_next_success) {
    Table table;
    EXPECT_FALSE(table.find(1) || table.has(1));
    table.remove(1);
    table.put(10, 1);
    EXPECT_EQ(*table.found_item(), 10);
    table.put(20, 2);
    EXPECT_TRUE(table.find(1));
    EXPECT_FALSE(table.find(3));
    EXPECT_TRUE(table.has(2));
    EXPECT_EQ(*table.found_item(), 10);
}

TEST(Hash_Table, takes_arguments_that_lie_in_its_cells) {
    Table table;
    for (Key k = 0; k < 1000; ++k) {
        table.put(static_cast<int>(k), k);
        table.put(*table.found_item(), k + 5000); // every doubling comes in one of the two
        ASSERT_EQ(*table.found_item(), static_cast<int>(k));
    }
}

TEST(Hash_Table, assignment_takes_functions_and_pairs) {
    Hash_Table<const char*, int> a(charptr_hash, charptr_equal), b;
    b.put(9, "gone");
    for (const char* name : {"e", "d", "c", "b", "a"}) a.put(name[0], name);
    b = a;
    a.wipe_out();
    EXPECT_EQ(printed(b), "( < a, 97> < b, 98> < c, 99> < d, 100> < e, 101> )");
    EXPECT_TRUE(b.has(std::string("d").c_str()));
    b = *&b;
    EXPECT_EQ(b.count(), 5);
}

// Texts that share the bits which choose the home cell. A walk along the runs
// would take minutes.
TEST(Hash_Table, does_not_care_for_clustering_hashes) {
    const int n = 200000;
    std::vector<std::string> names;
    for (int i = 0; i < n; ++i) names.push_back("Sphere_" + std::to_string(i));
    Hash_Table<const char*, int> table(charptr_hash, charptr_equal);
    for (int i = 0; i < n; ++i) table.put(i, names[static_cast<std::size_t>(i)].c_str());
    int found = 0;
    for (int i = 0; i < 2 * n; ++i) {
        const std::string name = "Sphere_" + std::to_string(i);
        found += table.find(name.c_str()) && *table.found_item() == i;
    }
    EXPECT_EQ(found, n);
}

// Against the rules, yet nothing may be read or written past the cells.
TEST(Hash_Table, survives_keys_that_change_their_hash) {
    const Hash_Table<const char*, int>::Hash hashes[] = {
        charptr_hash, [](const char* const& text) { return charptr_hash(text) << 12 | 3; }};
    for (const auto hash : hashes) {
        std::vector<std::string> names;
        for (int i = 0; i < 500; ++i) names.push_back(std::to_string(i));
        Hash_Table<const char*, int> table(hash, charptr_equal);
        for (const auto& name : names) table.put(1, name.c_str());
        for (std::size_t i = 0; i < 500; i += 3) names[i][0] = 'x';
        for (int i = 0; i < 500; ++i) table.remove(std::to_string(i).c_str());
        for (const auto& name : names) table.put(2, name.c_str());
        for (const auto& name : names) EXPECT_TRUE(table.has(name.c_str())) << name;
    }
}

TEST(Hash_Set, walks_its_members_in_cell_order) {
    for (const int n : {0, 1, 4, 5, 8, 9, 1000}) {
        Hash_Set<Key> set(as_is);
        for (int i = n; i > 0; --i) set.put(static_cast<Key>(i));
        int seen = 0;
        Hash_Set_Iter<Key> it(set);
        for (; !it.off(); it.forth()) EXPECT_EQ(*it(), static_cast<Key>(++seen));
        EXPECT_EQ(seen, n);
        EXPECT_EQ(set.count(), n);
        for (Key least = 1; set.count() > 0; ++least) {
            EXPECT_EQ(*set.get_one_item(), least);
            set.remove(least);
            EXPECT_FALSE(set.has(least));
        }
    }
}
