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

// What the clock shows, in ticks.
static std::string shown(Clock& clock) {
    const float ticks_per_ms = static_cast<float>(sysconf(_SC_CLK_TCK)) / 1000;
    std::ostringstream out;
    out << (clock.is_started() ? "running " : "stopped ")
        << clock.get_real_elapsed_ms() * ticks_per_ms << ' '
        << clock.get_user_elapsed_ms() * ticks_per_ms;
    return out.str();
}

TEST(Clock, adds_up_the_periods_in_which_it_runs) {
    Clock clock;
    const struct {
        void (Clock::*act)();
        int real, user, system; // pass then
        const char* shown;
    } rows[] = {
        {nullptr, 3, 2, 1, "stopped 0 0"},
        {&Clock::start, 0, 0, 0, "running 0 0"},
        {nullptr, 50, 20, 10, "running 50 30"},
        {&Clock::stop, 100, 100, 100, "stopped 50 30"},
        {&Clock::start, 5, 1, 0, "running 55 31"},
        {&Clock::start, 7, 3, 1, "running 57 34"}, // the period of 5 is lost, not that of 50
        {&Clock::restart, 2, 1, 1, "running 2 2"},
        {&Clock::stop, 1, 1, 1, "stopped 2 2"},
        {&Clock::restart, 0, 0, 0, "running 0 0"},
        {&Clock::terminate, 1, 1, 1, "stopped 0 0"},
        {&Clock::start, 4, 3, 0, "running 4 3"},
    };
    for (const auto& r : rows) {
        if (r.act) (clock.*r.act)();
        pass(r.real, r.user, r.system);
        EXPECT_EQ(shown(clock), r.shown) << &r - rows;
    }
    pass(1, 1, 0);
    Clock copy(clock), assigned;
    assigned = clock;
    EXPECT_EQ(shown(copy), "stopped 4 3") << "as when last asked";
    EXPECT_EQ(shown(assigned), "running 5 4");
}

TEST(Clock, prints_a_line) {
    ASSERT_EQ(sysconf(_SC_CLK_TCK), 100) << "a tick is 10 ms";
    Clock clock;
    clock.start();
    pass(120, 70, 10);
    std::ostringstream out;
    out << clock;
    clock.stop();
    out << clock;
    EXPECT_EQ(out.str(), "Clock (running) real 1200 ms user 800 ms\n"
                         "Clock (stopped) real 1200 ms user 800 ms\n");
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
