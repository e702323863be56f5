#include "base/Clock.h"

#include <sys/times.h>
#include <unistd.h>

#include "tests/Test.h"

// Takes the place of the system's: time goes on only when the test says so.
static std::clock_t real_now = 1000, user_now = 70, system_now = 5;
extern "C" std::clock_t times(tms* spent) noexcept {
    *spent = {user_now, system_now, 0, 0};
    return real_now;
}

static void pass(int real, int user, int system) {
    real_now += real;
    user_now += user;
    system_now += system;
}

static std::string text_of(Clock& clock) {
    std::ostringstream out;
    out << clock;
    return out.str();
}

TEST(Clock, adds_up_the_periods_in_which_it_runs) {
    ASSERT_EQ(sysconf(_SC_CLK_TCK), 100) << "a tick is 10 ms";
    Clock clock;
    const std::tuple<void (Clock::*)(), int, int, int, const char*> rows[] = {
        {nullptr, 3, 2, 1, "(stopped) real 0 ms user 0 ms"},
        {&Clock::start, 0, 0, 0, "(running) real 0 ms user 0 ms"},
        {nullptr, 50, 20, 10, "(running) real 500 ms user 300 ms"},
        {&Clock::stop, 100, 100, 100, "(stopped) real 500 ms user 300 ms"},
        {&Clock::start, 5, 1, 0, "(running) real 550 ms user 310 ms"},
        {&Clock::start, 7, 3, 1,
         "(running) real 570 ms user 340 ms"}, // the period of 5 is lost, not that of 50
        {&Clock::restart, 2, 1, 1, "(running) real 20 ms user 20 ms"},
        {&Clock::stop, 1, 1, 1, "(stopped) real 20 ms user 20 ms"},
        {&Clock::restart, 0, 0, 0, "(running) real 0 ms user 0 ms"},
        {&Clock::terminate, 1, 1, 1, "(stopped) real 0 ms user 0 ms"},
        {&Clock::start, 4, 3, 0, "(running) real 40 ms user 30 ms"},
    };
    for (auto& [act, real, user, system, told] : rows) {
        if (act) (clock.*act)();
        pass(real, user, system);
        EXPECT_EQ(text_of(clock), std::string("Clock ") + told + "\n");
    }
    pass(1, 1, 0);
    Clock copy(clock), assigned;
    assigned = clock;
    EXPECT_EQ(text_of(copy), "Clock (stopped) real 40 ms user 30 ms\n") << "as when last asked";
    EXPECT_EQ(text_of(assigned), "Clock (running) real 50 ms user 40 ms\n");
}

TEST(Clock_death, without_the_time) {
    Clock clock;
    real_now = -1;
    EXPECT_DEATH(clock.start(), "Clock reset error: ");
    real_now = 0;
    clock.start();
    real_now = -1;
    EXPECT_DEATH(clock.get_real_elapsed_ms(), "Clock update error: ");
    real_now = 1000;
}
