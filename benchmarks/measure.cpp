#include "benchmarks/measure.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "common/windows_api.h"

// Wants the types of windows_api.h.
#include <psapi.h>

namespace {

constexpr double kBytesPerMebibyte = 1048576.0;
constexpr double kMillisecondsPerSecond = 1000.0;

void RunOrExit(const Work& work) {
    if (!work()) {
        std::fputs("A measured operation failed.\n", stderr);
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

double Minimum(const std::vector<double>& values) {
    return *std::min_element(values.begin(), values.end());
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// With three digits or more.
std::string NumberText(double number) {
    const int decimals = std::abs(number) < 10 ? 2 : std::abs(number) < 100 ? 1 : 0;
    char text[40];
    std::snprintf(text, sizeof text, "%.*f", decimals, number);
    return text;
}

std::string PairText(const std::vector<double>& values) {
    return NumberText(Minimum(values)) + " / " + NumberText(Median(values));
}

std::vector<double> ForEachRound(const Rounds& rounds,
                                 const std::function<double(double, double)>& compare) {
    std::vector<double> results;
    for (size_t round = 0; round < rounds.tool.size(); ++round) {
        results.push_back(compare(rounds.tool[round], rounds.bare[round]));
    }
    return results;
}

void PrintRow(std::string_view figure, const char* unit, const Rounds& rounds,
              const std::string& relation) {
    std::printf("| %s | %s %s | %s %s | %s | %u |\n", std::string(figure).c_str(),
                PairText(rounds.tool).c_str(), unit, PairText(rounds.bare).c_str(), unit,
                relation.c_str(), static_cast<unsigned>(rounds.tool.size()));
    std::fflush(stdout);
}

}  // namespace

Comparison CompareByTurns(int rounds, const Work& tool, const Work& bare, const Work& prepare) {
    const auto measure = [&](const Work& work, std::vector<double>& seconds,
                             std::vector<double>& cpuSeconds) {
        RunOrExit(prepare);
        const double cpuBefore = CpuSeconds();
        seconds.push_back(SecondsOf(work));
        cpuSeconds.push_back(CpuSeconds() - cpuBefore);
    };
    const auto measureRound = [&](Comparison& comparison, bool toolFirst) {
        auto& [seconds, cpuSeconds] = comparison;
        if (!toolFirst) {
            measure(bare, seconds.bare, cpuSeconds.bare);
        }
        measure(tool, seconds.tool, cpuSeconds.tool);
        if (toolFirst) {
            measure(bare, seconds.bare, cpuSeconds.bare);
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

void PrintTimes(std::string_view figure, const Rounds& seconds) {
    Rounds milliseconds = seconds;
    for (std::vector<double>* times : {&milliseconds.tool, &milliseconds.bare}) {
        for (double& time : *times) {
            time *= kMillisecondsPerSecond;
        }
    }
    const double ofMinimums = Minimum(seconds.tool) / Minimum(seconds.bare);
    char relation[60];
    std::snprintf(relation, sizeof relation, "%.3f / %.3f", ofMinimums,
                  Median(ForEachRound(seconds, std::divides<>())));
    PrintRow(figure, "ms", milliseconds, relation);
}

void PrintMemory(std::string_view figure, const Rounds& mebibytes) {
    const double ofMinimums = Minimum(mebibytes.tool) - Minimum(mebibytes.bare);
    char relation[60];
    std::snprintf(relation, sizeof relation, "%+.1f / %+.1f MiB", ofMinimums,
                  Median(ForEachRound(mebibytes, std::minus<>())));
    PrintRow(figure, "MiB", mebibytes, relation);
}

void PrintMemoryGrowth(std::string_view figure, const Work& smallPackage,
                       const Work& largePackage) {
    RunOrExit(smallPackage);
    const double before = PeakMebibytes(::GetCurrentProcess());
    RunOrExit(largePackage);
    PrintMemory(figure, {{PeakMebibytes(::GetCurrentProcess())}, {before}});
}

double PeakMebibytes(void* process) {
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof counters;
    ::K32GetProcessMemoryInfo(process, &counters, sizeof counters);
    return static_cast<double>(counters.PeakWorkingSetSize) / kBytesPerMebibyte;
}
