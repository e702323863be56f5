// The collector, started by whoever needs it first, and its acquaintance with threads. Internal.
//
// A collection stops all threads that the collector knows and reads their stacks, so a thread must
// be known before it allocates or holds the only pointer to a block. Threads are made known here,
// by their first allocation, and forgotten when they end.
#ifndef STD_STD_COLLECTOR_H
#define STD_STD_COLLECTOR_H

#include <cstddef>
#include <cstdint>

class Std_Collector {
public:
    // Before calls that may allocate or collect. Cost: the test of a byte.
    static void meet() {
        if (!is_known_) make_known();
    }

    // True from the first meeting of the thread until it ends. A thread that is ending is met by a
    // Guest alone.
    static bool knows_this_thread() { return is_known_; }

    // Makes a thread known, and forgets it again if it is ending: after the last of its destructors
    // nobody would.
    class Guest {
    public:
        Guest();
        ~Guest();
        Guest(const Guest&) = delete;
        Guest& operator=(const Guest&) = delete;
    };

    // The thread ends.
    static void forget();

    // How often it has collected; what a collection found out is in force when it is counted.
    static std::uint64_t collection_count();

private:
    static void make_known();

    static constinit thread_local bool is_known_;
};

// What the collector answers when it has no memory; std/Std_GC.cc has the reasons.
void* std_out_of_memory(std::size_t size);

// While it lives, lack of memory is fatal in this thread. Cleanups run inside of requests, also of
// one that may answer null; what they ask for themselves may not.
class Std_Cleanup_Scope {
public:
    Std_Cleanup_Scope();
    Std_Cleanup_Scope(const Std_Cleanup_Scope&) = delete;
    Std_Cleanup_Scope& operator=(const Std_Cleanup_Scope&) = delete;
    ~Std_Cleanup_Scope();

private:
    const bool was_welcome_;
};

#endif
