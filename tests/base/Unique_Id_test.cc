#include "base/Unique_Id.h"

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
    ids.id("b");
    ids.id("a");
    // Cells 0x3162 mod 8 and 0x30E1 mod 8.
    EXPECT_EQ(shown(ids, &ids, static_cast<const Unique_Id*>(nullptr)),
              "( < a, 2> < b, 1> ) ( < a, 2> < b, 1> ) Nil ");
}
