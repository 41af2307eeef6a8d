#include "common/paths.h"

#include <gtest/gtest.h>

#include <initializer_list>

#include "bench_parts/call_hook.h"
#include "bench_parts/import_hook.h"
#include "bench_parts/scratch_folder.h"
#include "common/windows_api.h"

namespace {

using std::filesystem::path;

struct Row {
    std::wstring input;
    std::wstring expected;
};

TEST(FileNamePart, GivesTheTextBehindTheLastSeparator) {
    const Row rows[] = {
        {L"C:\\Games\\a.exe", L"a.exe"},
        {L"C:/Games/a.exe", L"a.exe"},
        {L"C:\\Games/b c.dat", L"b c.dat"},
        {L"C:\\a.exe", L"a.exe"},
        {L"a\\b", L"b"},
        {L"\\a", L"a"},
        {L"\\\\server\\share\\x.exe", L"x.exe"},
        {L"\\\\?\\C:\\x.exe", L"x.exe"},
        {L"C:\\folder\\", L""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(FileNamePart(row.input), row.expected) << row.input;
    }
}

TEST(FileNamePart, IsTheWholePathWithoutASeparatorBehindTheRoot) {
    EXPECT_EQ(FileNamePart(L"unrar.exe"), L"unrar.exe");
    EXPECT_EQ(FileNamePart(L"C:unrar.exe"), L"C:unrar.exe");
    EXPECT_EQ(FileNamePart(L"\\\\server"), L"\\\\server");
    EXPECT_EQ(FileNamePart(L""), L"");
}

TEST(ParentFolder, TakesOffTheLastNameAndItsSeparators) {
    const Row rows[] = {
        {L"C:\\Games\\a.exe", L"C:\\Games"},
        {L"C:\\Games\\\\/a.exe", L"C:\\Games"},
        {L"C:\\Games\\", L"C:\\Games"},
        {L"a\\b", L"a"},
        {L"a", L""},
        {L"", L""},
        {L"\\\\server\\share\\x", L"\\\\server\\share"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(ParentFolder(row.input), row.expected) << row.input;
    }
}

TEST(ParentFolder, NeverCutsIntoTheRoot) {
    const Row rows[] = {
        {L"C:\\a", L"C:\\"},
        {L"C:\\", L"C:\\"},
        {L"C:\\\\a", L"C:\\\\"},
        {L"C:a", L"C:"},
        {L"\\a", L"\\"},
        {L"\\\\server\\share", L"\\\\server\\"},
        {L"\\\\?\\C:", L"\\\\?\\"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(ParentFolder(row.input), row.expected) << row.input;
    }
}

TEST(RootPathLength, CoversRootNameAndSeparators) {
    const std::pair<std::wstring_view, size_t> rows[] = {
        {L"", 0},
        {L"a\\b", 0},
        {L"C:", 2},
        {L"C:a", 2},
        {L"C:\\", 3},
        {L"c:/a", 3},
        {L"C:\\\\a", 4},
        {L"\\", 1},
        {L"\\a", 1},
        {L"\\\\srv", 5},
        {L"\\\\srv\\", 6},
        {L"\\\\srv\\share\\a", 6},
        {L"//srv/share", 6},
        {L"\\\\?\\C:\\a", 4},
        {L"\\\\.\\pipe", 4},
        {L"\\??\\C:", 4},
        {L"\\\\\\a", 3},
        {L"1:\\a", 0},
    };
    for (const auto& [text, length] : rows) {
        EXPECT_EQ(RootPathLength(text), length) << std::wstring(text);
    }
}

TEST(VolumeRootLength, CoversWhatHasNoParentOnItsVolume) {
    const std::pair<std::wstring_view, size_t> rows[] = {
        {L"C:\\", 3},
        {L"C:\\a\\b", 3},
        {L"\\\\srv\\share", 11},
        {L"\\\\srv\\share\\", 11},
        {L"\\\\srv\\share\\a\\b", 11},
        {L"\\\\srv", 5},
        {L"\\\\?\\Volume{1}\\a", 13},
    };
    for (const auto& [text, length] : rows) {
        EXPECT_EQ(VolumeRootLength(text), length) << std::wstring(text);
    }
}

TEST(AsFolder, EndsInOneSeparatorSoThatADriveIsItsRoot) {
    const Row rows[] = {
        {L"C:", L"C:\\"},     {L"C:\\", L"C:\\"}, {L"C:\\a", L"C:\\a\\"},
        {L"C:/a/", L"C:/a/"}, {L"", L""},         {L"a", L"a\\"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(AsFolder(row.input).native(), row.expected) << row.input;
    }
}

TEST(IsSameCanonicalPath, ComparesElementByElement) {
    EXPECT_TRUE(IsSameCanonicalPath(L"C:\\a\\b", L"C:\\a\\b"));
    EXPECT_TRUE(IsSameCanonicalPath(L"C:\\a\\b", L"C:/a//b"));
    EXPECT_FALSE(IsSameCanonicalPath(L"C:\\a\\b", L"C:\\a\\bc"));
    EXPECT_FALSE(IsSameCanonicalPath(L"C:\\a\\bc", L"C:\\a\\b"));
    EXPECT_FALSE(IsSameCanonicalPath(L"C:\\a", L"C:\\A"));
    EXPECT_FALSE(IsSameCanonicalPath(L"C:\\ab", L"C:\\a\\b"));
    EXPECT_TRUE(IsSameCanonicalPath(L"", L""));
    EXPECT_FALSE(IsSameCanonicalPath(L"C:\\", L"C:"));
}

TEST(WeaklyCanonical, ResolvesAnExistingPathInTheFileSystemsLetterCase) {
    const bench::ScratchFolder scratch;
    bench::WriteFile(scratch.Path() / L"Data" / L"File.TXT", "x");
    const auto canonical = WeaklyCanonical(scratch.Path() / L"DATA" / L"file.txt");
    ASSERT_TRUE(canonical);
    EXPECT_EQ(canonical->filename(), L"File.TXT");
    EXPECT_EQ(canonical->parent_path().filename(), L"Data");
}

TEST(WeaklyCanonical, AppendsWhatDoesNotExistAsItStands) {
    const bench::ScratchFolder scratch;
    bench::WriteFile(scratch.Path() / L"Data" / L"x", "x");
    const auto existing = WeaklyCanonical(scratch.Path() / L"Data");
    ASSERT_TRUE(existing);
    const auto canonical = WeaklyCanonical(scratch.Path() / L"DATA" / L"No Such" / L"FILE.txt");
    ASSERT_TRUE(canonical);
    EXPECT_EQ(canonical->native(), existing->native() + L"\\No Such\\FILE.txt");
}

TEST(WeaklyCanonical, ResolvesTheExistingPartBeforeATrailingSeparator) {
    const bench::ScratchFolder scratch;
    bench::WriteFile(scratch.Path() / L"Data" / L"x", "x");
    const auto existing = WeaklyCanonical(scratch.Path() / L"Data");
    ASSERT_TRUE(existing);
    EXPECT_EQ(WeaklyCanonical(scratch.Path().native() + L"\\DATA\\missing\\"),
              existing->native() + L"\\missing");
    EXPECT_EQ(WeaklyCanonical(scratch.Path().native() + L"\\DATA\\\\"), *existing);
}

TEST(WeaklyCanonical, MakesRelativePathsAbsolute) {
    const bench::ScratchFolder scratch;
    const path former = std::filesystem::current_path();
    ASSERT_TRUE(::SetCurrentDirectoryW(scratch.Path().c_str()));
    const auto relative = WeaklyCanonical(L"sub/..\\other");
    const auto driveRelative = WeaklyCanonical(scratch.Path().native().substr(0, 2) + L"x");
    const auto rooted = WeaklyCanonical(L"\\no_such_folder\\x");
    ::SetCurrentDirectoryW(former.c_str());
    const auto root = WeaklyCanonical(scratch.Path());
    ASSERT_TRUE(root && relative && driveRelative && rooted);
    EXPECT_EQ(*relative, *root / L"other");
    EXPECT_EQ(*driveRelative, *root / L"x");
    EXPECT_EQ(rooted->native(), root->native().substr(0, 2) + L"\\no_such_folder\\x");
}

TEST(WeaklyCanonical, KeepsRootsAsRoots) {
    EXPECT_EQ(WeaklyCanonical(L"C:\\")->native(), L"C:\\");
    EXPECT_EQ(WeaklyCanonical(L"c:/")->native(), L"C:\\");
    EXPECT_EQ(WeaklyCanonical(L"C:\\no_such_name")->native(), L"C:\\no_such_name");
}

TEST(WeaklyCanonical, LeavesADriveThatIsNotThereLexical) {
    EXPECT_EQ(WeaklyCanonical(L"Q:\\")->native(), L"Q:\\");
    EXPECT_EQ(WeaklyCanonical(L"Q:\\a\\..\\b\\")->native(), L"Q:\\b");
}

TEST(WeaklyCanonical, LeavesAShareThatIsNotThereLexical) {
    EXPECT_EQ(WeaklyCanonical(L"\\\\no_such_server\\share\\a\\..\\b")->native(),
              L"\\\\no_such_server\\share\\b");
    EXPECT_EQ(WeaklyCanonical(L"//no_such_server/share/")->native(), L"\\\\no_such_server\\share");
}

TEST(WeaklyCanonical, TakesOffTheVerbatimPrefix) {
    const bench::ScratchFolder scratch;
    bench::WriteFile(scratch.Path() / L"file", "x");
    const auto plain = WeaklyCanonical(scratch.Path() / L"file");
    ASSERT_TRUE(plain);
    EXPECT_EQ(WeaklyCanonical(L"\\\\?\\" + plain->native()), *plain);
    EXPECT_EQ(WeaklyCanonical(L"\\\\?\\UNC\\no_such_server\\share\\a")->native(),
              L"\\\\no_such_server\\share\\a");
}

TEST(WeaklyCanonical, FollowsFolderLinks) {
    const bench::ScratchFolder scratch;
    bench::WriteFile(scratch.Path() / L"real" / L"file", "x");
    ASSERT_TRUE(bench::MakeFolderLink(scratch.Path() / L"link", scratch.Path() / L"real"));
    EXPECT_EQ(WeaklyCanonical(scratch.Path() / L"link" / L"file"),
              WeaklyCanonical(scratch.Path() / L"real" / L"file"));
    EXPECT_EQ(WeaklyCanonical(scratch.Path() / L"link" / L"missing"),
              WeaklyCanonical(scratch.Path() / L"real" / L"missing"));
}

TEST(WeaklyCanonical, KeepsUnicodeNamesAndNamesThatCannotBe) {
    const bench::ScratchFolder scratch;
    const auto root = WeaklyCanonical(scratch.Path());
    ASSERT_TRUE(root);
    bench::WriteFile(scratch.Path() / L"\u00C4\u4E2D\u0416" / L"x", "x");
    EXPECT_EQ(WeaklyCanonical(scratch.Path() / L"\u00E4\u4E2D\u0436"),
              *root / L"\u00C4\u4E2D\u0416");
    EXPECT_EQ(WeaklyCanonical(scratch.Path() / L"a*b" / L"c"), *root / L"a*b" / L"c");
    EXPECT_EQ(WeaklyCanonical(scratch.Path().native() + L"\\x:y\\z")->native(),
              root->native() + L"\\x:y\\z");
}

std::wstring finalPathAnswer;

// As Windows does it: the length without the terminator when it fits, else the needed size.
DWORD WINAPI GiveFinalPath(HANDLE, LPWSTR buffer, DWORD size, DWORD) {
    const auto length = static_cast<DWORD>(finalPathAnswer.size());
    if (size <= length) {
        return length + 1;
    }
    finalPathAnswer.copy(buffer, length);
    buffer[length] = L'\0';
    return length;
}

std::optional<path> CanonicalWithFinalPath(std::wstring answer, const path& asked) {
    finalPathAnswer = std::move(answer);
    const bench::ImportHook hook(L"kernel32.dll", "GetFinalPathNameByHandleW",
                                 reinterpret_cast<void*>(&GiveFinalPath));
    EXPECT_TRUE(hook.Installed());
    return WeaklyCanonical(asked);
}

TEST(WeaklyCanonical, ResolvesToFinalPathsOfMoreThan260Characters) {
    const std::wstring deep = L"C:\\" + std::wstring(200, L'a') + L"\\" + std::wstring(200, L'b');
    EXPECT_EQ(CanonicalWithFinalPath(L"\\\\?\\" + deep, L"C:\\windows"), deep);
}

TEST(WeaklyCanonical, TurnsAFinalPathOnAShareIntoItsPlainForm) {
    EXPECT_EQ(CanonicalWithFinalPath(L"\\\\?\\UNC\\server\\share\\a", L"C:\\windows\\no_such_name"),
              L"\\\\server\\share\\a\\no_such_name");
}

TEST(WeaklyCanonical, KeepsAVolumeNameThatHasNoPlainForm) {
    const std::wstring volume = L"\\\\?\\Volume{01234567-0123-0123-0123-0123456789ab}\\a";
    EXPECT_EQ(CanonicalWithFinalPath(volume, L"C:\\windows"), volume);
}

DWORD finalPathError = ERROR_SUCCESS;

DWORD WINAPI GiveNoFinalPath(HANDLE, LPWSTR, DWORD, DWORD) {
    ::SetLastError(finalPathError);
    return 0;
}

TEST(WeaklyCanonical, IsNoneWhenTheExistingPartCannotBeResolved) {
    const bench::ImportHook hook(L"kernel32.dll", "GetFinalPathNameByHandleW",
                                 reinterpret_cast<void*>(&GiveNoFinalPath));
    ASSERT_TRUE(hook.Installed());
    // "Path not found" is what Windows says of a volume without a drive letter: it exists, though.
    for (const DWORD error :
         std::initializer_list<DWORD>{ERROR_ACCESS_DENIED, ERROR_PATH_NOT_FOUND}) {
        finalPathError = error;
        EXPECT_FALSE(WeaklyCanonical(L"C:\\windows\\no_such_name")) << error;
    }
}

HANDLE WINAPI RefuseToOpen(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

TEST(WeaklyCanonical, IsNoneWhenAnExistingPartCannotBeOpened) {
    const bench::ImportHook hook(L"kernel32.dll", "CreateFileW",
                                 reinterpret_cast<void*>(&RefuseToOpen));
    ASSERT_TRUE(hook.Installed());
    EXPECT_FALSE(WeaklyCanonical(L"C:\\windows"));
}

DWORD dosNameError = ERROR_SUCCESS;

DWORD WINAPI GiveNoDosName(HANDLE entry, LPWSTR text, DWORD size, DWORD flags) {
    if ((flags & VOLUME_NAME_NT) != 0) {
        return bench::RealFunction<decltype(&::GetFinalPathNameByHandleW)>(
            L"kernel32.dll", "GetFinalPathNameByHandleW")(entry, text, size, flags);
    }
    ::SetLastError(dosNameError);
    return 0;
}

// A RAM disk's driver, for instance, does not tell the mount manager of its drive.
class VolumeWithoutDosName : public testing::Test {
protected:
    VolumeWithoutDosName() {
        bench::WriteFile(scratch_.Path() / L"Folder" / L"file", "x");
        dosNameError = ERROR_INVALID_FUNCTION;
    }

    bench::ScratchFolder scratch_;
    bench::ImportHook hook_{L"kernel32.dll", "GetFinalPathNameByHandleW",
                            reinterpret_cast<void*>(&GiveNoDosName)};
};

TEST_F(VolumeWithoutDosName, HasComparablePathsOnly) {
    for (const DWORD error :
         std::initializer_list<DWORD>{ERROR_INVALID_FUNCTION, ERROR_PATH_NOT_FOUND}) {
        dosNameError = error;
        const path file = scratch_.Path() / L"Folder" / L"file";
        EXPECT_FALSE(WeaklyCanonical(file)) << error;
        const auto canonical = ComparableCanonical(file);
        ASSERT_TRUE(canonical) << error;
        EXPECT_TRUE(canonical->native().starts_with(L"\\\\?\\GLOBALROOT\\Device\\"))
            << canonical->string();
        EXPECT_EQ(ComparableCanonical(scratch_.Path() / L"FOLDER" / L"." / L"FILE"), canonical);
        EXPECT_NE(ComparableCanonical(scratch_.Path() / L"Folder"), canonical);
        EXPECT_EQ(ComparableCanonical(scratch_.Path() / L"Folder" / L"missing"),
                  *ComparableCanonical(scratch_.Path() / L"Folder") / L"missing");
    }
}

TEST_F(VolumeWithoutDosName, IsNotWhatAnyOtherErrorMeans) {
    dosNameError = ERROR_ACCESS_DENIED;
    EXPECT_FALSE(ComparableCanonical(scratch_.Path()));
}

TEST(ComparableCanonical, IsTheDosPathWhereThereIsOne) {
    const bench::ScratchFolder scratch;
    EXPECT_EQ(ComparableCanonical(scratch.Path()), WeaklyCanonical(scratch.Path()));
}

std::wstring SystemText(const path& plain) {
    return SystemPath(plain).Text();
}

TEST(SystemPath, LeavesShortAndExtendedPathsAlone) {
    const std::wstring longName(250, L'n');
    for (const std::wstring& text : std::initializer_list<std::wstring>{
             L"", L"a", L"..\\a", L"C:", L"C:a", L"C:\\a/b", L"\\\\server\\share\\x",
             L"C:\\" + std::wstring(236, L'n'), L"\\\\?\\C:\\" + longName,
             L"\\\\?\\UNC\\server\\share\\" + longName}) {
        EXPECT_EQ(SystemText(text), text);
    }
}

TEST(SystemPath, ExtendsFrom240CharactersOn) {
    const std::wstring name(240 - 3, L'n');
    const std::wstring longName(260, L'n');
    const Row rows[] = {
        {L"C:\\" + name, L"\\\\?\\C:\\" + name},
        {L"C:/" + name, L"\\\\?\\C:\\" + name},
        {L"C:\\a\\.\\b\\..\\" + longName + L"\\*", L"\\\\?\\C:\\a\\" + longName + L"\\*"},
        {L"\\\\server\\share\\" + longName, L"\\\\?\\UNC\\server\\share\\" + longName},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(SystemText(row.input), row.expected);
    }
}

TEST(SystemPath, CountsARelativePathWithItsCurrentFolder) {
    const bench::ScratchFolder scratch;
    const path former = std::filesystem::current_path();
    std::filesystem::current_path(scratch.Path());
    const std::wstring here = std::filesystem::current_path().native() + L"\\";
    const std::wstring fitting(239 - here.size(), L'n');
    EXPECT_EQ(SystemText(fitting), fitting);
    EXPECT_EQ(SystemText(fitting + L"n"), L"\\\\?\\" + here + fitting + L"n");
    std::filesystem::current_path(former);
}

TEST(WeaklyCanonical, IsNoneForAnEmptyPath) {
    EXPECT_FALSE(WeaklyCanonical(L""));
}

TEST(WeaklyCanonical, StaysInsideTheFileForANameBelowIt) {
    const bench::ScratchFolder scratch;
    bench::WriteFile(scratch.Path() / L"file", "x");
    const auto file = WeaklyCanonical(scratch.Path() / L"file");
    ASSERT_TRUE(file);
    EXPECT_EQ(WeaklyCanonical(scratch.Path() / L"file" / L"below"), *file / L"below");
}

}  // namespace
