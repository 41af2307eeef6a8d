#pragma once

#include <memory>
#include <string>

#include "single_fault/small_machine.h"

// The pieces of a job into which faults are put, and two whole jobs. The pieces have fewer calls
// and need no server, so that more faults can be put into them.

// What takes the place of something else while a piece of work is done.
enum class StandIns {
    None,
    NoRenaming,        // MoveFileExW fails, as between two volumes.
    ServerAndProgram,  // A package to download; the unpacking program is a function of this one.
};

struct Work {
    const char* name;
    StandIns standIns;
    // Makes the machine as it is when the work begins.
    void (*prepare)(SmallMachine& machine);
    // Whether it ended in success; a failure is in the record.
    bool (*run)(const SmallMachine& machine);
    // After a success: the first file that should be there and is not. Empty when all are.
    std::string (*firstMissing)(const SmallMachine& machine);
};

extern const Work kRepair;
extern const Work kReinstall;
extern const Work kFlattening;
extern const Work kFlatteningByCopies;
extern const Work kLastSteps;
extern const Work kRepairJob;
extern const Work kReinstallJob;

// Sets up the fake programs and what they need for its lifetime. Create it before FailingCalls.
class StandInsFor {
public:
    explicit StandInsFor(const Work& work);
    ~StandInsFor();
    StandInsFor(const StandInsFor&) = delete;
    StandInsFor& operator=(const StandInsFor&) = delete;

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};
