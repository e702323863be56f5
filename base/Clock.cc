#include "base/Clock.h"

#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <sys/times.h>
#include <unistd.h>

namespace {
struct Ticks {
    std::clock_t real, user;
};
} // namespace

// One call for both, so that they are of the same moment.
static Ticks ticks_now(const char* error) {
    tms spent;
    const std::clock_t now = times(&spent);
    if (now == static_cast<std::clock_t>(-1)) {
        // Any number that was returned here would be taken for a time.
        std::perror(error);
        std::abort();
    }
    return {now, spent.tms_utime + spent.tms_stime};
}

Clock::Clock(const Clock& other) : Std_Obj(other) {
    *this = other;
    started_ = false;
}

void Clock::reset() {
    const Ticks now = ticks_now("Clock reset error");
    real_ticks_at_start_ = now.real;
    user_ticks_at_start_ = now.user;
}

void Clock::update() {
    // Asked once: it stays the same as long as the process lives.
    static const float ticks_per_ms =
        static_cast<float>(static_cast<double>(static_cast<float>(sysconf(_SC_CLK_TCK))) / 1000.0);
    // The times stand as stop left them.
    if (!started_) return;
    const Ticks now = ticks_now("Clock update error");
    real_elapsed_ =
        real_accumulated_ + static_cast<float>(now.real - real_ticks_at_start_) / ticks_per_ms;
    user_elapsed_ =
        user_accumulated_ + static_cast<float>(now.user - user_ticks_at_start_) / ticks_per_ms;
}

void Clock::start() {
    started_ = true;
    // Not the accumulated times: earlier periods go on counting.
    user_elapsed_ = real_elapsed_ = 0;
    reset();
}

void Clock::stop() {
    update();
    started_ = false;
    // The elapsed times contain the accumulated ones, and so replace them.
    user_accumulated_ = user_elapsed_;
    real_accumulated_ = real_elapsed_;
}

void Clock::terminate() {
    started_ = false;
    user_elapsed_ = real_elapsed_ = user_accumulated_ = real_accumulated_ = 0;
    user_ticks_at_start_ = real_ticks_at_start_ = 0;
}

void Clock::restart() {
    terminate();
    start();
}

float Clock::get_user_elapsed_ms() {
    update();
    return user_elapsed_;
}

float Clock::get_real_elapsed_ms() {
    update();
    return real_elapsed_;
}

std::ostream& operator<<(std::ostream& out, Clock& clock) {
    clock.update();
    return out << "Clock" << (clock.started_ ? " (running)" : " (stopped)") << " real "
               << static_cast<double>(clock.real_elapsed_) << " ms user "
               << static_cast<double>(clock.user_elapsed_) << " ms\n";
}
