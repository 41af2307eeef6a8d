// The uninstaller on a disk that has no room for it.

#include <gtest/gtest.h>

#include <exception>
#include <filesystem>
#include <string>

#include "bench_parts/call_hook.h"
#include "bench_parts/client_folder_test.h"
#include "bench_parts/unpacker_machine.h"
#include "system/uninstaller_file.h"

namespace fs = std::filesystem;

namespace {

class WriteUninstallerOnAFullDisk : public bench::ClientFolderTest {};

// Fills the disk with smaller and smaller files: one that is too large is refused at once.
void FillDisk(const fs::path& disk) {
    int number = 0;
    for (size_t size = size_t{1} << 20; size >= 4096; size /= 2) {
        try {
            for (;;) {
                bench::WriteFile(disk / std::to_wstring(number++), std::string(size, 'x'));
            }
        } catch (const std::exception&) {
            // No room for another one of that size.
        }
    }
}

}  // namespace

TEST_F(WriteUninstallerOnAFullDisk, Fails) {
    const fs::path disk = bench::EmptySmallDisk();
    // An uninstaller of a real one's size, lent for these calls.
    std::string program(100'000, 'u');
    const auto size = bench::HookCall<decltype(&::SizeofResource)>(
        L"kernel32.dll", "SizeofResource",
        [&](auto&&...) -> DWORD { return static_cast<DWORD>(program.size()); });
    const auto bytes = bench::HookCall<decltype(&::LockResource)>(
        L"kernel32.dll", "LockResource", [&](auto&&...) -> LPVOID { return program.data(); });
    toolFolder = disk / L"client";
    fs::create_directory(toolFolder);
    FillDisk(disk);
    EXPECT_FALSE(WriteUninstaller());
    bench::EmptySmallDisk();
    fs::create_directory(toolFolder);
    EXPECT_TRUE(WriteUninstaller());
    EXPECT_TRUE(bench::ReadFile(fs::path(toolFolder) / L"Uninstall.exe") == program);
    bench::EmptySmallDisk();
}
