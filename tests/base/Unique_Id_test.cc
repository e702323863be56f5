#include "base/Unique_Id.h"

#include "std/Std_Common.h"
#include "tests/Test.h"

TEST(Unique_Id, names_and_numbers_are_inverse) {
    Unique_Id ids;
    EXPECT_FALSE(ids.has_id(1) || ids.has_name("0") || ids.name(1));
    for (int round = 0; round < 2; ++round) {
        for (unsigned int i = 1; i <= 2000; ++i) {
            // A buffer that is overwritten each time.
            ASSERT_EQ(ids.id(str_format("name %u", i)), i);
            ASSERT_EQ(ids.name(i), std::string("name ") + std::to_string(i));
        }
    }
    EXPECT_EQ(shown(ids.has_name("name 77"), ids.has_name("name 2001"), ids.has_name(nullptr)),
              "1 0 0 ");
    EXPECT_EQ(shown(ids.has_id(2000), ids.has_id(2001), ids.has_id(0), ids.id(nullptr)),
              "1 0 0 0 ");
    EXPECT_EQ(ids.name(2001), nullptr);
}

TEST(Unique_Id, prints_its_names) {
    Unique_Id ids;
    ids.id("b");
    ids.id("a");
    // Cells 0x3162 mod 8 and 0x30E1 mod 8.
    EXPECT_EQ(shown(ids, &ids, static_cast<const Unique_Id*>(nullptr)),
              "( < a, 2> < b, 1> ) ( < a, 2> < b, 1> ) Nil ");
}
