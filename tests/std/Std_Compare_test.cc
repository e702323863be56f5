#include "std/Std_Compare.h"

#include "tests/Test.h"

TEST(Std_Compare, hashes) {
    EXPECT_EQ(shown(int8_hash(-1), int32_hash(-1), uint8_hash(255), uint16_hash(0xFFFF)),
              "805306365 805306365 765 196605 "); // three times the word, cut to 30 bits
    EXPECT_EQ(shown(char_hash('\xFF'), int64_hash(0x7000000012345678), bool_hash(true)),
              shown(255 * 3, 0x02345678 * 3, 3));
    EXPECT_EQ(voidptr_hash(reinterpret_cast<void*>(0x1000)), 0x400u);
    // The rotation brings the first byte's bits round; the sign bit is dropped.
    EXPECT_EQ(shown(charptr_hash(""), charptr_hash("a"), charptr_hash("ab"), charptr_hash("\xFF"),
                    charptr_hash("abcdef")),
              shown(0, 0x30E1, (0x30E1 << 7) ^ 'b', (0xFF << 7) ^ 0xFF, 0x2C78B5E8));
    const float same[][2] = {{1.2f, 1.9f}, {-1.5f, 1.5f}, {5e9f, INFINITY}, {0.1f, NAN}};
    for (const auto& s : same) EXPECT_EQ(float_hash(s[0]), float_hash(s[1])) << s[0];
}

TEST(Std_Compare, order) {
    const std::string copy = "abc";
    EXPECT_EQ(shown(int64_cmp(INT64_MIN, 1), int64_cmp(0x100000000, 0xFFFFFFFF),
                    uint64_cmp(UINT64_MAX, 1), int32_cmp(INT32_MIN, INT32_MAX), int16_cmp(-1, 1)),
              "-1 1 1 -1 -1 "); // a difference would overflow
    EXPECT_EQ(shown(char_cmp('\x80', 'a'), bool_cmp(true, false), float_cmp(1, 2),
                    float_cmp(NAN, 1), float_equal(NAN, 1), int8_cmp(7, 7)),
              "1 1 -1 0 1 0 ");
    EXPECT_EQ(shown(charptr_cmp("abc", "abd") < 0, charptr_equal("abc", copy.c_str()),
                    voidptr_equal("abc", copy.c_str()), voidptr_cmp(&copy, &copy + 1),
                    voidptr_cmp(&copy + 1, &copy)),
              "1 1 0 -1 1 ");
}
