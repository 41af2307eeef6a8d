#pragma once

#include <cstddef>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "convergence/job_process.h"

// Such as "die-after in copying, CopyFileW 3".
std::string Description(const Strike& strike);

// Random calls of a job, of each phase its share: the phases take turns, the two that change the
// client get two of them. The same seed gives the same sequence everywhere.
class KillPoints {
public:
    // `calls`: those of a job that was left alone.
    KillPoints(PhaseCalls calls, unsigned seed);

    Strike Next();

    // A line for each phase: how many it has got so far.
    void PrintSpread() const;

private:
    unsigned Below(size_t limit);
    std::vector<std::wstring> FunctionsOf(Phase phase);

    PhaseCalls calls_;
    std::mt19937 random_;
    std::vector<Phase> turns_;
    size_t turn_ = 0;
    std::map<Phase, unsigned> spread_;
};
