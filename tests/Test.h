// What most tests need. Plain values of floats, compared bit by bit: a failure prints each float as
// a number and in hexadecimal. The text that values print, and what a call writes to the standard
// error stream.
//
//     EXPECT_EQ(bits_of(p * f), bits_of(Point(3, 2, 2)));
//     EXPECT_EQ(printed(p), "Point(3,2,2)\n");
//     EXPECT_EQ(shown(list.count(), list.is_empty()), "2 0 ");
//     EXPECT_TRUE(holds(text, "a part of it"));
//     EXPECT_EQ(reports_of([&] { url.open(); }), "");
#ifndef TESTS_TEST_H
#define TESTS_TEST_H

#include <algorithm>
#include <bit>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <numbers>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

struct Bits {
    std::vector<std::uint32_t> words;
    bool operator==(const Bits& other) const = default;
};

template<class T>
Bits bits_of(const T& value) {
    Bits bits{std::vector<std::uint32_t>(sizeof(T) / sizeof(float))};
    std::memcpy(bits.words.data(), &value, sizeof(T));
    return bits;
}

inline void PrintTo(const Bits& bits, std::ostream* os) {
    for (const std::uint32_t word : bits.words) {
        float f;
        char text[64];
        std::memcpy(&f, &word, sizeof f);
        std::snprintf(text, sizeof text, " %.9g (%08x)", static_cast<double>(f), word);
        *os << text;
    }
}

template<class T>
std::string printed(const T& value) {
    std::ostringstream os;
    os << value;
    return os.str();
}

// All values in one line, each with a blank behind it.
template<class... T>
std::string shown(const T&... values) {
    std::ostringstream os;
    ((os << values << ' '), ...);
    return os.str();
}

// The call ends the process, as fatal reports do.
#define EXPECT_FATAL(call, text) EXPECT_EXIT(call, ::testing::ExitedWithCode(1), text)

// Tells the whole text if the part is missing.
inline ::testing::AssertionResult holds(const std::string& text, const std::string& part) {
    if (text.find(part) != std::string::npos) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << part << "\nis not in:\n" << text;
}

template<class Call>
std::string reports_of(Call call) {
    ::testing::internal::CaptureStderr();
    call();
    return ::testing::internal::GetCapturedStderr();
}

#endif
