#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "convergence/job_runner.h"
#include "job/progress/job_progress.h"

// Running job_runner from a test.

struct JobOrder {
    JobKind kind;
    std::wstring url;
    std::wstring digest;
};

// See ChosenCall.
struct Strike {
    Intervention intervention;
    Phase phase;
    std::wstring function;
    unsigned number;
};

// How often each function is called in each phase.
using PhaseCalls = std::map<Phase, std::map<std::wstring, unsigned>>;

struct JobOutcome {
    int exitCode = 0;
    std::string detail;  // The record's last detail line; empty after a kill.
    PhaseCalls calls;    // None after a kill.
};

// Puts the program there under the name of the tool.
void PutJobRunner(const std::filesystem::path& tool);

// Runs it to its end with its temporary files in `tempFolder`. On return all processes that it
// started have ended.
JobOutcome RunJob(const std::filesystem::path& tool, const std::filesystem::path& tempFolder,
                  const JobOrder& order, const std::optional<Strike>& strike = std::nullopt);
