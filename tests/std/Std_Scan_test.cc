#include "std/Std_Scan.h"

#include <bit>

#include "tests/Test.h"

// What std_scan_f takes must come out, and move on, as with sscanf.
static ::testing::AssertionResult agrees(const std::string& text, bool* is_taken = nullptr) {
    char buffer[200] = {};
    std::memcpy(buffer, text.c_str(), text.size());
    const char* end = buffer;
    float ours, plain = 0;
    int length = 0;
    const bool taken = std_scan_f(&end, &ours);
    if (is_taken) *is_taken = taken;
    if (!taken) {
        if (end == buffer) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "moved by " << text;
    }
    const int found = std::sscanf(buffer, "%f%n", &plain, &length);
    if (found == 1 && end == buffer + length &&
        std::bit_cast<std::uint32_t>(ours) == std::bit_cast<std::uint32_t>(plain))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << text << ": does " << ours << ", should " << plain;
}

TEST(Std_Scan, what_is_plain) {
    const char* const plain[] = {"1",  " \t-1.5 x",        "+.5",
                                 "5.", "0.000000n",        "1.25c",
                                 "-0", "00000000000001.5", "123456789012345678901234567890"};
    const char* const others[] = {"",    ".",   "-",     "1e5", "1.5e", "0x10", "inf",
                                  "nan", "1,5", "1.2.3", "--1", "1-",   "1p"};
    bool is_taken;
    for (const char* text : plain) EXPECT_TRUE(agrees(text, &is_taken) && is_taken) << text;
    for (const char* text : others) EXPECT_TRUE(agrees(text, &is_taken) && !is_taken) << text;
}

TEST(Std_Scan, rows) {
    const std::tuple<const char*, const char*> rows[] = {{"1 -2.500000\t 3\\\n4", "\\\n4"},
                                                         {"1.000000 2.000000 3.000000n", "n"},
                                                         {"1 2\n3", nullptr},
                                                         {"1 2\\\n3", nullptr},
                                                         {"1.000000 2.000000", nullptr},
                                                         {"1 2 .0000000000000000015", ""},
                                                         {"1 2.0000000 123456789012.000000", ""}};
    for (const auto& [text, rest] : rows) {
        char buffer[64] = {};
        std::strcpy(buffer, text);
        const char* end = buffer;
        float values[3], plain[3];
        ASSERT_EQ(std_scan_row(&end, values, 3), rest != nullptr) << text;
        EXPECT_STREQ(end, rest ? rest : text);
        if (!rest) continue;
        std::sscanf(buffer, "%f %f %f", plain, plain + 1, plain + 2);
        EXPECT_EQ(std::memcmp(values, plain, sizeof plain), 0) << text;
    }
}

TEST(Std_Scan, millions_of_numbers_as_sscanf_reads_them) {
    std::mt19937_64 random(11);
#if defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__)
    const int rounds = 2000000;
#else
    const int rounds = 20000;
#endif
    const char alphabet[] = "0123456789012345678901234567890123456789+-. .eExnctip";
    int taken = 0;
    for (int i = 0; i < rounds; ++i) {
        char text[80];
        bool is_taken;
        const float value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        const auto bits = random();
        switch (i % 4) {
        case 0: // as our writer puts it
            std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
            break;
        case 1: // between two floats, where rounding twice would show
            std::snprintf(text, sizeof text, "%.*f", static_cast<int>(bits % 18),
                          static_cast<double>(static_cast<float>(bits >> 40)) / 1024 + 0.5 / 1024);
            break;
        case 2:
            std::snprintf(text, sizeof text, "%llu.%llu ", bits % 100000ull,
                          (bits >> 20) % 1000000000ull);
            break;
        default: // anything
            for (std::size_t c = 0; c < 20; ++c)
                text[c] = alphabet[random() % (sizeof alphabet - 1)];
            text[random() % 20] = '\0';
            text[20] = '\0';
        }
        ASSERT_TRUE(agrees(text, &is_taken));
        taken += is_taken;
    }
    EXPECT_GT(taken, rounds / 2);
}
