// The functions of common/paths.h that look at the disk.

#include <gtest/gtest.h>

#include <initializer_list>
#include <optional>
#include <string>

#include "bench_parts/call_hook.h"
#include "bench_parts/current_folder.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/scratch_folder.h"
#include "common/paths.h"
#include "common/windows_api.h"

namespace {

using std::filesystem::path;
using GetFinalPath = decltype(&::GetFinalPathNameByHandleW);

// A folder "Data" with a file, in a scratch folder with a canonical path.
class CanonicalPath : public testing::Test {
protected:
    void SetUp() override {
        bench::WriteFile(data_ / L"File.TXT", "x");
        const std::optional<path> canonical = WeaklyCanonical(scratch_.Path());
        ASSERT_TRUE(canonical);
        root_ = *canonical;
    }

    bench::ScratchFolder scratch_;
    path root_;
    path data_ = scratch_.Path() / L"Data";
};

TEST_F(CanonicalPath, ResolvesWhatExistsAndAppendsTheRestUnchanged) {
    ASSERT_TRUE(bench::MakeFolderLink(scratch_.Path() / L"link", data_));
    bench::WriteFile(scratch_.Path() / L"\u00C4\u4E2D\u0416" / L"x", "x");
    const struct {
        const wchar_t* below;
        const wchar_t* expected;
    } cases[] = {
        {L"DATA\\file.txt", L"Data\\File.TXT"},
        {L"DATA\\No Such\\FILE.txt", L"Data\\No Such\\FILE.txt"},
        {L"DATA\\missing\\", L"Data\\missing"},
        {L"DATA\\\\", L"Data"},
        {L"data/sub/..\\other", L"Data\\other"},
        {L"data\\FILE.txt\\below", L"Data\\File.TXT\\below"},
        {L"link\\file.txt", L"Data\\File.TXT"},
        {L"link\\missing", L"Data\\missing"},
        {L"\u00E4\u4E2D\u0436", L"\u00C4\u4E2D\u0416"},
        {L"a*b\\c", L"a*b\\c"},
        {L"x:y\\z", L"x:y\\z"},
    };
    for (const auto& [below, expected] : cases) {
        const path asked = scratch_.Path().native() + L"\\" + below;
        const std::wstring canonical = root_.native() + L"\\" + expected;
        EXPECT_EQ(WeaklyCanonical(asked), canonical) << asked;
        EXPECT_EQ(ComparableCanonical(asked), canonical) << asked;
    }
    EXPECT_EQ(WeaklyCanonical(L"\\\\?\\" + root_.native() + L"\\Data"), root_ / L"Data");
}

TEST_F(CanonicalPath, MakesRelativePathsAbsolute) {
    const bench::CurrentFolder current(scratch_.Path());
    const std::wstring drive = root_.native().substr(0, 2);
    EXPECT_EQ(WeaklyCanonical(L"sub/..\\other"), root_ / L"other");
    EXPECT_EQ(WeaklyCanonical(drive + L"x"), root_ / L"x");
    EXPECT_EQ(WeaklyCanonical(L"\\no_such_folder\\x"), drive + L"\\no_such_folder\\x");
    EXPECT_FALSE(WeaklyCanonical(L""));
}

TEST_F(CanonicalPath, KeepsRootsAndLeavesMissingDrivesAndSharesLexical) {
    const std::pair<const wchar_t*, std::wstring> cases[] = {
        {L"C:\\", L"C:\\"},
        {L"c:/", L"C:\\"},
        {L"C:\\no_such_name", L"C:\\no_such_name"},
        {L"Q:\\", L"Q:\\"},
        {L"Q:\\a\\..\\b\\", L"Q:\\b"},
        {L"\\\\no_such_server\\share\\a\\..\\b", L"\\\\no_such_server\\share\\b"},
        {L"//no_such_server/share/", L"\\\\no_such_server\\share"},
        {L"\\\\?\\UNC\\no_such_server\\share\\a", L"\\\\no_such_server\\share\\a"},
    };
    for (const auto& [asked, expected] : cases) {
        const std::optional<path> canonical = WeaklyCanonical(asked);
        ASSERT_TRUE(canonical) << asked;
        EXPECT_EQ(canonical->native(), expected);
    }
}

TEST_F(CanonicalPath, ReadsFinalPathsOfAnyKindAndLength) {
    const std::wstring deep = L"C:\\" + std::wstring(200, L'a') + L"\\" + std::wstring(200, L'b');
    const std::wstring volume = L"\\\\?\\Volume{01234567-0123-0123-0123-0123456789ab}\\a";
    std::wstring answer;
    const auto hook =
        bench::HookCall<GetFinalPath>(L"kernel32.dll", "GetFinalPathNameByHandleW",
                                      [&](HANDLE, LPWSTR buffer, DWORD size, DWORD) -> DWORD {
                                          // The length without the terminator if it fits, else the
                                          // needed size.
                                          const auto length = static_cast<DWORD>(answer.size());
                                          if (size <= length) {
                                              return length + 1;
                                          }
                                          buffer[answer.copy(buffer, length)] = L'\0';
                                          return length;
                                      });
    const struct {
        std::wstring answer;
        const wchar_t* asked;
        std::wstring expected;
    } cases[] = {
        {L"\\\\?\\" + deep, L"C:\\windows", deep},
        {L"\\\\?\\UNC\\server\\share\\a", L"C:\\windows\\no_such_name",
         L"\\\\server\\share\\a\\no_such_name"},
        {volume, L"C:\\windows", volume},
    };
    for (const auto& row : cases) {
        answer = row.answer;
        EXPECT_EQ(WeaklyCanonical(row.asked), row.expected);
    }
}

TEST_F(CanonicalPath, IsNoneIfTheExistingPartCannotBeOpened) {
    const auto hook =
        bench::HookOpen([](const std::wstring&) { return DWORD{ERROR_ACCESS_DENIED}; });
    EXPECT_FALSE(WeaklyCanonical(L"C:\\windows"));
}

// A RAM disk's driver, for instance, does not report its drive to the mount manager.
TEST_F(CanonicalPath, IsComparableOnlyOnAVolumeWithoutDosName) {
    DWORD dosNameError = ERROR_SUCCESS;
    const auto hook = bench::HookCall<GetFinalPath>(
        L"kernel32.dll", "GetFinalPathNameByHandleW",
        [&](HANDLE entry, LPWSTR text, DWORD size, DWORD flags) -> DWORD {
            if ((flags & VOLUME_NAME_NT) != 0) {
                return bench::RealFunction<GetFinalPath>(
                    L"kernel32.dll", "GetFinalPathNameByHandleW")(entry, text, size, flags);
            }
            ::SetLastError(dosNameError);
            return 0;
        });
    for (const DWORD error :
         std::initializer_list<DWORD>{ERROR_INVALID_FUNCTION, ERROR_PATH_NOT_FOUND}) {
        dosNameError = error;
        EXPECT_FALSE(WeaklyCanonical(data_)) << error;
        EXPECT_FALSE(WeaklyCanonical(data_ / L"missing")) << error;
        const std::optional<path> data = ComparableCanonical(data_);
        ASSERT_TRUE(data) << error;
        EXPECT_TRUE(data->native().starts_with(L"\\\\?\\GLOBALROOT\\Device\\")) << *data;
        EXPECT_EQ(ComparableCanonical(scratch_.Path() / L"DATA" / L"." / L"FILE.txt"),
                  *data / L"File.TXT");
        EXPECT_EQ(ComparableCanonical(data_ / L"missing"), *data / L"missing");
    }
    // Any other error is a failure.
    dosNameError = ERROR_ACCESS_DENIED;
    EXPECT_FALSE(ComparableCanonical(data_));
    EXPECT_FALSE(WeaklyCanonical(data_ / L"missing"));
}

TEST_F(CanonicalPath, IsAVolumeRootIfTheSystemSaysSo) {
    EXPECT_TRUE(IsVolumeRoot(L"C:\\"));
    EXPECT_FALSE(IsVolumeRoot(scratch_.Path()));
    EXPECT_FALSE(IsVolumeRoot(scratch_.Path() / L"missing"));

    std::wstring answer;  // The root of the volume that every path is on.
    const auto hook = bench::HookCall<decltype(&::GetVolumePathNameW)>(
        L"kernel32.dll", "GetVolumePathNameW", [&](LPCWSTR, LPWSTR root, DWORD size) -> BOOL {
            if (answer.empty() || answer.size() >= size) {
                ::SetLastError(ERROR_FILENAME_EXCED_RANGE);
                return FALSE;
            }
            root[answer.copy(root, size)] = L'\0';
            return TRUE;
        });
    EXPECT_FALSE(IsVolumeRoot(L"C:\\Games"));
    for (const std::wstring& folder :
         {std::wstring(L"C:\\Mounts\\Games"), L"C:\\" + std::wstring(300, L'n')}) {
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

}  // namespace
