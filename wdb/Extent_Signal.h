// How a world tells all its cameras that its extent may have changed, at one price however many
// they are: it raises a signal, and each camera asks its watch before it trusts what it computed.
//
//     Extent_Watch watch;
//     watch.begin(signal);
//     ++signal->raised;
//     if (watch.take()) forget_what_was_computed();        // once
//
// A watch knows signals and not worlds: a world may be gone while a camera that it listed lives on.
#ifndef WDB_EXTENT_SIGNAL_H
#define WDB_EXTENT_SIGNAL_H

#include <cstdint>

struct Extent_Signal {
    std::uint64_t raised = 0;
    bool is_over = false; // it will not be raised again
};

class Extent_Watch {
public:
    Extent_Watch() = default;
    // What is missed goes with what was computed; which signals are watched does not.
    Extent_Watch(const Extent_Watch& other) : has_missed_(other.is_raised()) {}
    Extent_Watch& operator=(const Extent_Watch& other);

    // From now on. Requires: the signal is not watched.
    void begin(Extent_Signal* signal);
    // What was raised until now stays to be taken. Does nothing if the signal is not watched.
    void end(const Extent_Signal* signal);

    // True if a watched signal has been raised since the last take.
    bool take() {
        const bool raised = is_raised();
        if (raised) note_all();
        return raised;
    }

private:
    // Collected, so that a camera on the stack keeps it.
    struct Watched {
        Extent_Signal* signal;
        std::uint64_t seen;
        Watched* next;
        bool is_raised() const { return seen != signal->raised; }
    };
    bool is_raised() const {
        for (const Watched* w = first_; w; w = w->next)
            if (w->is_raised()) return true;
        return has_missed_;
    }
    void note_all();
    template<class Is_Dropped>
    void drop(Is_Dropped is_dropped);

    Watched* first_ = nullptr; // nearly always just one
    bool has_missed_ = false;
};

#endif
