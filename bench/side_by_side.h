// Times the plain way and ours in turns, so that one row holds both and their ratio.
//
//     static void append(benchmark::State& state) {
//         side_by_side(state, n, {{"vector", [&] { ...; return sum; }}},
//                      {"Gap_List", [&] { ...; return sum; }});
//     }
//
// Sides answer a checksum; a row whose sides disagree fails. Counters, each the
// best round: nanoseconds for one operation on each side, and for each plain side
// "<name>/ours", how many times as long it takes.
#ifndef BENCH_SIDE_BY_SIDE_H
#define BENCH_SIDE_BY_SIDE_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

struct Side {
    std::string name;
    std::function<std::uint64_t()> run;
    std::function<void()> prepare = [] {}; // not timed
    double best = std::numeric_limits<double>::max();
    std::uint64_t sum = 0;
};

// One round; `ours` decides how many follow.
inline double time_of(Side& side) {
    side.prepare();
    const auto start = std::chrono::steady_clock::now();
    side.sum = side.run();
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    side.best = std::min(side.best, spent.count());
    return spent.count();
}

// The first round of a large side would tell what new pages cost.
inline void warm_up(Side& side) {
    time_of(side);
    side.best = std::numeric_limits<double>::max();
}

inline void side_by_side(benchmark::State& state, std::int64_t operations, std::vector<Side> plain,
                         Side ours) {
    for (Side& side : plain) warm_up(side);
    warm_up(ours);
    for (auto _ : state) {
        for (Side& side : plain) time_of(side);
        state.SetIterationTime(time_of(ours));
        for (const Side& side : plain) {
            if (side.sum != ours.sum)
                state.SkipWithError((side.name + " answers otherwise").c_str());
        }
    }
    const double unit = 1e9 / static_cast<double>(operations);
    state.counters[ours.name + " ns"] = ours.best * unit;
    for (const Side& side : plain) {
        state.counters[side.name + " ns"] = side.best * unit;
        state.counters[side.name + "/ours"] = side.best / ours.best;
    }
}

#endif
