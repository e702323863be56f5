// Numbers as text: std_format_f into a buffer against fprintf("%f").
#include <benchmark/benchmark.h>
#include <cstdio>
#include <random>
#include <vector>

#include "std/Std_Format.h"

static std::vector<float> numbers_within(float range) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> spread(-range, range);
    std::vector<float> numbers(4096);
    for (float& number : numbers) number = spread(random);
    return numbers;
}

static void plain_fprintf(benchmark::State& state) {
    const auto numbers = numbers_within(static_cast<float>(state.range(0)));
    std::FILE* sink = std::fopen("/dev/null", "w");
    for (auto _ : state) {
        for (float number : numbers) std::fprintf(sink, "%f", static_cast<double>(number));
    }
    std::fclose(sink);
    state.SetItemsProcessed(state.iterations() * static_cast<long>(numbers.size()));
}

static void ours(benchmark::State& state) {
    const auto numbers = numbers_within(static_cast<float>(state.range(0)));
    std::FILE* sink = std::fopen("/dev/null", "w");
    std::vector<char> buffer(65536);
    for (auto _ : state) {
        char* end = buffer.data();
        for (float number : numbers) {
            if (buffer.data() + buffer.size() - end < STD_FORMAT_F_MAX) {
                std::fwrite(buffer.data(), 1, static_cast<std::size_t>(end - buffer.data()), sink);
                end = buffer.data();
            }
            end = std_format_f(end, number);
        }
        std::fwrite(buffer.data(), 1, static_cast<std::size_t>(end - buffer.data()), sink);
    }
    std::fclose(sink);
    state.SetItemsProcessed(state.iterations() * static_cast<long>(numbers.size()));
}

BENCHMARK(plain_fprintf)->ArgName("range")->Arg(1)->Arg(1000)->Arg(1000000);
BENCHMARK(ours)->ArgName("range")->Arg(1)->Arg(1000)->Arg(1000000);
