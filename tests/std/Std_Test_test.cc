#include "std/Std_Test.h"

#include "tests/Test.h"

TEST(Std_Test, report) {
    ::testing::internal::CaptureStdout();
    const std::string failures = reports_of([] {
        char equal[] = "1 2";
        Std_Test tests;
        tests.start("Box");
        tests.test("center", equal, "1 2");
        tests.test("size", "3", "4");
        tests.unchecked_test("print", "3", "4");
        tests.start("Point");
        tests.test("sum", "1", "1");
        tests.finish();
        std::fflush(stdout);
    });
    EXPECT_EQ(
        ::testing::internal::GetCapturedStdout(),
        "\nTesting Box:\n\n   Box Test 1 (center)  succeeded.\n   Should = 1 2\n   Does   = 1 2\n\n"
        "   Box Test 2 (size)  FAILED!\n   Should = 4\n   Does   = 3\n\n"
        "   Box Test 3 (print) unckecked.\n   Should = 4\n   Does   = 3\n\n"
        "   Box failed 1 of 3 checkable tests.\n\nTesting Point:\n\n"
        "   Point Test 1 (sum)  succeeded.\n   Should = 1\n   Does   = 1\n\n"
        "   Point passed all checkable tests.\n");
    EXPECT_EQ(failures, "## Box Test 2 (size) FAILED!\n## Box failed 1 of 3 checkable tests.\n"
                        "## Point passed all checkable tests.\n");
}
