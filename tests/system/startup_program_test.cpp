#include "system/startup_program.h"

#include <gtest/gtest.h>

#include <vector>

#include "bench_parts/client_folder_test.h"
#include "bench_parts/shell_recorder.h"
#include "bench_parts/skipping.h"

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

}  // namespace
