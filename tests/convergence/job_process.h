#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "convergence/job_runner.h"
#include "job/progress/job_progress.h"

// Running job_runner from a test.

struct JobOrder {
    JobKind kind;
    std::wstring url;
    std::wstring digest;
};

// Where the job is killed.
struct Strike {
    Death death;
    std::wstring function;
    unsigned number;  // Counted from 1.
};

// Runs the program at `tool` with its temporary files in `tempFolder`, to its end; its exit code.
// On return all processes that it started have ended.
int RunJob(const std::filesystem::path& tool, const std::filesystem::path& tempFolder,
           const JobOrder& order, const std::optional<Strike>& strike = std::nullopt);
