// Numbers as text: std_format_f into a buffer against fprintf("%f").
#include <benchmark/benchmark.h>
#include <cstdio>
#include <random>
#include <vector>

#include "bench/side_by_side.h"
#include "std/Std_Format.h"

static std::uint64_t print_all(const std::vector<float>& numbers, std::FILE* sink) {
    std::uint64_t characters = 0;
    for (float number : numbers)
        characters +=
            static_cast<std::uint64_t>(std::fprintf(sink, "%f", static_cast<double>(number)));
    return characters;
}

static std::uint64_t format_all(const std::vector<float>& numbers, std::vector<char>& buffer,
                                std::FILE* sink) {
    std::uint64_t characters = 0;
    char* end = buffer.data();
    const auto flush = [&] {
        characters +=
            std::fwrite(buffer.data(), 1, static_cast<std::size_t>(end - buffer.data()), sink);
        end = buffer.data();
    };
    for (float number : numbers) {
        if (buffer.data() + buffer.size() - end < STD_FORMAT_F_MAX) flush();
        end = std_format_f(end, number);
    }
    flush();
    return characters;
}

static void format_f(benchmark::State& state) {
    std::mt19937 random(1);
    const auto range = static_cast<float>(state.range(0));
    std::uniform_real_distribution<float> spread(-range, range);
    std::vector<float> numbers(100000);
    for (float& number : numbers) number = spread(random);
    std::vector<char> buffer(65536);
    std::FILE* const sink = std::fopen("/dev/null", "w");
    side_by_side(state, static_cast<std::int64_t>(numbers.size()),
                 {{"fprintf", [&] { return print_all(numbers, sink); }}},
                 {"std_format_f", [&] { return format_all(numbers, buffer, sink); }});
    std::fclose(sink);
}

BENCHMARK(format_f)->ArgName("range")->Arg(1)->Arg(1000)->Arg(1000000)->UseManualTime();
