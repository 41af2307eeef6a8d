#include "bench_parts/unpacker_machine.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <system_error>

#include "bench_parts/running_copy.h"
#include "common/text.h"
#include "common/tool_instance.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

namespace bench {
namespace {

constexpr DWORD kPatienceMs = 30'000;
constexpr DWORD kPollMs = 2;
constexpr ULONGLONG kSmallDiskLimit = 4'194'304;  // A larger disk means that nothing is mounted.

// Repeats an action that fails because a process that has just ended still holds its exe or current
// folder, until it succeeds or takes too long. Returns the last error or ERROR_SUCCESS.
template <class Action>
DWORD RetryWhileHeld(Action action) {
    const ULONGLONG deadline = ::GetTickCount64() + kPatienceMs;
    for (;; ::Sleep(kPollMs)) {
        const DWORD error = action() ? ERROR_SUCCESS : ::GetLastError();
        const bool isHeld = error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION;
        if (!isHeld || ::GetTickCount64() > deadline) {
            return error;
        }
    }
}

void FillIn(ProgramRun& run, const std::string& key, const std::string& value) {
    if (key == "command") {
        run.commandLine = Utf8ToWide(value);
    } else if (key == "folder") {
        run.currentFolder = Utf8ToWide(value);
    } else if (key == "startup") {
        run.startup = value;
    } else if (key == "show") {
        run.show = value;
    } else if (key == "mark") {
        run.mark = Utf8ToWide(value);
    } else if (key == "pid") {
        run.processId = std::stoul(value);
    } else if (key == "end") {
        run.endCode = static_cast<uint32_t>(std::stoul(value));
    }
}

}  // namespace

UnpackerMachine::UnpackerMachine()
    : formerCurrentFolder_(fs::current_path()),
      formerToolExePath_(toolExePath),
      programFiles64_(L"ProgramFiles", ProgramFolder64().native()),
      programFiles32_(L"ProgramFiles(x86)", ProgramFolder32().native()),
      searchPath_(L"PATH", SearchFolder().native()),
      records_(L"BENCH_RECORDS", (Root() / L"records.txt").native()) {
    for (const fs::path& folder :
         {ToolFolder(), ProgramFolder64(), ProgramFolder32(), SearchFolder(), CurrentFolder()}) {
        fs::create_directories(folder);
    }
    fs::current_path(CurrentFolder());
    toolExePath = ToolFolder() / L"repair.exe";
    resetJobProgress();
}

UnpackerMachine::~UnpackerMachine() {
    resetJobProgress();
    toolExePath = formerToolExePath_;
    std::error_code ignored;
    fs::current_path(formerCurrentFolder_, ignored);
    // Otherwise the scratch folder could not be removed.
    for (const fs::path& program : programs_) {
        RetryWhileHeld([&] { return ::DeleteFileW(program.c_str()); });
    }
    RetryWhileHeld([this] { return ::RemoveDirectoryW(CurrentFolder().c_str()); });
}

fs::path UnpackerMachine::ToolFolder() const {
    return Root() / L"tool";
}

fs::path UnpackerMachine::ProgramFolder64() const {
    return Root() / L"programs 64";
}

fs::path UnpackerMachine::ProgramFolder32() const {
    return Root() / L"programs 32";
}

fs::path UnpackerMachine::SearchFolder() const {
    return Root() / L"search";
}

fs::path UnpackerMachine::CurrentFolder() const {
    return Root() / L"current";
}

const fs::path& UnpackerMachine::Root() const {
    return root_.Path();
}

fs::path UnpackerMachine::StagingFolder() const {
    return Root() / L"staging";
}

void UnpackerMachine::PutRecorder(const fs::path& program, std::string_view plan) const {
    PutProgram(FolderOfThisProgram() / L"recorder.exe", program);
    WriteFile(program.native() + L".plan", plan);
}

void UnpackerMachine::PutUnstartable(const fs::path& program) const {
    WriteFile(program, "This is no program.");
}

void UnpackerMachine::PutSevenZip(const fs::path& program) const {
    const fs::path original = BENCH_SEVEN_ZIP_FOLDER;
    PutProgram(original / L"7z.exe", program);
    PutProgram(original / L"7z.dll", program.parent_path() / L"7z.dll");
}

void UnpackerMachine::PutTar() const {
    PutProgram(FolderOfThisProgram() / L"tar_stand_in.exe", CurrentFolder() / L"tar.exe");
}

void UnpackerMachine::PutPowerShell() const {
    PutProgram(FolderOfThisProgram() / L"powershell_stand_in.exe",
               CurrentFolder() / L"powershell.exe");
}

void UnpackerMachine::PutProgram(const fs::path& source, const fs::path& program) const {
    fs::create_directories(program.parent_path());
    const DWORD error =
        RetryWhileHeld([&] { return ::CopyFileW(source.c_str(), program.c_str(), FALSE); });
    if (error != ERROR_SUCCESS) {
        throw std::system_error(static_cast<int>(error), std::system_category(),
                                "copy " + source.string());
    }
    programs_.push_back(program);
}

std::vector<ProgramRun> UnpackerMachine::Runs() const {
    std::vector<ProgramRun> runs;
    const fs::path records = Root() / L"records.txt";
    if (::GetFileAttributesW(records.c_str()) == INVALID_FILE_ATTRIBUTES) {
        return runs;
    }
    std::istringstream lines(ReadFile(records));
    for (std::string line; std::getline(lines, line);) {
        const size_t equals = line.find('=');
        const std::string value = line.substr(equals + 1);
        if (line.substr(0, equals) == "program") {
            runs.emplace_back().program = Utf8ToWide(value);
        } else if (!runs.empty()) {
            FillIn(runs.back(), line.substr(0, equals), value);
        }
    }
    return runs;
}

std::vector<ProgramRun> UnpackerMachine::AwaitRuns(size_t count) const {
    const ULONGLONG deadline = ::GetTickCount64() + kPatienceMs;
    for (;;) {
        std::vector<ProgramRun> runs = Runs();
        if (runs.size() >= count) {
            return runs;
        }
        if (::GetTickCount64() > deadline) {
            ADD_FAILURE() << runs.size() << " programs were started, not " << count;
            runs.resize(count);
            return runs;
        }
        ::Sleep(kPollMs);
    }
}

KernelHandle OpenRunningProcess(DWORD processId) {
    return KernelHandle(
        ::OpenProcess(SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
}

std::optional<DWORD> AwaitExitCode(const KernelHandle& process) {
    DWORD code = 0;
    if (!process || ::WaitForSingleObject(process.get(), kPatienceMs) != WAIT_OBJECT_0 ||
        !::GetExitCodeProcess(process.get(), &code)) {
        return std::nullopt;
    }
    return code;
}

fs::path EmptySmallDisk() {
    fs::path disk = fs::path(BENCH_SMALL_DISK_FOLDER).make_preferred();
    ULARGE_INTEGER size{};
    if (!::GetDiskFreeSpaceExW(disk.c_str(), nullptr, &size, nullptr) ||
        size.QuadPart > kSmallDiskLimit) {
        throw std::runtime_error("the small disk is not mounted");
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(disk)) {
        fs::remove_all(entry.path());
    }
    return disk;
}

}  // namespace bench
