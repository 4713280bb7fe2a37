#pragma once
// What the benchmarks share: memory readings and one line per figure.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include <sys/resource.h>

namespace kes::bench {

inline long statusKiB(const char* field) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(field, 0) == 0) return std::stol(line.substr(std::strlen(field)));
    }
    return 0;
}

// Page faults so far that the kernel served without I/O: each first touch of fresh memory is
// one, and on some virtual machines each costs microseconds.
inline long minorFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

// How long `work()` takes, in seconds.
template <class Work>
double seconds(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// An ASCII text as the cell store takes text.
inline std::u16string ascii(const std::string& s) { return std::u16string(s.begin(), s.end()); }

// Milliseconds since `start`.
inline double msSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

inline long residentKiB() { return statusKiB("VmRSS:"); }
inline long peakResidentKiB() { return statusKiB("VmHWM:"); }

// One figure; a target of 0 means none is set.
inline void report(const char* what, double value, const char* unit, double target) {
    if (target > 0) {
        std::printf("  %-44s %10.1f %-10s (target < %g: %s)\n", what, value, unit, target,
                    value < target ? "met" : "MISSED");
    } else {
        std::printf("  %-44s %10.1f %s\n", what, value, unit);
    }
}

}  // namespace kes::bench
