// The main program of the benchmarks: prints a Markdown table, a row for each
// benchmark, so that figures can be pasted into documents as they stand, and above it on what they
// were measured.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

#include "bench/machine.h"

class Table_Reporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override {
        std::printf("%s\n\n", machine_line().c_str());
        std::puts("| benchmark | the plain way | ours | plain / ours | more |\n"
                  "|---|---|---|---|---|");
        return true;
    }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) print(run);
        std::fflush(stdout);
    }

private:
    // "3.1 ns", "12 ms": three digits say enough.
    static std::string with_unit(double nanoseconds) {
        const char* const units[] = {"ns", "us", "ms", "s"};
        int unit = 0;
        for (; nanoseconds >= 999.5 && unit < 3; ++unit) nanoseconds /= 1000;
        char text[32];
        std::snprintf(text, sizeof text, "%.3g %s", nanoseconds, units[unit]);
        return text;
    }
    static void add(std::string& cell, const std::string& name, const std::string& value) {
        cell += (cell.empty() ? "" : ", ") + name + " " + value;
    }

    static void print(const Run& run) {
        if (run.error_occurred) {
            std::printf("| %s | %s | | | |\n", name_of(run).c_str(), run.error_message.c_str());
            return;
        }
        std::string plain, ours, ratio, more;
        for (const auto& [name, counter] : run.counters) {
            if (name.ends_with("/ours")) continue;
            const std::string side = name.substr(0, name.rfind(" ns"));
            const auto against = run.counters.find(side + "/ours");
            char number[32];
            if (!name.ends_with(" ns")) {
                std::snprintf(number, sizeof number, "%.6g", counter.value);
                add(more, name, number);
            } else if (against == run.counters.end()) {
                add(ours, side, with_unit(counter.value));
            } else {
                std::snprintf(number, sizeof number, "%.3g", against->second.value);
                add(plain, side, with_unit(counter.value));
                add(ratio, side, number);
            }
        }
        if (ours.empty())
            ours = with_unit(run.real_accumulated_time * 1e9 / static_cast<double>(run.iterations));
        std::printf("| %s | %s | %s | %s | %s |\n", name_of(run).c_str(), plain.c_str(),
                    ours.c_str(), ratio.c_str(), more.c_str());
    }
    // How long and with which clock it ran is nobody's interest.
    static std::string name_of(const Run& run) {
        std::string name = run.run_name.function_name;
        if (!run.run_name.args.empty()) name += " " + run.run_name.args;
        for (char& c : name) {
            if (c == '/') c = ' ';
        }
        return name;
    }
};

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    // For --benchmark_out: the table has a line of its own.
    benchmark::AddCustomContext("processor", processor_name());
    benchmark::AddCustomContext("compiler", NOLT_BENCH_COMPILER);
    benchmark::AddCustomContext("flags", NOLT_BENCH_FLAGS);
    Table_Reporter table;
    benchmark::RunSpecifiedBenchmarks(&table);
    benchmark::Shutdown();
}
