#include "wdb/Extent_Signal.h"

#include "std/Std_GC.h"

Extent_Watch& Extent_Watch::operator=(const Extent_Watch& other) {
    // First: the other may be this one. What was missed here goes with what is overwritten.
    const bool has_missed = other.is_raised();
    take();
    has_missed_ = has_missed;
    return *this;
}

template<class Is_Dropped>
void Extent_Watch::drop(Is_Dropped is_dropped) {
    for (Watched** at = &first_; *at;) {
        const Watched* const w = *at;
        if (!is_dropped(w->signal)) {
            at = &(*at)->next;
            continue;
        }
        // What the signal has told stays to be taken when the signal is not watched any more.
        if (w->is_raised()) has_missed_ = true;
        *at = w->next;
    }
}

// Those that are over make room: a world that is wiped out and filled again has a new one each
// time.
void Extent_Watch::begin(Extent_Signal* signal) {
    drop([](const Extent_Signal* s) { return s->is_over; });
    first_ = new (GC) Watched{signal, signal->raised, first_};
}

void Extent_Watch::end(const Extent_Signal* signal) {
    drop([signal](const Extent_Signal* s) { return s == signal; });
}

void Extent_Watch::take() {
    for (Watched* w = first_; w; w = w->next)
        w->seen.store(w->signal->raised, std::memory_order_release);
    has_missed_ = false;
}
