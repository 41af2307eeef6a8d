#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/environment_variable.h"
#include "bench_parts/scratch_folder.h"
#include "common/windows_api.h"

namespace bench {

// How a recorder (recorder.cpp) was started.
struct ProgramRun {
    std::wstring program;  // Its full path.
    std::wstring commandLine;
    std::wstring currentFolder;
    std::string startup;  // "1" when a show state was given.
    std::string show;     // The show state; SW_HIDE is "0".
    std::wstring mark;    // The environment variable BENCH_MARK.
    DWORD processId = 0;
    std::optional<uint32_t> endCode;  // None while it runs and when it was ended from outside.
};

// A machine that has the unpacking programs that a test puts there and no others: program folders,
// search path, current folder and the tool's own folder are fresh folders of this test, until the
// object goes. The job's record is as at the start. A bare tar.exe or powershell.exe is looked for
// in the current folder before the system's own, so a test that lets one be started puts one there.
class UnpackerMachine {
public:
    UnpackerMachine();
    ~UnpackerMachine();
    UnpackerMachine(const UnpackerMachine&) = delete;
    UnpackerMachine& operator=(const UnpackerMachine&) = delete;

    std::filesystem::path ToolFolder() const;       // Where the tool's exe would be.
    std::filesystem::path ProgramFolder64() const;  // The value of ProgramFiles.
    std::filesystem::path ProgramFolder32() const;  // The value of ProgramFiles(x86).
    std::filesystem::path SearchFolder() const;     // The one folder in PATH.
    std::filesystem::path CurrentFolder() const;
    // For anything else; also where StagingFolder() lies, which does not exist yet.
    const std::filesystem::path& Root() const;
    std::filesystem::path StagingFolder() const;

    // Puts a recorder at `program`, which follows `plan` (see recorder.cpp).
    void PutRecorder(const std::filesystem::path& program, std::string_view plan) const;
    // A file that the system refuses to start.
    void PutUnstartable(const std::filesystem::path& program) const;
    void PutSevenZip(const std::filesystem::path& program) const;
    // The ones that really unpack, in the current folder.
    void PutTar() const;
    void PutPowerShell() const;

    // The recorders that were started so far, in order.
    std::vector<ProgramRun> Runs() const;
    // Waits until that many were started. When it takes too long, the test has failed.
    std::vector<ProgramRun> AwaitRuns(size_t count) const;

private:
    void PutProgram(const std::filesystem::path& source,
                    const std::filesystem::path& program) const;

    mutable std::vector<std::filesystem::path> programs_;
    std::filesystem::path formerCurrentFolder_;
    std::filesystem::path formerToolExePath_;
    ScratchFolder root_;
    EnvironmentVariable programFiles64_;
    EnvironmentVariable programFiles32_;
    EnvironmentVariable searchPath_;
    EnvironmentVariable records_;
};

// A process by its id, opened while it runs. Null when there is none.
KernelHandle OpenRunningProcess(DWORD processId);

// Waits for its end, but not for ever. None when it still runs.
std::optional<DWORD> AwaitExitCode(const KernelHandle& process);

// A disk of 2 MB, empty, as another volume than the prefix's. Throws std::runtime_error when it is
// not mounted; only the bench can mount it.
std::filesystem::path EmptySmallDisk();

}  // namespace bench
