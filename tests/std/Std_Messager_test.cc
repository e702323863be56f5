#include "std/Std_Messager.h"

#include "std/Std_Assert.h"
#include "std/Std_Common.h"
#include "tests/Test.h"

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
    ::testing::internal::CaptureStderr();
    std_assert(0, "one", "a/b.cc", 12);
    std_refresh_current_messager();
    std_set_current_messager(nullptr);
    std_assert(0, "two", "a/b.cc", 12);
    std_refresh_current_messager(); // the default one is left alone
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "INFO   : two\n");
    EXPECT_EQ(recorder->shown, "one;one;");
}
