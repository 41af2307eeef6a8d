#include "benchmarks/measure.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "common/windows_api.h"

// Wants the types of windows_api.h.
#include <psapi.h>

namespace {

constexpr double kBytesPerMebibyte = 1048576.0;

void RunOrExit(const Work& work) {
    if (!work()) {
        std::puts("A measured operation failed.");
        std::exit(1);
    }
}

double SecondsOf(const Work& work) {
    LARGE_INTEGER frequency{};
    LARGE_INTEGER start{};
    LARGE_INTEGER end{};
    ::QueryPerformanceFrequency(&frequency);
    ::QueryPerformanceCounter(&start);
    RunOrExit(work);
    ::QueryPerformanceCounter(&end);
    return static_cast<double>(end.QuadPart - start.QuadPart) /
           static_cast<double>(frequency.QuadPart);
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double PeakMebibytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof counters;
    ::K32GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters);
    return static_cast<double>(counters.PeakWorkingSetSize) / kBytesPerMebibyte;
}

}  // namespace

Comparison CompareByTurns(int rounds, const Work& tool, const Work& bare, const Work& prepare) {
    const auto measure = [&](const Work& work) {
        RunOrExit(prepare);
        return SecondsOf(work);
    };
    measure(tool);
    measure(bare);
    Comparison comparison;
    for (int round = 0; round < rounds; ++round) {
        if (round % 2 == 0) {
            comparison.toolSeconds.push_back(measure(tool));
            comparison.bareSeconds.push_back(measure(bare));
        } else {
            comparison.bareSeconds.push_back(measure(bare));
            comparison.toolSeconds.push_back(measure(tool));
        }
    }
    return comparison;
}

void PrintComparison(std::string_view what, uint64_t bytes, const Comparison& comparison) {
    const double mebibytes = static_cast<double>(bytes) / kBytesPerMebibyte;
    // Within a round, both met the same state of the machine.
    std::vector<double> ratios;
    for (size_t round = 0; round < comparison.toolSeconds.size(); ++round) {
        ratios.push_back(comparison.bareSeconds[round] / comparison.toolSeconds[round]);
    }
    std::printf("%s: %.1f MiB/s, bare loop %.1f MiB/s, ratio %.3f\n", std::string(what).c_str(),
                mebibytes / Median(comparison.toolSeconds),
                mebibytes / Median(comparison.bareSeconds), Median(ratios));
}

void PrintMemoryGrowth(std::string_view what, const Work& small, const Work& large) {
    RunOrExit(small);
    const double before = PeakMebibytes();
    RunOrExit(large);
    const double after = PeakMebibytes();
    std::printf("%s: peak memory %.1f MiB small, %.1f MiB large, grown by %.1f MiB\n",
                std::string(what).c_str(), before, after, after - before);
}
