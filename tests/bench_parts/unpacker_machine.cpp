#include "bench_parts/unpacker_machine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "bench_parts/running_copy.h"
#include "bench_parts/waiting.h"
#include "common/text.h"
#include "common/tool_instance.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

namespace bench {
namespace {

constexpr DWORD kPatienceMs = 30'000;
constexpr ULONGLONG kSmallDiskLimit = 4'194'304;  // A larger disk means that nothing is mounted.

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
    std::error_code error;
    fs::current_path(formerCurrentFolder_, error);
    // A process that has just ended still holds its exe and its current folder.
    programs_.push_back(CurrentFolder());
    for (const fs::path& path : programs_) {
        Await([&] {
            fs::remove_all(path, error);
            return !error;
        });
    }
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
    // A process that has just ended still holds its exe.
    EXPECT_TRUE(Await([&] { return ::CopyFileW(source.c_str(), program.c_str(), FALSE); }))
        << source << ' ' << ::GetLastError();
    programs_.push_back(program);
}

std::vector<ProgramRun> UnpackerMachine::Runs() const {
    std::vector<ProgramRun> runs;
    const fs::path records = Root() / L"records.txt";
    if (!fs::exists(records)) {
        return runs;
    }
    std::istringstream lines(ReadFile(records));
    const auto nextLine = [&lines] {
        std::string line;
        std::getline(lines, line);
        return line;
    };
    for (std::string line = nextLine(); !line.empty(); line = nextLine()) {
        if (line.starts_with("end=")) {
            runs.back().endCode = static_cast<uint32_t>(std::stoul(line.substr(4)));
            continue;
        }
        runs.push_back({.program = Utf8ToWide(line),
                        .commandLine = Utf8ToWide(nextLine()),
                        .currentFolder = Utf8ToWide(nextLine()),
                        .startup = nextLine(),
                        .show = nextLine(),
                        .mark = Utf8ToWide(nextLine()),
                        .processId = std::stoul(nextLine())});
    }
    return runs;
}

std::vector<ProgramRun> UnpackerMachine::AwaitRuns(size_t count) const {
    EXPECT_TRUE(Await([&] { return Runs().size() >= count; })) << "too few programs were started";
    std::vector<ProgramRun> runs = Runs();
    runs.resize(std::max(runs.size(), count));
    return runs;
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
