#include "math/Color.h"

#include "tests/Test.h"

TEST(Color, is_a_point_of_its_space) {
    const Color a(2, -1, 0), b(0, 3, 1), c(1, 1, 1), black(0, 0, 0);
    const std::tuple<const char*, Color, Color> rows[] = {
        {"interp, weight of the first", interp(a, b, 0.25f), {0.5f, 2, 0.75f}},
        {"interp, weight of the third", interp(a, b, c, 0.5f, 0.25f), {1.25f, 0.5f, 0.5f}},
        // 1 - 0.025f - 0.025f is 0.95000005 in single precision.
        {"interp, third weight in double",
         interp(black, black, c, 0.025f, 0.025f),
         {0.95f, 0.95f, 0.95f}},
        {"moved with the origin", c * (Frame::scaling(5) * Frame::translation(1, 2, 3)), {6, 7, 8}},
        {"moved in place", Color(c) *= Frame::scaling(1, 2, 3), {1, 2, 3}},
        {"half of it", b * 0.5f, {0, 1.5f, 0.5f}},
        {"a number first", 2.0f * a / 4, {1, -0.5f, 0}},
        {"divided, not by a reciprocal", Color(41, 49, 0) / 41, {1, 49.0f / 41, 0}},
        {"two lights through a filter", (a + b) * Color(0.5f, 1, 2), {1, 2, 2}},
        {"a Vector in braces", Color(c) += {1, 2, 3}, {2, 3, 4}},
        {"in place", ((((Color(a) += b) *= c) *= 3.0f) /= 2.0f), {3, 3, 1.5f}},
        {"not clamped", toColor(a - c) - Vector(1, 1, 1), {0, -3, -2}},
    };
    for (const auto& [row, does, should] : rows) EXPECT_EQ(bits_of(does), bits_of(should)) << row;
    EXPECT_EQ(area2(black, Color(2, 0, 0), Color(0, 3, 0)), 9);
    EXPECT_EQ(cross(c, Color(2, 1, 1), Color(1, 3, 1)), Vector(0, 0, 2));
    EXPECT_EQ(dist(a, Color(4, 1, 1)) + dist2(a, Color(4, 1, 1)), 3 + 9);
    EXPECT_EQ(pvdot(Color(1e8f, -1e8f, 1), Vector(1, 1, 1)), 1) << "summed from the left";
    EXPECT_EQ(printed(Color(2, -1, 0.1f)), "Color(2,-1,0.1)\n");
}

TEST(Color, compare) {
    const Color a(0.5f, 0, 0), b(0, 0.5f, 0), past(0, 0, 0.50000006f), black(0, 0, 0);
    EXPECT_EQ(compare(a, b), 1) << "red decides";
    EXPECT_EQ(compare(a, b, 0.5f), 0);
    EXPECT_EQ(compare(black, past, 0.5f), -1);
    EXPECT_TRUE(a.is_epsilon_equal(b, 0.5f) && a.is_epsilon_equal(a, 0));
    EXPECT_FALSE(past.is_epsilon_equal(black, 0.5f) || black.is_epsilon_equal(past, 0.5f));
}
