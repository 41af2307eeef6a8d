#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

// Comparing the program's own code with the least that the platform allows, in one run: absolute
// times mean little on a machine that others use, too.

struct Comparison {
    std::vector<double> toolSeconds;
    std::vector<double> bareSeconds;
    // Processor time of this program, all of its threads, over all rounds.
    double toolCpuSeconds = 0.0;
    double bareCpuSeconds = 0.0;
};

// Both do the same work and return whether they managed; a failure ends the program.
using Work = std::function<bool()>;

// Runs both `rounds` times by turns, each first in every other round, after one run of each that
// does not count. Where a run uses up what it works on, `prepare` restores it before each,
// unmeasured.
Comparison CompareByTurns(
    int rounds, const Work& tool, const Work& bare, const Work& prepare = [] { return true; });

// One line: the median throughputs of both, and the median over the rounds of the tool's throughput
// as a part of the bare loop's.
void PrintComparison(std::string_view what, uint64_t bytes, const Comparison& comparison);

// One line: the median times of both, and how many times as long the tool's takes as the other's,
// which `bareName` names.
void PrintTimes(std::string_view what, std::string_view bareName, const Comparison& comparison);

// One line: the processor time that each spent on a round, on average. Tells more than the
// throughput where another program takes most of the time.
void PrintCpuTimes(std::string_view what, const Comparison& comparison);

// One line: by how much the program's peak memory grows from a small package to a large one.
// Peaks never fall, so the program must not have needed much before.
void PrintMemoryGrowth(std::string_view what, const Work& smallPackage, const Work& largePackage);
