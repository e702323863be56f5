// Stopwatch: wall-clock and processor time together, with pause and resume.
//
//     Clock clock;
//     clock.start();
//     work();
//     clock.stop();                            // start goes on from here, restart begins anew
//     std::cout << clock;                      // "Clock (stopped) real 120 ms user 80 ms"
//
// Times are milliseconds in single precision, in steps of one clock tick (usually 10 ms). User time
// is that of the process, with what the system spends on its behalf.
// If the system cannot tell the time, the reason is printed and the process aborts.
#ifndef BASE_CLOCK_H
#define BASE_CLOCK_H

#include <ctime>
#include <iosfwd>

#include "std/Std_Obj.h"

class Clock : public Std_Obj {
    STD_OBJ_CLASS(Clock, Std_Obj)

    // Stopped, at 0.
    Clock() = default;
    // A copy is stopped and shows what the other showed when it was last asked or stopped.
    Clock(const Clock& other);
    // An assigned clock runs if the other does.
    Clock& operator=(const Clock& other) = default;

    // Runs, on top of what earlier periods measured. On a running clock the present period is lost.
    void start();
    void stop();
    // Stops, at 0.
    void terminate();
    // Runs, from 0.
    void restart();

    bool is_started() const { return started_; }
    float get_user_elapsed_ms();
    float get_real_elapsed_ms();

    // "Clock (running) real 120 ms user 80 ms" and a line feed.
    friend std::ostream& operator<<(std::ostream& out, Clock& clock);

private:
    void reset();
    void update();

    bool started_ = false;
    float user_elapsed_ = 0;
    float real_elapsed_ = 0;
    float user_accumulated_ = 0;
    float real_accumulated_ = 0;
    std::clock_t user_ticks_at_start_ = 0;
    std::clock_t real_ticks_at_start_ = 0;
};

#endif
