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

// One start of a recorder (recorder.cpp).
struct ProgramRun {
    std::wstring program;  // Its full path.
    std::wstring commandLine;
    std::wstring currentFolder;
    std::string startup;  // "1" when a show state was given.
    std::string show;     // The show state; SW_HIDE is "0".
    std::wstring mark;    // The environment variable BENCH_MARK.
    DWORD processId = 0;
    std::optional<uint32_t> endCode{};  // Empty while it runs and after it was terminated.
};

// A machine with only the unpacking programs that a test puts there: as long as the object lives,
// program folders, search path, current folder and the tool's folder are fresh folders. The job's
// record is reset. A bare tar.exe or powershell.exe is searched for in the current folder before
// Windows' own, so a test that causes such a start puts one there.
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
    // For anything else; also the parent of StagingFolder(), which does not exist yet.
    const std::filesystem::path& Root() const;
    std::filesystem::path StagingFolder() const;

    // A recorder that follows `plan` (see recorder.cpp).
    void PutRecorder(const std::filesystem::path& program, std::string_view plan) const;
    // A file that Windows refuses to start.
    void PutUnstartable(const std::filesystem::path& program) const;
    void PutSevenZip(const std::filesystem::path& program) const;
    // Programs that really unpack, in the current folder.
    void PutTar() const;
    void PutPowerShell() const;

    // The recorders started so far, in order.
    std::vector<ProgramRun> Runs() const;
    // Waits until that many were started; fails the test if this takes too long.
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

// Null when there is no such process.
KernelHandle OpenRunningProcess(DWORD processId);

// Waits for the end of the process. Empty if this takes too long.
std::optional<DWORD> AwaitExitCode(const KernelHandle& process);

// An empty disk of 2 MB, on another volume than the prefix. Throws std::runtime_error when it is
// not mounted; only the bench can mount it.
std::filesystem::path EmptySmallDisk();

}  // namespace bench
