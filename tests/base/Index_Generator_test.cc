#include "base/Index_Generator.h"

#include "tests/Test.h"

TEST(Index_Generator, lowest_cell_first) {
    const std::tuple<const char*, std::vector<unsigned int>, std::vector<unsigned int>> rows[] = {
        {"counts on", {}, {7, 8}},
        {"one back", {2}, {2, 7}},
        {"cells 1 and 7", {3, 5}, {3, 5, 7}},
        {"in either order", {5, 3}, {3, 5, 7}},
        {"cell 2 before 3", {1, 6}, {6, 1, 7}},
        {"twice is once", {4, 4}, {4, 7}},
    };
    Index_Generator numbers;
    for (const auto& [row, back, then] : rows) {
        numbers.wipe_out();
        for (unsigned int i = 1; i <= 6; ++i) ASSERT_EQ(numbers.fresh(), i) << row;
        for (const unsigned int index : back) numbers.recycle(index);
        for (const unsigned int index : then) EXPECT_EQ(numbers.fresh(), index) << row;
    }
    numbers.recycle(3);
    numbers.wipe_out();
    EXPECT_EQ(numbers.fresh(), 1u) << "nothing is left to reuse";
}
