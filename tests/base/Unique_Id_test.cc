#include "base/Unique_Id.h"

#include "base/Index_Generator.h"
#include "std/Std_Common.h"
#include "tests/Test.h"

TEST(Unique_Id, names_and_numbers_are_inverse) {
    Unique_Id ids;
    EXPECT_FALSE(ids.has_id(1));
    EXPECT_FALSE(ids.has_name("0"));
    EXPECT_EQ(ids.name(1), nullptr);
    for (int round = 0; round < 2; ++round) {
        for (unsigned int i = 1; i <= 2000; ++i) {
            // A buffer that is overwritten each time.
            ASSERT_EQ(ids.id(str_format("name %u", i)), i);
            ASSERT_EQ(ids.name(i), std::string("name ") + std::to_string(i));
        }
    }
    EXPECT_TRUE(ids.has_name("name 77"));
    EXPECT_FALSE(ids.has_name("name 2001"));
    EXPECT_FALSE(ids.has_id(0));
    EXPECT_FALSE(ids.has_id(2001));
    EXPECT_EQ(ids.name(2001), nullptr);
    EXPECT_EQ(ids.id(nullptr), 0u);
    EXPECT_FALSE(ids.has_name(nullptr));
}

TEST(Unique_Id, prints_its_names) {
    Unique_Id ids;
    const Unique_Id* none = nullptr;
    ids.id("b");
    ids.id("a");
    std::ostringstream out;
    out << ids << &ids << none;
    // Cells 0x3162 mod 8 and 0x30E1 mod 8.
    EXPECT_EQ(out.str(), "( < a, 2> < b, 1> )( < a, 2> < b, 1> )Nil");
}

TEST(Index_Generator, lowest_cell_first) {
    const struct {
        const char* row;
        std::vector<unsigned int> back, then;
    } rows[] = {
        {"counts on", {}, {7, 8}},
        {"one back", {2}, {2, 7}},
        {"cells 1 and 7", {3, 5}, {3, 5, 7}},
        {"in either order", {5, 3}, {3, 5, 7}},
        {"cell 2 before 3", {1, 6}, {6, 1, 7}},
        {"twice is once", {4, 4}, {4, 7}},
    };
    Index_Generator numbers;
    for (const auto& r : rows) {
        numbers.wipe_out();
        for (unsigned int i = 1; i <= 6; ++i) ASSERT_EQ(numbers.fresh(), i) << r.row;
        for (const unsigned int index : r.back) numbers.recycle(index);
        for (const unsigned int index : r.then) EXPECT_EQ(numbers.fresh(), index) << r.row;
    }
    numbers.recycle(3);
    numbers.wipe_out();
    EXPECT_EQ(numbers.fresh(), 1u) << "nothing is left to reuse";
}
