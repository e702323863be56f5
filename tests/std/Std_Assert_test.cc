#include "std/Std_Assert.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

#include "std/Std_Common.h"
#include "std/Std_Env.h"
#include "std/Std_Messager.h"

using ::testing::ExitedWithCode;
using ::testing::KilledBySignal;

static std::string report(int level, const char* message) {
    ::testing::internal::CaptureStderr();
    std_assert(level, message, "a/b.cc", 12);
    return ::testing::internal::GetCapturedStderr();
}

TEST(Std_Assert, lines) {
    EXPECT_EQ(report(0, "Saving Sphere..."), "INFO   : Saving Sphere...\n");
    EXPECT_EQ(report(1, "value"), "DEBUG  : value\n");
    EXPECT_EQ(report(2, "Bad"), "WARNING: Bad in line 12 of file a/b.cc\n");
    EXPECT_EQ(report(2, nullptr), "WARNING: ? in line 12 of file a/b.cc\n");
    EXPECT_EQ(report(2, "100%s%n"), "WARNING: 100%s%n in line 12 of file a/b.cc\n");
    const std::string huge(5000, 'x');
    EXPECT_EQ(report(2, huge.c_str()), "WARNING: " + huge.substr(0, 1023 - 9) + "\n");
    // Control characters, of C1 in UTF-8 and alone; other characters of several bytes stay.
    EXPECT_EQ(report(1, "\x1b]0;x\a\x7f\r \xc2\x9b \x9b \xc3\xa9\t\n\xe2\x80\x9b \xf0\x9f\x80\x80"),
              "DEBUG  : \\x1b]0;x\\x07\\x7f\\x0d \\xc2\\x9b \\x9b \xc3\xa9\t\n\xe2\x80\x9b "
              "\xf0\x9f\x80\x80\n");
    // Cut, longer than needed, no character, past the last one.
    EXPECT_EQ(
        report(1, "\xe2\x80|\xe0\x80\x80|\xed\x9f\x80|\xed\xa0\x80|\xf4\x90\x80\x80|\xff\xc2"),
        "DEBUG  : \xe2\\x80|\xe0\\x80\\x80|\xed\x9f\x80|\xed\xa0\\x80|\xf4\\x90\\x80\\x80|"
        "\xff\xc2\n");
    EXPECT_EQ(report(2, "\x1b[31m"), "WARNING: \\x1b[31m in line 12 of file a/b.cc\n");
    EXPECT_EQ(report(0, huge.c_str()), "INFO   : " + huge.substr(0, 256) + "\n");
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
    const struct {
        const char* assert_level;
        int error, level;
        bool aborts;
        const char* text;
    } rows[] = {
        {"0", 0, -1, false, "^FATAL  : Broken in line 12 of file a/b.cc\nExiting...\n$"},
        {"no", ENOENT, -1, false, "b.cc\npossible error: No such file or directory\nExiting"},
        {"1", 0, -1, true, "^FATAL  : Broken in line 12 of file a/b.cc\nDumping core...\n$"},
        {"2", EACCES, 2, true, "b.cc\npossible error: Permission denied\nDumping core...\n$"},
        {"0", 0, 5, true, "^Wrong warncode. Dumping core...\n$"},
        {"0", 0, -2, true, "^Wrong warncode. Dumping core...\n$"},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.text);
        if (r.aborts) {
            EXPECT_EXIT(fail_with(r.assert_level, r.error, r.level), KilledBySignal(SIGABRT),
                        r.text);
        } else {
            EXPECT_EXIT(fail_with(r.assert_level, r.error, r.level), ExitedWithCode(1), r.text);
        }
    }
    EXPECT_EXIT(fail_with("1", 0, 2), ExitedWithCode(77), "WARNING: Broken in line 12");
}

TEST(Std_Messager, ring_of_lines) {
    Std_Messager messager(5, 4);
    for (int i = 1; i <= 6; ++i) messager.update_history(str_format("%d line", i));
    EXPECT_STREQ(messager.message_history_item(0), "6 li");
    EXPECT_STREQ(messager.message_history_item(4), "2 li");
    EXPECT_STREQ(messager.message_history_item(5), "6 li");
    EXPECT_EQ(messager.message_history_index(INT_MAX), messager.message_history_index(INT_MAX - 5));
    messager.clear_message_history();
    EXPECT_STREQ(messager.message_history_item(3), "");
    Std_Messager smallest(0, -1); // still one line, of no characters
    smallest.update_history("text");
    EXPECT_EQ(smallest.message_history_count(), 1);
    EXPECT_STREQ(smallest.message_history_item(0), "");
}

namespace {
class Recorder : public Std_Messager {
    STD_OBJ_CLASS(Recorder, Std_Messager)
    Recorder() : Std_Messager(3, 80) {}
    void refresh_after_updating_history() override { (shown += message_history_item(0)) += ";"; }
    std::string shown;
};
} // namespace

TEST(Std_Messager, an_own_messager_takes_the_information_reports) {
    auto* recorder = new Recorder;
    std_set_current_messager(recorder);
    EXPECT_EQ(report(0, "one"), "");
    std_refresh_current_messager();
    EXPECT_EQ(recorder->shown, "one;one;");
    std_set_current_messager(nullptr);
    EXPECT_EQ(report(0, "two"), "INFO   : two\n");
    ::testing::internal::CaptureStderr();
    std_refresh_current_messager(); // the default one is left alone
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(recorder->shown, "one;one;");
}

TEST(Std_Env, values) {
    const struct {
        const char* value;
        int should;
    } rows[] = {{"yes", 1},  {"true", 1},  {"-3", 1}, {"", 1},   {"2", 2},
                {"12x", 12}, {"false", 0}, {"No", 0}, {"05", 0}, {"99999999999999999999", INT_MAX}};
    for (const auto& r : rows) {
        EXPECT_EQ(Std_Env::setenv("NOLT_TEST", r.value, 1), 0);
        EXPECT_EQ(Std_Env::getenv_value("NOLT_TEST"), r.should) << r.value;
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
