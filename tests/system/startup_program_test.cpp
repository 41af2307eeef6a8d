#include "system/startup_program.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "bench_parts/client_folder_test.h"
#include "bench_parts/import_hook.h"
#include "bench_parts/running_copy.h"
#include "bench_parts/skipping.h"
#include "common/shell_api.h"

namespace {

namespace fs = std::filesystem;
using bench::ImportHook;

class ResolveStartupExePathTest : public bench::ClientFolderTest {};

TEST_F(ResolveStartupExePathTest, PlacesARelativeNameBelowTheClientFolder) {
    toolFolder = L"D:\\Games\\Karvoth";
    const struct {
        const wchar_t* startupExe;
        const wchar_t* path;
    } cases[] = {
        {L"patcher.exe", L"D:\\Games\\Karvoth\\patcher.exe"},
        {L"bin\\start.exe", L"D:\\Games\\Karvoth\\bin\\start.exe"},
        {L"bin/start.exe", L"D:\\Games\\Karvoth\\bin/start.exe"},
        {L"..\\start.exe", L"D:\\Games\\Karvoth\\..\\start.exe"},
        {L" ", L"D:\\Games\\Karvoth\\ "},
        {L"\u00fcber.exe", L"D:\\Games\\Karvoth\\\u00fcber.exe"},
    };
    for (const auto& [startupExe, path] : cases) {
        toolConfig.startupExe = startupExe;
        EXPECT_EQ(ResolveStartupExePath(toolConfig, toolFolder).native(), path);
    }
}

TEST_F(ResolveStartupExePathTest, KeepsWhatIsNotRelative) {
    for (const wchar_t* const startupExe :
         {L"D:\\Other\\run.exe", L"D:/Other/run.exe", L"\\run.exe", L"\\\\server\\share\\run.exe",
          L"D:run.exe"}) {
        toolConfig.startupExe = startupExe;
        EXPECT_EQ(ResolveStartupExePath(toolConfig, toolFolder).native(), startupExe);
    }
}

TEST_F(ResolveStartupExePathTest, TakesALeadingSlashFromTheClientFoldersDrive) {
    // The shell counts this as relative; joining then goes to the root of the drive.
    toolFolder = L"D:\\Games\\Karvoth";
    toolConfig.startupExe = L"/run.exe";
    EXPECT_EQ(ResolveStartupExePath(toolConfig, toolFolder).native(), L"D:/run.exe");
}

TEST_F(ResolveStartupExePathTest, StandsInTheRootOfADriveForAToolThere) {
    toolFolder = L"C:";
    EXPECT_EQ(ResolveStartupExePath(toolConfig, toolFolder).native(), L"C:\\patcher.exe");
}

TEST_F(ResolveStartupExePathTest, IsEmptyWhenNothingIsConfigured) {
    toolConfig.startupExe.clear();
    EXPECT_TRUE(ResolveStartupExePath(toolConfig, toolFolder).empty());
}

TEST_F(ResolveStartupExePathTest, KeepsARelativeNameWithoutAClientFolder) {
    toolFolder.clear();
    toolConfig.startupExe = L"bin\\start.exe";
    EXPECT_EQ(ResolveStartupExePath(toolConfig, toolFolder).native(), L"bin\\start.exe");
}

// What the shell is asked to open.
struct ShellCall {
    HWND owner;
    std::wstring verb;
    std::wstring file;
    bool hasParameters;
    std::wstring folder;
    int show;
};
std::vector<ShellCall> shellCalls;

HINSTANCE WINAPI RecordShellExecute(HWND owner, LPCWSTR verb, LPCWSTR file, LPCWSTR parameters,
                                    LPCWSTR folder, INT show) {
    shellCalls.push_back({owner, verb != nullptr ? verb : L"(none)", file, parameters != nullptr,
                          folder != nullptr ? folder : L"(none)", show});
    return nullptr;  // Out of memory: nobody may care.
}

class LaunchStartupProgramTest : public bench::ClientFolderTest {
protected:
    LaunchStartupProgramTest() {
        shellCalls.clear();
        mainWindow = ::GetDesktopWindow();
    }
    ~LaunchStartupProgramTest() override {
        mainWindow = nullptr;
    }
};

// Replaces the shell's opening by a record of it.
class ShellRecorder {
public:
    [[nodiscard]] bool Installed() const {
        return hook_.Installed();
    }

private:
    ImportHook hook_{L"shell32.dll", "ShellExecuteW", reinterpret_cast<void*>(&RecordShellExecute)};
};

TEST_F(LaunchStartupProgramTest, AsksTheShellToOpenIt) {
    const ShellRecorder recorder;
    ASSERT_TRUE(recorder.Installed());
    toolConfig.startupExe = L"bin\\start.exe";
    bench::WriteFile(toolFolder / L"bin" / L"start.exe", "MZ");
    LaunchStartupProgram();
    ASSERT_EQ(shellCalls.size(), 1U);
    EXPECT_EQ(shellCalls[0].owner, ::GetDesktopWindow());
    EXPECT_EQ(shellCalls[0].verb, L"open");
    EXPECT_EQ(shellCalls[0].file, toolFolder.native() + L"\\bin\\start.exe");
    EXPECT_FALSE(shellCalls[0].hasParameters);
    EXPECT_EQ(shellCalls[0].folder, toolFolder.native() + L"\\bin");
    EXPECT_EQ(shellCalls[0].show, SW_SHOWNORMAL);
}

TEST_F(LaunchStartupProgramTest, OpensAProgramElsewhereInItsOwnFolder) {
    const ShellRecorder recorder;
    ASSERT_TRUE(recorder.Installed());
    toolConfig.startupExe = Outside() / L"run.exe";
    bench::WriteFile(Outside() / L"run.exe", "MZ");
    LaunchStartupProgram();
    ASSERT_EQ(shellCalls.size(), 1U);
    EXPECT_EQ(shellCalls[0].file, Outside().native() + L"\\run.exe");
    EXPECT_EQ(shellCalls[0].folder, Outside().native());
}

TEST_F(LaunchStartupProgramTest, DoesNothingWithoutTheProgram) {
    const ShellRecorder recorder;
    ASSERT_TRUE(recorder.Installed());
    fs::create_directory(toolFolder / L"folder.exe");
    for (const wchar_t* const startupExe : {L"", L"missing.exe", L"folder.exe", L"a*b?.exe"}) {
        toolConfig.startupExe = startupExe;
        LaunchStartupProgram();
        EXPECT_TRUE(shellCalls.empty()) << startupExe;
    }
}

TEST_F(LaunchStartupProgramTest, FollowsALinkToTheProgram) {
    const ShellRecorder recorder;
    ASSERT_TRUE(recorder.Installed());
    bench::WriteFile(Outside() / L"real.exe", "MZ");
    SKIP_ON_WINDOWS_WITHOUT(
        bench::MakeFileLink(toolFolder / L"patcher.exe", Outside() / L"real.exe"),
        "links for this user");
    LaunchStartupProgram();
    ASSERT_EQ(shellCalls.size(), 1U);
    EXPECT_EQ(shellCalls[0].file, toolFolder.native() + L"\\patcher.exe");
}

// The bytes of the file as UTF-16, as soon as there is one; empty after a minute.
std::wstring AwaitReport(const fs::path& file) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < deadline) {
        if (fs::exists(file)) {
            const std::string bytes = bench::ReadFile(file);
            return {reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / sizeof(wchar_t)};
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return {};
}

// A program keeps its exe and its current folder in use until it has ended.
void RemoveOnceEnded(const fs::path& folder) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    std::error_code error;
    do {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        fs::remove_all(folder, error);
    } while (fs::exists(folder) && std::chrono::steady_clock::now() < deadline);
}

void PlaceStartupProbe(const fs::path& exe) {
    bench::WriteFile(exe, bench::ReadFile(bench::FolderOfThisProgram() / L"startup_probe.exe"));
}

TEST_F(LaunchStartupProgramTest, StartsARealProgramInItsFolder) {
    mainWindow = nullptr;
    toolConfig.startupExe = L"bin \u00fc\\start it.exe";
    const fs::path exe = toolFolder / toolConfig.startupExe;
    PlaceStartupProbe(exe);
    LaunchStartupProgram();
    const std::wstring report = AwaitReport(exe.native() + L".txt");
    RemoveOnceEnded(exe.parent_path());
    EXPECT_EQ(report, exe.parent_path().native() + L"\n1\n1\n");
}

}  // namespace
