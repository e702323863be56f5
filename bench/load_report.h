// What the programs say that each load one file in a process of its own, for wdb_load_bench.
#ifndef BENCH_LOAD_REPORT_H
#define BENCH_LOAD_REPORT_H

#include <chrono>
#include <cstdio>

// The peak of this program alone: that of getrusage would count the one that started it.
inline double peak_megabytes() {
    std::FILE* const status = std::fopen("/proc/self/status", "r");
    double kilobytes = 0;
    char line[256];
    while (std::fgets(line, sizeof line, status))
        if (std::sscanf(line, "VmHWM: %lf", &kilobytes) == 1) break;
    std::fclose(status);
    return kilobytes / 1024;
}

// Runs load() and prints seconds, megabytes and what it answers: the number of triangles.
template<class Load>
int report_load(Load load) {
    const auto start = std::chrono::steady_clock::now();
    const long long triangles = load();
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    std::printf("%f %f %lld\n", spent.count(), peak_megabytes(), triangles);
    return 0;
}

#endif
