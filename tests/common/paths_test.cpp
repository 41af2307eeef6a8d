#include "common/paths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <string>

namespace {

struct Row {
    std::wstring input;
    std::wstring expected;
};

// Each input gives what its row expects.
template <class Function>
void ExpectRows(Function function, std::initializer_list<Row> rows) {
    for (const auto& [input, expected] : rows) {
        EXPECT_EQ(function(input), expected) << input;
    }
}

TEST(FileNamePart, IsTheTextAfterTheLastSeparator) {
    ExpectRows(FileNamePart, {
                                 {L"C:\\Games\\a.exe", L"a.exe"},
                                 {L"C:/Games/a.exe", L"a.exe"},
                                 {L"C:\\Games/b c.dat", L"b c.dat"},
                                 {L"C:\\a.exe", L"a.exe"},
                                 {L"a\\b", L"b"},
                                 {L"\\a", L"a"},
                                 {L"\\\\server\\share\\x.exe", L"x.exe"},
                                 {L"\\\\?\\C:\\x.exe", L"x.exe"},
                                 {L"C:\\folder\\", L""},
                                 // No separator after the root name.
                                 {L"unrar.exe", L"unrar.exe"},
                                 {L"C:unrar.exe", L"C:unrar.exe"},
                                 {L"\\\\server", L"\\\\server"},
                                 {L"", L""},
                             });
}

TEST(FileNameExtension, BeginsWithTheLastDotOfTheName) {
    ExpectRows(FileNameExtension, {
                                      {L"", L""},
                                      {L"game", L""},
                                      {L"game.lnk", L".lnk"},
                                      {L"Game.LnK", L".LnK"},
                                      {L"game.exe.lnk", L".lnk"},
                                      {L"game.lnk.exe", L".exe"},
                                      {L"game.", L"."},
                                      {L"game. lnk", L". lnk"},
                                      {L".", L""},
                                      {L"..", L""},
                                      {L"...", L"."},
                                      {L".lnk", L""},
                                      {L"..lnk", L".lnk"},
                                      {L".a.lnk", L".lnk"},
                                      {L"game.lnk:stream", L".lnk"},
                                      {L"game.lnk:stream.exe", L".lnk"},
                                      {L"game:stream.lnk", L""},
                                      {L"game.exe:a:b.lnk", L".exe"},
                                      {L":stream.lnk", L""},
                                      {L".lnk:stream", L""},
                                      {L"..:stream.lnk", L""},
                                      {L"folder.lnk\\game", L""},
                                      {L"folder.lnk/game", L""},
                                      {L"folder/game.lnk", L".lnk"},
                                      {L"folder\\.lnk", L""},
                                      {L"folder.lnk\\", L""},
                                      {L"C:\\a.b\\game.lnk", L".lnk"},
                                      {L"C:\\a.b\\game.lnk:s", L".lnk"},
                                  });
}

TEST(ParentFolder, RemovesTheLastNameAndItsSeparators) {
    ExpectRows(ParentFolder, {
                                 {L"C:\\Games\\a.exe", L"C:\\Games"},
                                 {L"C:\\Games\\\\/a.exe", L"C:\\Games"},
                                 {L"C:\\Games\\", L"C:\\Games"},
                                 {L"a\\b", L"a"},
                                 {L"a", L""},
                                 {L"", L""},
                                 {L"\\\\server\\share\\x", L"\\\\server\\share"},
                                 // Never cuts into the root.
                                 {L"C:\\a", L"C:\\"},
                                 {L"C:\\", L"C:\\"},
                                 {L"C:\\\\a", L"C:\\\\"},
                                 {L"C:a", L"C:"},
                                 {L"\\a", L"\\"},
                                 {L"\\\\server\\share", L"\\\\server\\"},
                                 {L"\\\\?\\C:", L"\\\\?\\"},
                             });
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

TEST(VolumeRootLength, CoversDriveShareOrVolumeName) {
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

TEST(AsFolder, EndsInASeparatorSoThatADriveMeansItsRoot) {
    ExpectRows(AsFolder, {
                             {L"C:", L"C:\\"},
                             {L"C:\\", L"C:\\"},
                             {L"C:\\a", L"C:\\a\\"},
                             {L"C:/a/", L"C:/a/"},
                             {L"", L""},
                             {L"a", L"a\\"},
                         });
}

TEST(AppendName, PutsOneSeparatorBetweenExceptAfterABareDrive) {
    const struct {
        const wchar_t* folder;
        const wchar_t* name;
        const wchar_t* expected;
    } cases[] = {
        {L"C:\\Games", L"a.exe", L"C:\\Games\\a.exe"},
        {L"C:\\Games\\", L"a.exe", L"C:\\Games\\a.exe"},
        {L"C:/Games/", L"a.exe", L"C:/Games/a.exe"},
        {L"C:\\Games", L"bin\\a.exe", L"C:\\Games\\bin\\a.exe"},
        {L"C:\\", L"a", L"C:\\a"},
        {L"C:", L"a", L"C:a"},
        {L"1:", L"a", L"1:\\a"},
        {L"\\\\server\\share", L"a", L"\\\\server\\share\\a"},
        // Nothing in the name is interpreted.
        {L"C:\\Games", L"..", L"C:\\Games\\.."},
        {L"C:\\Games", L"x:y", L"C:\\Games\\x:y"},
        {L"", L"a", L"a"},
        {L"C:\\Games", L"", L"C:\\Games"},
        {L"", L"", L""},
    };
    for (const auto& [folder, name, expected] : cases) {
        std::wstring path = folder;
        AppendName(path, name);
        EXPECT_EQ(path, expected) << folder << L" " << name;
    }
}

TEST(JoinPaths, GivesWhatThePathMeansInTheFolder) {
    const struct {
        const wchar_t* folder;
        const wchar_t* path;
        const wchar_t* expected;
    } cases[] = {
        {L"C:\\Games", L"bin\\a.exe", L"C:\\Games\\bin\\a.exe"},
        {L"C:\\Games", L"..\\a.exe", L"C:\\Games\\..\\a.exe"},
        {L"C:\\Games", L"\\a.exe", L"C:\\a.exe"},
        {L"C:\\Games", L"/a.exe", L"C:/a.exe"},
        {L"\\\\server\\share", L"\\a", L"\\\\server\\a"},
        {L"C:\\Games", L"C:a.exe", L"C:\\Games\\a.exe"},
        {L"C:\\Games", L"D:a.exe", L"D:a.exe"},
        {L"C:\\Games", L"D:\\a.exe", L"D:\\a.exe"},
        {L"C:\\Games", L"C:\\a.exe", L"C:\\a.exe"},
        {L"C:\\Games", L"\\\\server\\share\\a", L"\\\\server\\share\\a"},
        {L"", L"a", L"a"},
        {L"C:\\Games", L"", L"C:\\Games"},
    };
    for (const auto& [folder, path, expected] : cases) {
        EXPECT_EQ(JoinPaths(folder, path), expected) << folder << L" " << path;
    }
}

TEST(RelativePath, LeadsFromTheFolderToThePath) {
    const struct {
        const wchar_t* path;
        const wchar_t* base;
        const wchar_t* expected;
    } cases[] = {
        {L"C:\\a\\b\\c.dat", L"C:\\a", L"b\\c.dat"},
        {L"C:\\a\\c.dat", L"C:\\a\\b", L"..\\c.dat"},
        {L"C:\\a", L"C:\\a\\b\\c", L"..\\.."},
        {L"C:\\other\\x", L"C:\\a\\b", L"..\\..\\other\\x"},
        {L"C:\\ab\\x", L"C:\\a", L"..\\ab\\x"},
        {L"C:\\A\\x", L"C:\\a", L"..\\A\\x"},
        {L"C:\\a", L"C:\\", L"a"},
        {L"C:\\", L"C:\\a", L".."},
        {L"C:\\a", L"C:\\a", L"."},
        {L"D:\\a", L"C:\\a", L""},
        {L"\\\\server\\share\\a\\x", L"\\\\server\\share\\a", L"x"},
        {L"\\\\other\\share\\x", L"\\\\server\\share", L""},
    };
    for (const auto& [path, base, expected] : cases) {
        EXPECT_EQ(RelativePath(path, base), expected) << path << L" " << base;
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

TEST(IsBelowCanonicalPath, ComparesWholeNames) {
    const struct {
        const wchar_t* path;
        const wchar_t* folder;
        bool below;
    } cases[] = {
        {L"C:\\game\\a", L"C:\\game", true},
        {L"C:\\game\\a\\b", L"C:\\game", true},
        {L"C:\\game", L"C:\\game", false},
        {L"C:\\game2", L"C:\\game", false},
        {L"C:\\game2\\a", L"C:\\game", false},
        {L"C:\\gam", L"C:\\game", false},
        {L"C:\\", L"C:\\game", false},
        {L"C:\\game", L"C:\\", true},
        {L"C:\\", L"C:\\", false},
        {L"D:\\game\\a", L"C:\\game", false},
        {L"C:\\game\\", L"C:\\game", false},
        {L"C:\\game\\a", L"", false},
        {L"", L"C:\\game", false},
        {L"C:\\Game\\a", L"C:\\game", false},
    };
    for (const auto& [path, folder, below] : cases) {
        EXPECT_EQ(IsBelowCanonicalPath(path, folder), below) << path << L" " << folder;
        const bool isSame = std::wstring_view(path) == folder;
        EXPECT_EQ(IsAtOrBelowCanonicalPath(path, folder), below || isSame) << path;
    }
}

TEST(SystemPath, ExtendsPathsOf240CharactersAndMore) {
    const std::wstring longName(260, L'n');
    const std::wstring fitting(239 - 3, L'n');
    const std::wstring here = std::filesystem::current_path().native() + L"\\";
    const std::wstring fittingHere(239 - here.size(), L'n');
    const Row rows[] = {
        {L"", L""},
        {L"a", L"a"},
        {L"..\\a", L"..\\a"},
        {L"C:", L"C:"},
        {L"C:a", L"C:a"},
        {L"C:\\a/b", L"C:\\a/b"},
        {L"\\\\server\\share\\x", L"\\\\server\\share\\x"},
        {L"C:\\" + fitting, L"C:\\" + fitting},
        {L"C:\\n" + fitting, L"\\\\?\\C:\\n" + fitting},
        {L"C:/n" + fitting, L"\\\\?\\C:\\n" + fitting},
        {L"C:\\a\\.\\b\\..\\" + longName + L"\\*", L"\\\\?\\C:\\a\\" + longName + L"\\*"},
        {L"\\\\server\\share\\" + longName, L"\\\\?\\UNC\\server\\share\\" + longName},
        // Extended already.
        {L"\\\\?\\C:\\" + longName, L"\\\\?\\C:\\" + longName},
        {L"\\\\?\\UNC\\server\\" + longName, L"\\\\?\\UNC\\server\\" + longName},
        // A relative path counts with its current folder.
        {fittingHere, fittingHere},
        {fittingHere + L"n", L"\\\\?\\" + here + fittingHere + L"n"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(SystemPath(row.input).Text(), row.expected);
    }
}

}  // namespace
