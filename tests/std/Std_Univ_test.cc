#include "std/Std_Univ.h"

#include "tests/Test.h"

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
