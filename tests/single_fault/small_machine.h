#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bench_parts/current_folder.h"
#include "bench_parts/environment_variable.h"
#include "bench_parts/fault_server_client.h"
#include "bench_parts/package_contents.h"
#include "bench_parts/running_copy.h"
#include "bench_parts/scratch_folder.h"
#include "job/progress/job_progress.h"

// A minimal machine, because thousands of jobs run on it: a client with one file for each kind of
// damage, its package, and files outside that no job may touch. The package is downloaded, but the
// unpacking program is a function of this one. The program under test is told the location of the
// tool. The tool's file is open like that of a running program: it can be neither written nor
// deleted.
class SmallMachine {
public:
    // Without renaming, files are moved by copies, as between two volumes.
    explicit SmallMachine(bool canRename);
    ~SmallMachine();
    SmallMachine(const SmallMachine&) = delete;
    SmallMachine& operator=(const SmallMachine&) = delete;

    // Makes the client anew, empties the temporary folder and resets the job's record.
    void Restore();

    // Whether the job ended in success; a failure is in the record.
    static bool RunJob(JobKind kind);

    // What a successful job should have left in the client and has not, or not byte for byte; empty
    // when nothing is missing. The tool's own file does not count.
    [[nodiscard]] std::string FirstMissing() const;
    // What has changed outside of the client folder or in the tool's own file; empty if unchanged.
    [[nodiscard]] std::string Damage() const;
    // Whether the client is as Restore left it.
    [[nodiscard]] bool IsClientUntouched() const;

private:
    [[nodiscard]] std::filesystem::path Client() const {
        return root_.Path() / L"games" / L"Client";
    }
    [[nodiscard]] std::filesystem::path TempFolder() const {
        return root_.Path() / L"temp";
    }
    void BreakClient() const;

    bench::ScratchFolder root_;
    bench::FaultServer server_;
    bench::OpenElsewhere runningTool_;
    bench::CurrentFolder currentFolder_;
    bench::EnvironmentVariable temp_;
    bench::RunningCopy endedProgram_;
    std::vector<std::shared_ptr<void>> hooks_;
    bench::Contents initialClient_;
};
