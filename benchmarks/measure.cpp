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

double Seconds(const FILETIME& time) {
    constexpr double kHundredNanosecondsPerSecond = 1e7;
    const ULARGE_INTEGER ticks{{time.dwLowDateTime, time.dwHighDateTime}};
    return static_cast<double>(ticks.QuadPart) / kHundredNanosecondsPerSecond;
}

double CpuSeconds() {
    FILETIME created{};
    FILETIME ended{};
    FILETIME kernel{};
    FILETIME user{};
    ::GetProcessTimes(::GetCurrentProcess(), &created, &ended, &kernel, &user);
    return Seconds(kernel) + Seconds(user);
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
    const auto measure = [&](const Work& work, std::vector<double>& seconds, double& cpuSeconds) {
        RunOrExit(prepare);
        const double cpuBefore = CpuSeconds();
        seconds.push_back(SecondsOf(work));
        cpuSeconds += CpuSeconds() - cpuBefore;
    };
    const auto measureRound = [&](Comparison& comparison, bool toolFirst) {
        if (!toolFirst) {
            measure(bare, comparison.bareSeconds, comparison.bareCpuSeconds);
        }
        measure(tool, comparison.toolSeconds, comparison.toolCpuSeconds);
        if (toolFirst) {
            measure(bare, comparison.bareSeconds, comparison.bareCpuSeconds);
        }
    };
    Comparison firstRuns;
    measureRound(firstRuns, true);
    Comparison comparison;
    for (int round = 0; round < rounds; ++round) {
        measureRound(comparison, round % 2 == 0);
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

void PrintTimes(std::string_view what, std::string_view bareName, const Comparison& comparison) {
    const double tool = Median(comparison.toolSeconds);
    const double bare = Median(comparison.bareSeconds);
    std::printf("%s: %.4f s, %s %.4f s, takes %.3f times as long\n", std::string(what).c_str(),
                tool, std::string(bareName).c_str(), bare, tool / bare);
}

void PrintCpuTimes(std::string_view what, const Comparison& comparison) {
    const auto rounds = static_cast<double>(comparison.toolSeconds.size());
    std::printf("%s: processor time %.3f s, bare loop %.3f s\n", std::string(what).c_str(),
                comparison.toolCpuSeconds / rounds, comparison.bareCpuSeconds / rounds);
}

void PrintMemoryGrowth(std::string_view what, const Work& smallPackage, const Work& largePackage) {
    RunOrExit(smallPackage);
    const double before = PeakMebibytes();
    RunOrExit(largePackage);
    const double after = PeakMebibytes();
    std::printf("%s: peak memory %.1f MiB small, %.1f MiB large, grown by %.1f MiB\n",
                std::string(what).c_str(), before, after, after - before);
}
