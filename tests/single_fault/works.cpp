#include "single_fault/works.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string_view>
#include <tuple>

#include "bench_parts/call_hook.h"
#include "bench_parts/fault_server_client.h"
#include "bench_parts/package_contents.h"
#include "bench_parts/registry_entry.h"
#include "common/handles.h"
#include "common/win32_error.h"
#include "config/tool_config.h"
#include "extract/folder_flattening.h"
#include "job/client/client_repair.h"
#include "job/job_flow.h"
#include "job/progress/job_progress.h"
#include "package/package_hash.h"
#include "package/package_source.h"
#include "single_fault/failing_calls.h"
#include "system/installed_programs_entry.h"
#include "system/installed_programs_values.h"
#include "system/uninstaller_file.h"

namespace fs = std::filesystem;

namespace {

constexpr wchar_t kKernel[] = L"kernel32.dll";
// Any small ZIP: it is downloaded and checked, but what is unpacked comes from SmallMachine.
constexpr wchar_t kZip[] = L"zip_own_name.zip";
constexpr wchar_t kTopFolder[] = L"Client";

// The pieces.

void Prepare(SmallMachine& machine) {
    machine.Restore();
}

void PrepareUnpacked(SmallMachine& machine) {
    machine.Restore();
    machine.KeepUnpacked();
}

void PrepareUnpackedInTopFolder(SmallMachine& machine) {
    machine.Restore();
    machine.Unpack(kTopFolder);
}

bool Repair(const SmallMachine& machine) {
    return VerifyAndRepairClient(machine.Staging(), false, machine.Archive());
}

// As the job flow does it.
bool Reinstall(const SmallMachine& machine) {
    try {
        return VerifyAndRepairClient(machine.Staging(), true, machine.Archive());
    } catch (const FileSystemError&) {
        reportFailure(L"the listing breaks off");
        return false;
    }
}

bool Flatten(const SmallMachine& machine) {
    return FlattenSingleTopFolder(machine.Staging());
}

bool DoLastSteps(const SmallMachine&) {
    std::wstring message = L"no uninstaller";
    if (WriteUninstaller() && RegisterProgramsAndFeatures(message)) {
        return true;
    }
    reportFailure(message);
    return false;
}

std::string MissingInClient(const SmallMachine& machine) {
    return SmallMachine::FirstMissing(machine.Client());
}

std::string MissingInStaging(const SmallMachine& machine) {
    return SmallMachine::FirstMissing(machine.Staging());
}

std::string MissingUninstaller(const SmallMachine& machine) {
    const fs::path uninstaller = machine.Client() / L"Uninstall.exe";
    return ::GetFileAttributesW(uninstaller.c_str()) != INVALID_FILE_ATTRIBUTES &&
                   bench::ReadFile(uninstaller) == "the uninstaller's bytes"
               ? std::string()
               : "Uninstall.exe";
}

// The whole jobs.

bool RunJob(JobKind kind) {
    ClearForJobStart(kind);
    runJob(kind);
    return snapshot().stage == JobStage::Done;
}

bool RunRepair(const SmallMachine&) {
    return RunJob(JobKind::Repair);
}

bool RunReinstall(const SmallMachine&) {
    return RunJob(JobKind::Reinstall);
}

std::string MissingAfterJob(const SmallMachine& machine) {
    const std::string missing = MissingInClient(machine);
    return missing.empty() ? MissingUninstaller(machine) : missing;
}

// The target folder in the command line of an unpacking program: tar.exe or PowerShell.
fs::path UnpackingFolder(std::wstring_view commandLine) {
    for (const auto& [before, after] :
         {std::pair{std::wstring_view(L" -C \""), L'"'},
          std::pair{std::wstring_view(L"-DestinationPath '"), L'\''}}) {
        const size_t begin = commandLine.find(before);
        if (begin != std::wstring_view::npos) {
            const size_t name = begin + before.size();
            return commandLine.substr(name, commandLine.find(after, name) - name);
        }
    }
    return {};
}

// Hooks and what they need.

auto HookRenaming() {
    return bench::HookCall<decltype(&::MoveFileExW)>(kKernel, "MoveFileExW", [](auto...) -> BOOL {
        ::SetLastError(ERROR_NOT_SAME_DEVICE);
        return FALSE;
    });
}

// Unpacks at once instead of starting a program; `endedProcess` becomes the process's handle.
auto HookStart(HANDLE& endedProcess) {
    using Function = decltype(&::CreateProcessW);
    return bench::HookCall<Function>(
        kKernel, "CreateProcessW",
        [&](LPCWSTR program, LPWSTR commandLine, auto... others) -> BOOL {
            const Uncounted uncounted;
            const fs::path folder = UnpackingFolder(commandLine);
            if (folder.empty()) {  // The bench's own.
                return bench::RealFunction<Function>(kKernel, "CreateProcessW")(
                    program, commandLine, others...);
            }
            SmallMachine::UnpackTo(folder / kTopFolder);
            auto* const started = std::get<LPPROCESS_INFORMATION>(std::tuple(others...));
            started->hProcess = ::CreateEventW(nullptr, TRUE, TRUE, nullptr);
            started->hThread = ::CreateEventW(nullptr, TRUE, TRUE, nullptr);
            endedProcess = started->hProcess;
            return TRUE;
        });
}

auto HookExitCode(const HANDLE& endedProcess) {
    using Function = decltype(&::GetExitCodeProcess);
    return bench::HookCall<Function>(
        kKernel, "GetExitCodeProcess", [&](HANDLE process, LPDWORD code) -> BOOL {
            if (process != endedProcess) {
                return bench::RealFunction<Function>(kKernel, "GetExitCodeProcess")(process, code);
            }
            *code = 0;
            return TRUE;
        });
}

}  // namespace

const Work kRepair{"Repair", StandIns::None, &PrepareUnpacked, &Repair, &MissingInClient};
const Work kReinstall{"Reinstall", StandIns::None, &PrepareUnpacked, &Reinstall, &MissingInClient};
const Work kFlattening{"Flattening", StandIns::None, &PrepareUnpackedInTopFolder, &Flatten,
                       &MissingInStaging};
const Work kFlatteningByCopies{"FlatteningByCopies", StandIns::NoRenaming,
                               &PrepareUnpackedInTopFolder, &Flatten, &MissingInStaging};
const Work kLastSteps{"LastSteps", StandIns::None, &Prepare, &DoLastSteps, &MissingUninstaller};
const Work kRepairJob{"RepairJob", StandIns::ServerAndProgram, &Prepare, &RunRepair,
                      &MissingAfterJob};
const Work kReinstallJob{"ReinstallJob", StandIns::ServerAndProgram, &Prepare, &RunReinstall,
                         &MissingAfterJob};

struct StandInsFor::Parts {
    struct NoRenaming {
        decltype(HookRenaming()) renaming = HookRenaming();
    };
    struct ServerAndProgram {
        HANDLE endedProcess = nullptr;
        decltype(HookStart(endedProcess)) start = HookStart(endedProcess);
        decltype(HookExitCode(endedProcess)) exitCode = HookExitCode(endedProcess);
        bench::FaultServer server;
    };
    std::optional<NoRenaming> noRenaming;
    std::optional<ServerAndProgram> serverAndProgram;
};

StandInsFor::StandInsFor(const Work& work) : parts_(std::make_unique<Parts>()) {
    toolConfig = ToolConfig{};
    toolConfig.startupExe = L"client.exe";
    if (work.standIns == StandIns::NoRenaming) {
        parts_->noRenaming.emplace();
    }
    if (work.standIns == StandIns::ServerAndProgram) {
        const bench::FaultServer& server = parts_->serverAndProgram.emplace().server;
        toolConfig.archiveUrl = server.Url(std::wstring(L"archive/") + kZip);
        EXPECT_TRUE(ComputeFileSha256(bench::PackagePath(kZip), toolConfig.archiveSha256));
        SelectPackageUrl(L"");
    }
}

StandInsFor::~StandInsFor() {
    bench::RemoveKey(UninstallKeyPath(toolConfig));
    selectedPackageUrl.clear();
    toolConfig = ToolConfig{};
}
