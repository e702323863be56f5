// On what the figures were measured.
#ifndef BENCH_MACHINE_H
#define BENCH_MACHINE_H

#include <fstream>
#include <string>

// As the system names it; "unknown" where it does not.
inline std::string processor_name() {
    std::ifstream info("/proc/cpuinfo");
    std::string line;
    while (std::getline(info, line)) {
        const std::size_t colon = line.find(": ");
        if (line.starts_with("model name") && colon != std::string::npos)
            return line.substr(colon + 2);
    }
    return "unknown";
}

// NOLT_BENCH_COMPILER and NOLT_BENCH_FLAGS come from the build, which alone knows all flags.
inline std::string machine_line() {
    return "Processor " + processor_name() +
           "; compiler " NOLT_BENCH_COMPILER "; flags " NOLT_BENCH_FLAGS;
}

#endif
