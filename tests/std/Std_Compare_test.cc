#include "std/Std_Compare.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "std/Std_Common.h"
#include "std/Std_Univ.h"

TEST(Std_Compare, hashes) {
    EXPECT_EQ(int8_hash(-1), 0x2FFFFFFDu);
    EXPECT_EQ(int32_hash(-1), 0x2FFFFFFDu);
    EXPECT_EQ(uint8_hash(255), 255u * 3);
    EXPECT_EQ(uint16_hash(0xFFFF), 0xFFFFu * 3);
    EXPECT_EQ(char_hash('\xFF'), 255u * 3);
    EXPECT_EQ(int64_hash(0x7000000012345678), 0x02345678u * 3);
    EXPECT_EQ(bool_hash(true), 3u);
    EXPECT_EQ(voidptr_hash(reinterpret_cast<void*>(0x1000)), 0x400u);
    const struct {
        const char* text;
        unsigned int should;
    } texts[] = {{"", 0},
                 {"a", 0x30E1},
                 {"ab", (0x30E1u << 7) ^ 'b'},
                 {"\xFF", (0xFFu << 7) ^ 0xFF},
                 // The rotation brings the first byte's bits round; the sign bit is dropped.
                 {"abcdef", 0x2C78B5E8}};
    for (const auto& t : texts) EXPECT_EQ(charptr_hash(t.text), t.should) << t.text;
    const float same[][2] = {{1.2f, 1.9f}, {-1.5f, 1.5f}, {5e9f, INFINITY}, {0.1f, NAN}};
    for (const auto& s : same) EXPECT_EQ(float_hash(s[0]), float_hash(s[1])) << s[0];
}

TEST(Std_Compare, order) {
    EXPECT_EQ(int64_cmp(INT64_MIN, 1), -1);
    EXPECT_EQ(int64_cmp(0x100000000, 0xFFFFFFFF), 1);
    EXPECT_EQ(uint64_cmp(UINT64_MAX, 1), 1);
    EXPECT_EQ(int32_cmp(INT32_MIN, INT32_MAX), -1); // a difference would overflow
    EXPECT_EQ(int16_cmp(-1, 1), -1);
    EXPECT_EQ(char_cmp('\x80', 'a'), 1);
    EXPECT_EQ(bool_cmp(true, false), 1);
    EXPECT_EQ(float_cmp(1.0f, 2.0f), -1);
    EXPECT_EQ(float_cmp(NAN, 1.0f), 0);
    EXPECT_TRUE(float_equal(NAN, 1.0f));
    EXPECT_LT(charptr_cmp("abc", "abd"), 0);
    const std::string copy = "abc";
    EXPECT_TRUE(charptr_equal("abc", copy.c_str()));
    EXPECT_FALSE(voidptr_equal("abc", copy.c_str()));
    EXPECT_EQ(voidptr_cmp(&copy, &copy + 1), -1);
    EXPECT_EQ(voidptr_cmp(&copy + 1, &copy), 1);
}

TEST(Std_Univ, words_keep_their_bits) {
    EXPECT_EQ(Conv<int>::from_univ(Conv<int>::to_univ(-7)), -7);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(Conv<int>::to_univ(-1)), 0xFFFFFFFFu);
    EXPECT_EQ(Conv<unsigned>::from_univ(Conv<unsigned>::to_univ(~0u)), ~0u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(Conv<float>::to_univ(-0.0f)), 0x80000000u);
    EXPECT_EQ(Conv<float>::from_univ(Conv<float>::to_univ(1.5f)), 1.5f);
    EXPECT_TRUE(Conv<bool>::from_univ(Conv<bool>::to_univ(true)));
    const char* text = "text";
    EXPECT_EQ(Conv<const char*>::from_univ(Conv<const char*>::to_univ(text)), text);
    EXPECT_EQ(pointer_to_unsigned(unsigned_to_pointer(0xDEADBEEF)), 0xDEADBEEF);
    EXPECT_EQ(pointer_to_float(float_to_pointer(0.1f)), 0.1f);
}

TEST(Std_Common, text_buffers) {
    char* copy = str_new("some text");
    EXPECT_STREQ(copy, "some text");
    str_delete(copy);
    str_delete(nullptr);
    EXPECT_STREQ(str_new(0), "");
    EXPECT_STREQ(str_new(100), "");

    const char* first = str_format("%d", 1);
    for (int i = 2; i <= 16; ++i) str_format("%d", i);
    EXPECT_STREQ(first, "1"); // the 15th call after it
    EXPECT_EQ(str_format("%s", std::string(5000, 'x').c_str()), first);
    EXPECT_EQ(std::strlen(first), 511u);
}

TEST(Std_Common, angles_and_raw_copies) {
    EXPECT_EQ(deg_to_rad(180.0f), 3.14159274f);
    EXPECT_EQ(deg_to_rad(45.0f), 0.785398185f);
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
