#include "std/Std_Format.h"

#include "tests/Test.h"

static ::testing::AssertionResult agrees(std::uint32_t bits) {
    const float value = std::bit_cast<float>(bits);
    char ours[STD_FORMAT_F_MAX + 1], plain[64];
    *std_format_f(ours, value) = '\0';
    std::snprintf(plain, sizeof plain, "%f", static_cast<double>(value));
    if (std::strcmp(ours, plain) == 0) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << std::hex << bits << ": does " << ours << ", should " << plain;
}

// Every exponent and sign is met about 42,000 times.
TEST(Std_Format, spread_over_all_bit_patterns) {
#if defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__)
    const std::uint64_t step = 199;
#else
    const std::uint64_t step = 199 * 97;
#endif
    for (std::uint64_t bits = 0; bits < std::uint64_t(1) << 32; bits += step)
        ASSERT_TRUE(agrees(static_cast<std::uint32_t>(bits)));
}

TEST(Std_Format, ties_neighbours_of_round_numbers_and_the_ends) {
    // Odd multiples of 1/128 have seven decimals, the last a 5: ties at the sixth.
    for (int i = 1; i < 200000; i += 2) {
        const float tie = static_cast<float>(i) / 128.0f;
        for (float value : {tie, -tie, std::nextafter(tie, 0.0f), std::nextafter(tie, 1e9f)})
            ASSERT_TRUE(agrees(std::bit_cast<std::uint32_t>(value)));
    }
    for (float power = 1e-8f; power < 1e38f; power *= 10.0f)
        for (float value : {power, std::nextafter(power, 0.0f), std::nextafter(power, INFINITY)})
            ASSERT_TRUE(agrees(std::bit_cast<std::uint32_t>(value)));
    // Zeros, smallest and largest denormals and normals, infinities, NaNs.
    for (std::uint32_t bits : {0x0u, 0x1u, 0x7FFFFFu, 0x800000u, 0x7F7FFFFFu, 0x7F800000u,
                               0x7FC00000u, 0x7F800001u, 0x5F000000u, 0x5F7FFFFFu, 0x5F800000u}) {
        EXPECT_TRUE(agrees(bits));
        EXPECT_TRUE(agrees(bits | 0x80000000u));
    }
}
