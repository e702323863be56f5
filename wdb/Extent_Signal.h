// How a world tells all its cameras that its extent may have changed, at one price however many
// they are: it raises a signal, and each camera asks its watch before it trusts what it computed.
// And how a camera tells its worlds that it has another name.
//
//     Extent_Watch watch;
//     watch.begin(signal);
//     ++signal->raised;
//     if (watch.is_raised()) forget_what_was_computed(), watch.take();        // once
//
// A watch knows signals and not worlds: a world may be gone while a camera that it listed lives on.
#ifndef WDB_EXTENT_SIGNAL_H
#define WDB_EXTENT_SIGNAL_H

#include <atomic>
#include <cstdint>

struct Extent_Signal {
    std::uint64_t raised = 0;
    bool is_over = false; // it will not be raised again
    // Whether the world knows which of its cameras has which name. Set by the world when it has
    // looked, also while other threads ask.
    std::atomic<bool> knows_names = false;
};

// Which several threads may ask and set at once. Copied like a bool: with what it says of an
// object.
class Shared_Flag {
public:
    Shared_Flag(bool value) : value_(value) {}
    Shared_Flag(const Shared_Flag& other) : value_(bool(other)) {}
    Shared_Flag& operator=(const Shared_Flag& other) { return *this = bool(other); }
    // Whoever sees it set sees what was written before it.
    Shared_Flag& operator=(bool value) {
        value_.store(value, std::memory_order_release);
        return *this;
    }
    operator bool() const { return value_.load(std::memory_order_acquire); }

private:
    std::atomic<bool> value_;
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

    // Whether a watched signal has been raised since the last take.
    bool is_raised() const {
        for (const Watched* w = first_; w; w = w->next)
            if (w->is_raised()) return true;
        return has_missed_;
    }
    // Other threads may ask meanwhile: what they are to see with it has been written before.
    void take();

    // For all worlds whose signal is watched.
    void forget_names() {
        for (const Watched* w = first_; w; w = w->next) w->signal->knows_names = false;
    }

private:
    // Collected, so that a camera on the stack keeps it.
    struct Watched {
        Extent_Signal* signal;
        std::atomic<std::uint64_t> seen;
        Watched* next;
        bool is_raised() const { return seen.load(std::memory_order_acquire) != signal->raised; }
    };
    template<class Is_Dropped>
    void drop(Is_Dropped is_dropped);

    Watched* first_ = nullptr; // nearly always just one
    Shared_Flag has_missed_ = false;
};

#endif
