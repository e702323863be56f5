#include "std/Std_Env.h"

#include <climits>
#include <cstdlib>

#include "tests/Test.h"

TEST(Std_Env, values) {
    const std::tuple<const char*, int> rows[] = {
        {"yes", 1},  {"true", 1},  {"-3", 1}, {"", 1},   {"2", 2},
        {"12x", 12}, {"false", 0}, {"No", 0}, {"05", 0}, {"99999999999999999999", INT_MAX}};
    for (const auto& [value, should] : rows) {
        EXPECT_EQ(Std_Env::setenv("NOLT_TEST", value, 1), 0);
        EXPECT_EQ(Std_Env::getenv_value("NOLT_TEST"), should) << value;
    }
    EXPECT_EQ(Std_Env::setenv("NOLT_TEST", "other", 0), 0);
    EXPECT_STREQ(std::getenv("NOLT_TEST"), "99999999999999999999");
    const std::string longer(5000, 'v');
    Std_Env::setenv("NOLT_TEST_2", longer.c_str(), 0);
    EXPECT_EQ(std::getenv("NOLT_TEST_2"), longer);
    Std_Env::unsetenv("NOLT_TEST=ignored");
    EXPECT_EQ(std::getenv("NOLT_TEST"), nullptr);
    EXPECT_EQ(Std_Env::getenv_value("NOLT_TEST"), 0);
    EXPECT_NE(std::getenv("NOLT_TEST_2"), nullptr); // a longer name with the same start stays
}
