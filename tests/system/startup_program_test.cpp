#include "system/startup_program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "bench_parts/client_folder_test.h"
#include "bench_parts/running_copy.h"
#include "bench_parts/shell_recorder.h"
#include "bench_parts/skipping.h"
#include "bench_parts/waiting.h"

namespace {

namespace fs = std::filesystem;
using bench::ShellRecorder;

class LaunchStartupProgramTest : public bench::ClientFolderTest {
protected:
    LaunchStartupProgramTest() {
        mainWindow = ::GetDesktopWindow();
    }
    ~LaunchStartupProgramTest() override {
        mainWindow = nullptr;
    }

    // Launches it without letting the shell open anything.
    static std::vector<ShellRecorder::Call> Launch() {
        const ShellRecorder shell;
        LaunchStartupProgram();
        return shell.Calls();
    }

    static ShellRecorder::Call Opening(const fs::path& exe) {
        return {.owner = ::GetDesktopWindow(),
                .verb = L"open",
                .file = exe.native(),
                .folder = exe.parent_path().native(),
                .show = SW_SHOWNORMAL};
    }
};

TEST_F(LaunchStartupProgramTest, AsksTheShellToOpenItInItsFolder) {
    const fs::path inside = fs::path(toolFolder) / L"bin" / L"start.exe";
    const fs::path elsewhere = Outside() / L"run.exe";
    bench::WriteFile(inside, "MZ");
    bench::WriteFile(elsewhere, "MZ");
    toolConfig.startupExe = L"bin\\start.exe";
    EXPECT_EQ(Launch(), std::vector{Opening(inside)});
    toolConfig.startupExe = elsewhere;
    EXPECT_EQ(Launch(), std::vector{Opening(elsewhere)});
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFileLink(fs::path(toolFolder) / L"link.exe", elsewhere),
                            "links for this user");
    toolConfig.startupExe = L"link.exe";
    EXPECT_EQ(Launch(), std::vector{Opening(fs::path(toolFolder) / L"link.exe")});
}

TEST_F(LaunchStartupProgramTest, DoesNothingWithoutTheProgram) {
    fs::create_directory(fs::path(toolFolder) / L"folder.exe");
    for (const wchar_t* const startupExe : {L"", L"missing.exe", L"folder.exe", L"a*b?.exe"}) {
        toolConfig.startupExe = startupExe;
        EXPECT_TRUE(Launch().empty()) << startupExe;
    }
}

TEST_F(LaunchStartupProgramTest, StartsARealProgramInItsFolder) {
    mainWindow = nullptr;
    toolConfig.startupExe = L"bin \u00fc\\start it.exe";
    const fs::path exe = fs::path(toolFolder) / toolConfig.startupExe;
    const fs::path report = exe.native() + L".txt";
    bench::WriteFile(exe, bench::ReadFile(bench::FolderOfThisProgram() / L"start_probe.exe"));
    LaunchStartupProgram();
    ASSERT_TRUE(bench::Await([&] { return fs::exists(report); }));
    const std::string bytes = bench::ReadFile(report);
    EXPECT_THAT(std::wstring(reinterpret_cast<const wchar_t*>(bytes.data()),
                             bytes.size() / sizeof(wchar_t)),
                testing::StartsWith(exe.parent_path().native() + L"\n1\n1\n"));
    // A program keeps its exe and its current folder in use until it has ended.
    bench::Await([&] {
        std::error_code ignored;
        fs::remove_all(exe.parent_path(), ignored);
        return !fs::exists(exe.parent_path());
    });
}

}  // namespace
