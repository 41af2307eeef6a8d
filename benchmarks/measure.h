#pragma once

#include <functional>
#include <string_view>
#include <vector>

// Comparing the program's own code with the least that the platform allows, in one run: absolute
// figures mean little on a machine that others use, too. Everything is printed as rows of one
// table, whose head run_benchmarks prints:
//
// | figure | ours | bare | ratio | rounds |
//
// "ours" and "bare" are the minimum and the median over the rounds, "12.1 / 12.9 ms". "ratio" is
// that of the minimums and the median of the rounds' own ratios: within a round, both met the same
// state of the machine.

// One value for each round.
struct Rounds {
    std::vector<double> tool;
    std::vector<double> bare;
};

struct Comparison {
    Rounds seconds;
    // Processor time of this program, all of its threads.
    Rounds cpuSeconds;
};

// Both do the same work and return whether they managed; a failure ends the program.
using Work = std::function<bool()>;

// Runs both `rounds` times by turns, each first in every other round, after one run of each that
// does not count. Where a run uses up what it works on, `prepare` restores it before each,
// unmeasured.
Comparison CompareByTurns(
    int rounds, const Work& tool, const Work& bare, const Work& prepare = [] { return true; });

// A row of times.
void PrintTimes(std::string_view figure, const Rounds& seconds);

// A row of sizes, in MiB. In place of the ratio, the difference.
void PrintMemory(std::string_view figure, const Rounds& mebibytes);

// A row on how much more memory the program needs for a large package ("ours") than for a small one
// ("bare"). Peaks never fall, so the program must not have needed much before.
void PrintMemoryGrowth(std::string_view figure, const Work& smallPackage, const Work& largePackage);

// The peak of a process's working set. 0 if it cannot be read.
double PeakMebibytes(void* process);
