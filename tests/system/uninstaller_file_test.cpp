#include "system/uninstaller_file.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bench_parts/client_folder_test.h"
#include "bench_parts/current_folder.h"
#include "bench_parts/import_hook.h"
#include "bench_parts/running_copy.h"

namespace {

namespace fs = std::filesystem;
using bench::ImportHook;

// As system_test.rc has it.
const std::string kEmbedded("MZ\0a\r\nb\nc\x1A\0end", 14);

class WriteUninstallerTest : public bench::ClientFolderTest {};

// A resource that is too large for a script, lent for one call.
const std::vector<char>& LargeProgram() {
    static const std::vector<char> program = [] {
        std::vector<char> bytes((3U << 20) + 1);
        for (size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<char>(i * 31 >> 3);
        }
        return bytes;
    }();
    return program;
}

DWORD WINAPI SizeOfLargeProgram(HMODULE, HRSRC) {
    return static_cast<DWORD>(LargeProgram().size());
}

LPVOID WINAPI BytesOfLargeProgram(HGLOBAL) {
    return const_cast<char*>(LargeProgram().data());
}

class LargeProgramEmbedded {
public:
    [[nodiscard]] bool Installed() const {
        return size_.Installed() && bytes_.Installed();
    }

private:
    ImportHook size_{L"kernel32.dll", "SizeofResource",
                     reinterpret_cast<void*>(&SizeOfLargeProgram)};
    ImportHook bytes_{L"kernel32.dll", "LockResource",
                      reinterpret_cast<void*>(&BytesOfLargeProgram)};
};

TEST_F(WriteUninstallerTest, WritesTheEmbeddedProgramByteForByte) {
    EXPECT_TRUE(WriteUninstaller());
    EXPECT_EQ(bench::ReadFile(toolFolder / L"Uninstall.exe"), kEmbedded);
    EXPECT_EQ(bench::FolderListing(toolFolder), std::vector<std::wstring>{L"Uninstall.exe"});
}

TEST_F(WriteUninstallerTest, WritesALargeProgramByteForByte) {
    const LargeProgramEmbedded program;
    ASSERT_TRUE(program.Installed());
    EXPECT_TRUE(WriteUninstaller());
    EXPECT_TRUE(bench::ReadFile(toolFolder / L"Uninstall.exe") ==
                std::string(LargeProgram().begin(), LargeProgram().end()));
}

TEST_F(WriteUninstallerTest, ReplacesALongerFile) {
    bench::WriteFile(toolFolder / L"Uninstall.exe", std::string(100'000, 'x'));
    EXPECT_TRUE(WriteUninstaller());
    EXPECT_EQ(bench::ReadFile(toolFolder / L"Uninstall.exe"), kEmbedded);
}

TEST_F(WriteUninstallerTest, ReplacesAShorterFile) {
    bench::WriteFile(toolFolder / L"Uninstall.exe", "x");
    EXPECT_TRUE(WriteUninstaller());
    EXPECT_EQ(bench::ReadFile(toolFolder / L"Uninstall.exe"), kEmbedded);
}

TEST_F(WriteUninstallerTest, WritesInPlace) {
    // Another name of the same file sees the new content: nothing is renamed over the old file.
    bench::WriteFile(toolFolder / L"Uninstall.exe", "old");
    ASSERT_TRUE(::CreateHardLinkW((Outside() / L"other name").c_str(),
                                  (toolFolder / L"Uninstall.exe").c_str(), nullptr));
    EXPECT_TRUE(WriteUninstaller());
    EXPECT_EQ(bench::ReadFile(Outside() / L"other name"), kEmbedded);
}

TEST_F(WriteUninstallerTest, CreatesAMissingClientFolder) {
    toolFolder = Outside() / L"new" / L"deeper";
    EXPECT_TRUE(WriteUninstaller());
    EXPECT_EQ(bench::ReadFile(toolFolder / L"Uninstall.exe"), kEmbedded);
}

TEST_F(WriteUninstallerTest, UsesTheCurrentFolderWithoutAClientFolder) {
    const bench::CurrentFolder current(Outside());
    toolFolder.clear();
    EXPECT_EQ(UninstallerPath(toolFolder), fs::path(L"Uninstall.exe"));
    EXPECT_TRUE(WriteUninstaller());
    EXPECT_EQ(bench::ReadFile(Outside() / L"Uninstall.exe"), kEmbedded);
}

TEST_F(WriteUninstallerTest, StandsInTheRootOfADriveForAToolThere) {
    // "C:Uninstall.exe" would be a file in whatever folder is current on the drive.
    toolFolder = L"C:";
    EXPECT_EQ(UninstallerPath(toolFolder).native(), L"C:\\Uninstall.exe");
}

TEST_F(WriteUninstallerTest, FailsOnAReadOnlyFile) {
    bench::WriteFile(toolFolder / L"Uninstall.exe", "old");
    bench::SetReadOnly(toolFolder / L"Uninstall.exe", true);
    EXPECT_FALSE(WriteUninstaller());
    EXPECT_EQ(bench::ReadFile(toolFolder / L"Uninstall.exe"), "old");
}

TEST_F(WriteUninstallerTest, FailsOnAFileThatIsOpenElsewhere) {
    bench::WriteFile(toolFolder / L"Uninstall.exe", "old");
    const bench::OpenElsewhere open(toolFolder / L"Uninstall.exe", FILE_SHARE_READ);
    EXPECT_FALSE(WriteUninstaller());
    EXPECT_EQ(bench::ReadFile(toolFolder / L"Uninstall.exe"), "old");
}

TEST_F(WriteUninstallerTest, FailsWhileTheUninstallerIsRunning) {
    const bench::RunningCopy running(L"child_program.exe", toolFolder / L"Uninstall.exe",
                                     L"sleep 60000");
    ASSERT_TRUE(running.Process());
    EXPECT_FALSE(WriteUninstaller());
    EXPECT_TRUE(bench::ReadFile(toolFolder / L"Uninstall.exe") ==
                bench::ReadFile(bench::FolderOfThisProgram() / L"child_program.exe"));
}

TEST_F(WriteUninstallerTest, FailsOnAHardLinkToTheRunningToolAndLeavesItsBytes) {
    const bench::RunningCopy tool(L"child_program.exe", toolExePath, L"sleep 60000");
    ASSERT_TRUE(tool.Process());
    ASSERT_TRUE(
        ::CreateHardLinkW((toolFolder / L"Uninstall.exe").c_str(), toolExePath.c_str(), nullptr));
    EXPECT_FALSE(WriteUninstaller());
    EXPECT_TRUE(bench::ReadFile(toolExePath) ==
                bench::ReadFile(bench::FolderOfThisProgram() / L"child_program.exe"));
}

TEST_F(WriteUninstallerTest, ReplacesAHiddenOrSystemFileOrFails) {
    // Windows refuses to overwrite one.
    for (const DWORD attribute : {DWORD{FILE_ATTRIBUTE_HIDDEN}, DWORD{FILE_ATTRIBUTE_SYSTEM}}) {
        bench::WriteFile(toolFolder / L"Uninstall.exe", "old");
        ASSERT_TRUE(::SetFileAttributesW((toolFolder / L"Uninstall.exe").c_str(), attribute));
        const bool written = WriteUninstaller();
        EXPECT_EQ(bench::ReadFile(toolFolder / L"Uninstall.exe"), written ? kEmbedded : "old");
        fs::remove(toolFolder / L"Uninstall.exe");
    }
}

TEST_F(WriteUninstallerTest, FailsOnAFolderOfThatName) {
    fs::create_directory(toolFolder / L"Uninstall.exe");
    EXPECT_FALSE(WriteUninstaller());
    EXPECT_EQ(bench::FolderListing(toolFolder), std::vector<std::wstring>{L"Uninstall.exe/"});
}

TEST_F(WriteUninstallerTest, FailsWhenTheClientFolderCannotBe) {
    bench::WriteFile(Outside() / L"file", "");
    toolFolder = Outside() / L"file" / L"below";
    EXPECT_FALSE(WriteUninstaller());
}

BOOL WINAPI WriteOntoAFullDisk(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED) {
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

TEST_F(WriteUninstallerTest, FailsOnAFullDisk) {
    const LargeProgramEmbedded program;
    ASSERT_TRUE(program.Installed());
    const ImportHook hook(L"kernel32.dll", "WriteFile",
                          reinterpret_cast<void*>(&WriteOntoAFullDisk));
    ASSERT_TRUE(hook.Installed());
    EXPECT_FALSE(WriteUninstaller());
}

// What the resource calls can answer when there is nothing to write.
HRSRC WINAPI FindNothing(HMODULE, LPCWSTR, LPCWSTR) {
    return nullptr;
}
HGLOBAL WINAPI LoadNothing(HMODULE, HRSRC) {
    return nullptr;
}
DWORD WINAPI SizeOfNothing(HMODULE, HRSRC) {
    return 0;
}
LPVOID WINAPI LockNothing(HGLOBAL) {
    return nullptr;
}

TEST_F(WriteUninstallerTest, IsContentWhenNothingIsEmbedded) {
    bench::WriteFile(toolFolder / L"Uninstall.exe", "old");
    const struct {
        const char* function;
        void* replacement;
    } cases[] = {{"FindResourceW", reinterpret_cast<void*>(&FindNothing)},
                 {"LoadResource", reinterpret_cast<void*>(&LoadNothing)},
                 {"SizeofResource", reinterpret_cast<void*>(&SizeOfNothing)},
                 {"LockResource", reinterpret_cast<void*>(&LockNothing)}};
    for (const auto& [function, replacement] : cases) {
        const ImportHook hook(L"kernel32.dll", function, replacement);
        ASSERT_TRUE(hook.Installed()) << function;
        EXPECT_TRUE(WriteUninstaller()) << function;
        EXPECT_EQ(bench::ReadFile(toolFolder / L"Uninstall.exe"), "old") << function;
    }
}

}  // namespace
