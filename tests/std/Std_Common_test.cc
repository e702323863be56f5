#include "std/Std_Common.h"

#include "tests/Test.h"

TEST(Std_Common, text_buffers) {
    char* copy = str_new("some text");
    EXPECT_EQ(shown(copy, str_new(0), str_new(100)), "some text   ");
    str_delete(copy);
    str_delete(nullptr);
    const char* first = str_format("%d", 1);
    for (int i = 2; i <= 16; ++i) str_format("%d", i);
    EXPECT_STREQ(first, "1"); // the 15th call after it
    EXPECT_EQ(str_format("%s", std::string(5000, 'x').c_str()), first);
    EXPECT_EQ(std::strlen(first), 511u);
}

TEST(Std_Common, angles_and_raw_copies) {
    EXPECT_TRUE(YES && deg_to_rad(180.0f) == 3.14159274f && deg_to_rad(45.0f) == 0.785398185f);
    EXPECT_EQ(rad_to_deg(0.785398185f), 45.0f);
    unsigned char bytes[8] = {};
    float value = 1.5f;
    float_to_std(&value, bytes + 1);
    value = 0;
    std_to_float(bytes + 1, &value);
    EXPECT_EQ(value, 1.5f);
    short half = 0x1234, half_again = 0;
    short_to_std(&half, bytes + 3);
    EXPECT_EQ(bytes[5], 0);
    std_to_short(bytes + 3, &half_again);
    EXPECT_EQ(half_again, half);
    int word = 0x12345678, word_again = 0;
    int_to_std(&word, bytes + 1);
    std_to_int(bytes + 1, &word_again);
    EXPECT_EQ(word_again, word);
}
