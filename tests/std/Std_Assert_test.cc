#include "std/Std_Assert.h"

#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

#include "std/Std_Env.h"
#include "tests/Test.h"

static std::string report(int level, const char* message) {
    return reports_of([&] { std_assert(level, message, "a/b.cc", 12); });
}

TEST(Std_Assert, lines) {
    const std::string in_line = " in line 12 of file a/b.cc\n", huge(5000, 'x');
    const std::tuple<int, const char*, std::string> rows[] = {
        {0, "Saving Sphere...", "INFO   : Saving Sphere...\n"},
        {0, huge.c_str(), "INFO   : " + huge.substr(0, 256) + "\n"},
        {1, "value", "DEBUG  : value\n"},
        {2, "Bad", "WARNING: Bad" + in_line},
        {2, nullptr, "WARNING: ?" + in_line},
        {2, "100%s%n", "WARNING: 100%s%n" + in_line},
        {2, huge.c_str(), "WARNING: " + huge.substr(0, 1023 - 9) + "\n"},
        {2, "\x1b[31m", "WARNING: \\x1b[31m" + in_line},
        // Control characters, of C1 in UTF-8 and alone; other characters of several bytes stay.
        {1, "\x1b]0;x\a\x7f\r \xc2\x9b \x9b \xc3\xa9\t\n\xe2\x80\x9b \xf0\x9f\x80\x80",
         "DEBUG  : \\x1b]0;x\\x07\\x7f\\x0d \\xc2\\x9b \\x9b \xc3\xa9\t\n\xe2\x80\x9b "
         "\xf0\x9f\x80\x80\n"},
        // Cut, longer than needed, no character, past the last one.
        {1, "\xe2\x80|\xe0\x80\x80|\xed\x9f\x80|\xed\xa0\x80|\xf4\x90\x80\x80|\xff\xc2",
         "DEBUG  : "
         "\xe2\\x80|\xe0\\x80\\x80|\xed\x9f\x80|\xed\xa0\\x80|\xf4\\x90\\x80\\x80|\xff\xc2\n"},
    };
    for (const auto& [level, message, should] : rows) EXPECT_EQ(report(level, message), should);
}

TEST(Std_Assert, a_report_is_one_write) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends), 0);
    const int saved = dup(2);
    dup2(ends[0], 2);
    for (int level : {0, 1, 2}) std_assert(level, "text", "a/b.cc", 12);
    dup2(saved, 2);
    // Each write is a datagram of its own.
    for (const char* should :
         {"INFO   : text\n", "DEBUG  : text\n", "WARNING: text in line 12 of file a/b.cc\n"}) {
        char line[200];
        const ssize_t length = recv(ends[1], line, sizeof line, MSG_DONTWAIT);
        ASSERT_GT(length, 0) << should;
        EXPECT_EQ(std::string(line, static_cast<std::size_t>(length)), should);
    }
    for (int fd : {saved, ends[0], ends[1]}) close(fd);
}

static void fail_with(const char* assert_level, int error, int level) {
    Std_Env::setenv("STD_ASSERT_LEVEL", assert_level, 1);
    errno = error;
    std_assert(level, "Broken", "a/b.cc", 12);
    std::_Exit(77); // the report came back
}

TEST(Std_Assert_death, endings) {
    // A fresh process per row: the level is read only once in each.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::tuple<const char*, int, int, bool, const char*> rows[] = {
        {"0", 0, -1, false, "^FATAL  : Broken in line 12 of file a/b.cc\nExiting...\n$"},
        {"no", ENOENT, -1, false, "b.cc\npossible error: No such file or directory\nExiting"},
        {"1", 0, -1, true, "^FATAL  : Broken in line 12 of file a/b.cc\nDumping core...\n$"},
        {"2", EACCES, 2, true, "b.cc\npossible error: Permission denied\nDumping core...\n$"},
        {"0", 0, 5, true, "^Wrong warncode. Dumping core...\n$"},
        {"0", 0, -2, true, "^Wrong warncode. Dumping core...\n$"},
    };
    for (const auto& [assert_level, error, level, aborts, text] : rows) {
        const auto abort = [](int status) { return ::testing::KilledBySignal(SIGABRT)(status); };
        const auto exit = [](int status) { return ::testing::ExitedWithCode(1)(status); };
        const std::function<bool(int)> ending = aborts ? std::function<bool(int)>(abort) : exit;
        EXPECT_EXIT(fail_with(assert_level, error, level), ending, text);
    }
    EXPECT_EXIT(fail_with("1", 0, 2), ::testing::ExitedWithCode(77), "WARNING: Broken in line 12");
}
