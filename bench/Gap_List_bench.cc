// Gap_List against std::vector: appending, reading, and insertions near one place.
#include "base/Gap_List.h"

#include <numeric>

#include "bench/side_by_side.h"

// Both grow from nothing each round.
static void append(benchmark::State& state) {
    const auto n = static_cast<int>(state.range(0));
    const auto vector = [n] {
        std::vector<std::intptr_t> v;
        for (int i = 0; i < n; ++i) v.push_back(i);
        return static_cast<std::uint64_t>(v.back());
    };
    const auto gap_list = [n] {
        Gap_List<std::intptr_t> list;
        for (int i = 0; i < n; ++i) list.insert_last(i);
        return static_cast<std::uint64_t>(list[n - 1]);
    };
    side_by_side(state, n, {{"vector", vector}}, {"Gap_List", gap_list});
}
BENCHMARK(append)->Arg(100)->Arg(10000)->Arg(1000000)->UseManualTime();

static void read_all(benchmark::State& state) {
    const auto n = static_cast<int>(state.range(0));
    std::vector<std::intptr_t> v(static_cast<std::size_t>(n));
    std::iota(v.begin(), v.end(), 1);
    Gap_List<std::intptr_t> list;
    for (const auto i : v) list.insert_last(i);
    list.insert(0, n / 2); // leaves the gap in the middle
    list.remove(n / 2);
    const auto sum_of = [n](const auto& all) {
        std::uint64_t sum = 0;
        for (int i = 0; i < n; ++i) {
            std::intptr_t element = all(i);
            benchmark::DoNotOptimize(element); // no vector instructions on either side
            sum += static_cast<std::uint64_t>(element);
        }
        return sum;
    };
    const auto vector = [&] {
        return sum_of([&](int i) { return v[static_cast<std::size_t>(i)]; });
    };
    const auto gap_list = [&] { return sum_of([&](int i) { return list[i]; }); };
    side_by_side(state, n, {{"vector", vector}}, {"Gap_List", gap_list});
}
BENCHMARK(read_all)->Arg(1000)->Arg(100000)->UseManualTime();

// A list of n, and then 1000 insertions that stay within 8 elements of the middle.
static void insert_near_one_place(benchmark::State& state) {
    const auto n = static_cast<int>(state.range(0));
    const int insertions = 1000;
    std::vector<std::intptr_t> v;
    Gap_List<std::intptr_t> list;
    const auto place = [n](int i) { return n / 2 + i * 5 % 8; };
    const auto vector = [&] {
        for (int i = 0; i < insertions; ++i) v.insert(v.begin() + place(i), i);
        return static_cast<std::uint64_t>(v[static_cast<std::size_t>(n / 2 + 3)]);
    };
    const auto gap_list = [&] {
        for (int i = 0; i < insertions; ++i) list.insert(i, place(i));
        return static_cast<std::uint64_t>(list[n / 2 + 3]);
    };
    // Room is there and the gap is near, as in the middle of a long run.
    const auto fill_vector = [&] {
        v.assign(static_cast<std::size_t>(n), 1);
        v.reserve(static_cast<std::size_t>(n + insertions));
    };
    const auto fill_list = [&] {
        list.wipe_out();
        for (int i = 0; i < n + insertions; ++i) list.insert_last(1);
        for (int i = 0; i < insertions; ++i) list.remove(n / 2);
    };
    side_by_side(state, insertions, {{"vector", vector, fill_vector}},
                 {"Gap_List", gap_list, fill_list});
}
// A round spends its time in filling, which is not counted.
BENCHMARK(insert_near_one_place)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->UseManualTime()
    ->Iterations(30);
