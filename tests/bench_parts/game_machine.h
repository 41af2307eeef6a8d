#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/failed_job.h"
#include "bench_parts/fault_server_client.h"
#include "bench_parts/package_contents.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/unpacker_machine.h"
#include "job/progress/job_progress.h"

namespace bench {

// A player's machine with an installed client that a job works on: unpacking programs, a server
// with packages, a client folder with the tool in it, a registry without an entry for the game, an
// empty temp folder. Jobs run on their own thread, as the window would start them.
class GameMachine : public testing::Test, protected FailedJob {
protected:
    static constexpr std::string_view kToolBytes = "this is the running tool";
    static constexpr std::wstring_view kRepairSuccess = L"Repair complete.";
    // The configured package: a ZIP with everything in one top folder.
    static constexpr wchar_t kZip[] = L"zip_lone_folder.zip";
    // The registry key of the default brand's entry.
    static constexpr wchar_t kEntryKey[] =
        L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Quellstone.Karvoth";

    GameMachine();
    ~GameMachine() override;

    // Starts the job, as the window does. False when it is refused.
    static bool StartJob(JobKind kind, const std::wstring& packageUrl = {});
    // Starts the job and waits for its end, as the window's next tick would collect it.
    void RunJob(JobKind kind, const std::wstring& packageUrl = {});

    // "http://.../archive/NAME"
    [[nodiscard]] std::wstring PackageUrl(const std::wstring& fileName) const;

    [[nodiscard]] std::filesystem::path Client() const {
        return machine_.ToolFolder();
    }
    [[nodiscard]] std::filesystem::path Tool() const {
        return Client() / L"repair.exe";
    }
    // The client without the tool and the uninstaller.
    [[nodiscard]] Contents ClientContents() const;
    // The same after a job with the configured package.
    static Contents LoneFolderPackage();
    // The names in the temp folder, except the test's own folder.
    [[nodiscard]] std::vector<std::wstring> TempFolder() const;

    static void ExpectSuccess(std::wstring_view headline);

    std::string toolBytes_{kToolBytes};  // What the tool's file holds.
    UnpackerMachine machine_;
    FaultServer server_;
};

}  // namespace bench
