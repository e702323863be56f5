#include "base/Hash_Table.h"

#include <optional>

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
// Linear probing as plainly as can be, which tables promise.
class Plain_Table {
public:
    using Cell = std::optional<std::pair<Key, int>>;
    explicit Plain_Table(Table::Hash hash) : hash_(hash ? hash : Table::default_hash) {}
    Cell& place(Key key) {
        std::size_t at = hash_(key) % cells_.size();
        while (cells_[at] && cells_[at]->first != key) at = (at + 1) % cells_.size();
        return cells_[at];
    }
    void put(int item, Key key) {
        if (cells_.size() < 2 * (count_ + 1)) {
            const auto old = cells_;
            cells_.assign(2 * old.size(), {});
            for (const Cell& cell : old)
                if (cell) place(cell->first) = cell;
        }
        count_ += !place(key);
        place(key) = {key, item};
    }
    // All behind the hole are placed anew.
    void remove(Key key) {
        if (!place(key)) return;
        --count_;
        auto at = static_cast<std::size_t>(&place(key) - cells_.data());
        for (cells_[at].reset(); cells_[at = (at + 1) % cells_.size()];) {
            const Cell cell = std::exchange(cells_[at], {});
            place(cell->first) = cell;
        }
    }
    std::string text() const {
        std::ostringstream all;
        all << "( ";
        for (const Cell& cell : cells_)
            if (cell) all << "< " << cell->first << ", " << cell->second << "> ";
        return all.str() + ")";
    }

private:
    std::vector<Cell> cells_ = std::vector<Cell>(8);
    std::size_t count_ = 0;
    Table::Hash hash_;
};

TEST(Hash_Table, has_the_order_of_linear_probing) {
    const struct {
        const char* row;
        Table::Hash hash;
        Table::Key_Equal equal;
        unsigned int keys, unit;
        int look = 1; // at the whole each so many steps
    } rows[] = {{"small, default", nullptr, nullptr, 7, 4},
                {"small, one home", one_home, nullptr, 8, 1},
                {"small, round the end", last_homes, same, 8, 1},
                {"addresses of objects", nullptr, nullptr, 400, 64},
                {"spread", as_is, same, 400, 2654435761u},
                {"one hash", one_hash, same, 200, 1},
                {"one home", one_home, nullptr, 300, 1},
                {"round the end", last_homes, same, 300, 1},
                {"few homes", few_homes, nullptr, 300, 1},
                {"a long run, one home", one_home, nullptr, 700, 1, 100},
                {"a long run round the end", last_homes, same, 700, 1, 100},
                {"large, few homes", few_homes, same, 1200, 1, 500}};
    for (const auto& r : rows) {
        SCOPED_TRACE(r.row);
        std::mt19937 random(11);
        Table table(r.hash, r.equal);
        Plain_Table plain(r.hash);
        const int steps = 3 * static_cast<int>(r.keys) + 500;
        for (int step = 1; step <= steps; ++step) {
            const Key key = random() % r.keys * r.unit, other = random() % r.keys * r.unit;
            // Filled in the first half, emptied in the second.
            if (random() % 8 < (step < steps / 2 ? 6u : 2u))
                table.put(step, key), plain.put(step, key);
            else
                table.remove(key), plain.remove(key);
            const auto should = plain.place(other);
            ASSERT_EQ(table.has(other), should.has_value()) << "step " << step;
            ASSERT_EQ(table.find(other), table.has(other)) << "step " << step;
            ASSERT_TRUE(!should || *table.found_item() == should->second) << "step " << step;
            if (step % r.look == 0) {
                ASSERT_EQ(printed(table), plain.text()) << "step " << step;
            }
        }
        table.wipe_out();
        EXPECT_EQ(printed(table), "( )");
        table.put(1, 0);
        EXPECT_EQ(printed(table), "( < 0, 1> )");
    }
}

// Where equality is not transitive, what was found last is met again before all but the home cell.
TEST(Hash_Table, equality_with_a_tolerance) {
    for (const Key others : {0u, 100u}) { // small, and with an index
        Table table(one_hash, [](const Key& a, const Key& b) { return a - b + 1 <= 2; });
        for (Key k = 0; k < others; ++k) table.put(0, 1000 + 10 * k);
        for (const Key k : {9u, 3u, 5u}) table.put(static_cast<int>(k), k);
        EXPECT_TRUE(table.find(4) && *table.found_item() == 5) << others << ": put last";
        EXPECT_TRUE(table.find(9) && table.find(4) && *table.found_item() == 3) << others;
        table.put(7, 4);
        EXPECT_EQ(shown(table.has(2), table.count()), shown(0, others + 3)) << "instead of 3";
        EXPECT_TRUE(table.find(4) && *table.found_item() == 7) << others;
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
