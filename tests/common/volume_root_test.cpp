#include <gtest/gtest.h>

#include "bench_parts/call_hook.h"
#include "bench_parts/scratch_folder.h"
#include "common/paths.h"

namespace {

using std::filesystem::path;

TEST(IsVolumeRoot, IsTrueForADriveAndFalseForItsFolders) {
    const bench::ScratchFolder scratch;
    EXPECT_TRUE(IsVolumeRoot(L"C:\\"));
    EXPECT_FALSE(IsVolumeRoot(scratch.Path()));
    EXPECT_FALSE(IsVolumeRoot(scratch.Path() / L"missing"));
}

// A system on which one volume is mounted in a folder.
TEST(IsVolumeRoot, IsTrueForAVolumeMountedInAFolder) {
    const std::wstring longPart(300, L'n');
    for (const std::wstring& folder : {std::wstring(L"C:\\Mounts\\Games"), L"C:\\" + longPart}) {
        std::wstring answer;
        const auto hook = bench::HookCall<decltype(&::GetVolumePathNameW)>(
            L"kernel32.dll", "GetVolumePathNameW", [&](LPCWSTR, LPWSTR root, DWORD size) -> BOOL {
                if (answer.size() >= size) {
                    ::SetLastError(ERROR_FILENAME_EXCED_RANGE);
                    return FALSE;
                }
                root[answer.copy(root, size)] = L'\0';
                return TRUE;
            });
        for (const std::wstring& written : {folder + L"\\", L"\\\\?\\" + folder + L"\\"}) {
            answer = written;
            EXPECT_TRUE(IsVolumeRoot(folder)) << answer;
            EXPECT_TRUE(IsVolumeRoot(folder + L"\\")) << answer;
            EXPECT_FALSE(IsVolumeRoot(folder + L"\\client")) << answer;
            EXPECT_FALSE(IsVolumeRoot(folder + L"2")) << answer;
        }
        answer = L"c:\\MOUNTS\\games\\";
        EXPECT_EQ(IsVolumeRoot(folder), folder == L"C:\\Mounts\\Games");
    }
}

TEST(IsVolumeRoot, IsFalseWhenTheSystemDoesNotTell) {
    const auto hook = bench::HookCall<decltype(&::GetVolumePathNameW)>(
        L"kernel32.dll", "GetVolumePathNameW", [](auto...) -> BOOL { return FALSE; });
    EXPECT_FALSE(IsVolumeRoot(L"C:\\Games"));
}

}  // namespace
