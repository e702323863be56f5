#include "std/Std_Shell.h"

#include "tests/Test.h"

TEST(Std_Shell, words) {
    for (const char* plain : {"a/B-1_c.rgb.gz", "-", "-n"})
        EXPECT_STREQ(std_shell_argument(plain), plain);
    EXPECT_EQ(shown(std_shell_argument("~"), std_shell_argument(""), std_shell_argument("it's"),
                    std_shell_argument("$(x)")),
              "'~' '' 'it'\\''s' '$(x)' ");
}
