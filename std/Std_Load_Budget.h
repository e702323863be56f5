// What all documents of one load take together, of what std_limits allows them.
//
//     const Std_Load_Budget budget;             // for as long as the load runs
//     if (!std_store(file, bytes, count)) return complain(errno);
//
// Outside of loads nothing is counted and nothing refused. One load at a time in a thread.
// Internal.
#ifndef STD_STD_LOAD_BUDGET_H
#define STD_STD_LOAD_BUDGET_H

#include <cstddef>

class Std_Load_Budget {
public:
    enum Kind { FETCHED, UNPACKED, STORED };

    Std_Load_Budget();
    Std_Load_Budget(const Std_Load_Budget&) = delete;
    Std_Load_Budget& operator=(const Std_Load_Budget&) = delete;
    ~Std_Load_Budget();

    // How many of so many bytes may be taken. These count.
    static std::size_t take(Kind kind, std::size_t count);

private:
    Std_Load_Budget* const outer_;
    long long taken_[3] = {};
};

// Writes to a temporary file. On failure: false, with errno; so also beyond the limit.
bool std_store(int file, const void* bytes, std::size_t count);

#endif
