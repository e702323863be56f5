#include "std/Std_Scan.h"

#include <string_view>

#include "tests/Test.h"

// Takes what strtof takes, and its value. About the end of damaged numbers they differ.
static ::testing::AssertionResult agrees(const std::string& text, bool* is_taken) {
    char buffer[200] = {};
    std::memcpy(buffer, text.c_str(), text.size());
    const char* end = buffer;
    char* plain_end;
    float ours = 0;
    const float plain = std::strtof(buffer, &plain_end);
    *is_taken = std_scan_f(&end, &ours);
    const bool is_damaged =
        std::string_view("eEpPxXiI").find(*plain_end) != std::string_view::npos || *end == '(';
    if ((end == plain_end || is_damaged) && *is_taken == (end != buffer) &&
        (!*is_taken || std::bit_cast<std::uint32_t>(ours) == std::bit_cast<std::uint32_t>(plain)))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << text << ": does " << ours << " to " << end << ", should " << plain;
}

TEST(Std_Scan, odd_and_damaged_numbers) {
    // How much is taken, and its value.
    const std::pair<const char*, const char*> rows[] = {
        {" \t-1.5 x", "6 -1.5 "}, {"+.5", "3 0.5 "},      {"5.", "2 5 "},
        {"1.25c", "4 1.25 "},     {"1,5", "1 1 "},        {"1.2.3", "3 1.2 "},
        {"-2E3n", "4 -2000 "},    {"1e-99999", "8 0 "},   {"0X1.8p+1p", "8 3 "},
        {"-infx", "4 -inf "},     {"INFINITY", "8 inf "}, {"1e", "2 1 "},
        {"-1.5E+ 3", "6 -1.5 "},  {"1e--3", "3 1 "},      {"1e+.5", "3 1 "},
        {"0x1p", "4 1 "},         {"0x.8P-x", "6 0.5 "},  {"-0x.p1", "4 -0 "},
        {"0x1e+3", "4 30 "},      {"nan(1)", "3 nan "},   {"-NaN(", "4 -nan "}};
    const char* const none[] = {"", ".", "-", "--1", ".e1", "0x", "-0Xg", "na", "infi", "Infinit"};
    const auto taken = [](const char* text) {
        char buffer[32] = {};
        std::strcpy(buffer, text);
        const char* end = buffer;
        float value = 0;
        const bool is_taken = std_scan_f(&end, &value);
        EXPECT_EQ(is_taken, end != buffer) << text;
        return shown(end - buffer, value);
    };
    for (const auto& [text, should] : rows) EXPECT_EQ(taken(text), should) << text;
    for (const char* text : none) EXPECT_EQ(taken(text), "0 0 ") << text;
}

TEST(Std_Scan, rows) {
    const std::tuple<const char*, const char*> rows[] = {{"1 -2.500000\t 3\\\n4", "\\\n4"},
                                                         {"1.000000 2.000000 3.000000n", "n"},
                                                         {"1 2\n3", nullptr},
                                                         {"1 2 3e1", nullptr},
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

TEST(Std_Scan, millions_of_numbers_as_strtof_reads_them) {
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
