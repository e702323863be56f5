#include "std/Std_Output_File.h"

#include <csignal>
#include <sys/time.h>
#include <unistd.h>

#include "std/Std_Descriptor.h"
#include "tests/Scratch_Folder.h"

using Std_Output_File_test = Scratch_Folder_Test;

TEST_F(Std_Output_File_test, is_closed_after_either_end) {
    Std_Output_File target;
    for (const bool is_whole : {false, true}) {
        std::string name = "f";
        ASSERT_TRUE(target.open(name.c_str(), Std_Output_File::FOLLOW_LINKS));
        name[0] = 'g'; // it was the caller's
        EXPECT_GT(target.descriptor(), 2);
        if (is_whole) {
            EXPECT_TRUE(target.commit());
        } else {
            target.discard();
        }
        EXPECT_EQ(target.descriptor(), -1);
        EXPECT_EQ(std::filesystem::exists("f"), is_whole);
    }
}

// A reader that wakes late, while signals interrupt the writer; and then none.
TEST_F(Std_Output_File_test, writes_are_whole_and_end_no_process) {
    struct sigaction action = {}, before;
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &before);
    const std::string text(300000, 'x');
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t reader = fork();
    if (reader == 0) {
        char piece[5000];
        ssize_t all = 0, got;
        close(ends[1]);
        usleep(20000);
        while ((got = read(ends[0], piece, sizeof piece)) > 0) all += got;
        _exit(all == 300000 ? 0 : 1);
    }
    close(ends[0]);
    const itimerval often = {{0, 1000}, {0, 1000}}, never = {};
    setitimer(ITIMER_REAL, &often, nullptr);
    EXPECT_TRUE(std_write_all(ends[1], text.data(), text.size()));
    setitimer(ITIMER_REAL, &never, nullptr);
    close(ends[1]);
    int status;
    EXPECT_TRUE(waitpid(reader, &status, 0) == reader && status == 0);
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    sigset_t waiting, usual_mask;
    sigemptyset(&waiting);
    sigaddset(&waiting, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &waiting, &usual_mask);
    for (const bool is_waiting : {false, true}) {
        if (is_waiting) raise(SIGPIPE);
        EXPECT_FALSE(std_write_all(ends[1], "x", 1));
        EXPECT_EQ(errno, EPIPE);
        sigpending(&waiting);
        EXPECT_EQ(sigismember(&waiting, SIGPIPE), is_waiting) << "one of before stays";
    }
    sigemptyset(&waiting);
    sigaddset(&waiting, SIGPIPE);
    const timespec at_once = {};
    sigtimedwait(&waiting, nullptr, &at_once);
    pthread_sigmask(SIG_SETMASK, &usual_mask, nullptr);
    close(ends[1]);
    sigaction(SIGALRM, &before, nullptr);
}
