#include "uninstaller/client_removal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "bench_parts/file_hooks.h"
#include "bench_parts/running_copy.h"
#include "bench_parts/skipping.h"
#include "installed_game_test.h"

namespace {

namespace fs = std::filesystem;
using bench::FolderListing;
using bench::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

bool IsFileLink(const fs::path& path) {
    return (::GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

TEST_F(RemoveGameTest, LeavesNothingOfAnInstalledGame) {
    PutShortcut();
    WriteFile(fs::path(toolFolder) / L"read-only", "x");
    bench::SetReadOnly(fs::path(toolFolder) / L"read-only", true);
    WriteFile(fs::path(toolFolder) / L"hidden", std::string(5000, 'x'));
    ::SetFileAttributesW((fs::path(toolFolder) / L"hidden").c_str(),
                         FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    WriteFile(fs::path(toolFolder) / L"bin" / L"\u6e38\u620f" / L"deep" / L"file", "x");
    fs::create_directories(fs::path(toolFolder) / L"empty" / L"folder");
    EXPECT_EQ(MeasureClient(toolFolder).files, 6U);
    EXPECT_EQ(MeasureClient(toolFolder).bytes, 5U + 8U + 14U + 5002U);

    const RemovalResult result = RemoveInstalledGame();
    EXPECT_THAT(result.remaining, IsEmpty());
    EXPECT_FALSE(result.entryRemains);
    EXPECT_FALSE(result.canBeRepeated);
    EXPECT_THAT(FolderListing(Outside()), IsEmpty());
    EXPECT_FALSE(bench::ReadKey(EntryKey()));
    EXPECT_FALSE(fs::exists(Shortcut()));
    EXPECT_EQ(MeasureClient(toolFolder).files, 0U);
    EXPECT_EQ(MeasureClient(toolFolder).bytes, 0U);
}

TEST_F(RemoveGameTest, TouchesNothingElse) {
    WriteFile(Outside() / L"neighbor.txt", "x");
    WriteFile(Outside() / (FileNamePart(toolFolder) + L"2") / L"file", "x");
    const fs::path onDesktop = Shortcut().parent_path() / L"other.txt";
    WriteFile(onDesktop, "x");
    const std::wstring otherKey = EntryKey() + L" 2";
    bench::StoreValue(otherKey, L"DisplayName", bench::StoredText(L"Bench Game 2"));
    RemoveInstalledGame();
    EXPECT_THAT(FolderListing(Outside()),
                ElementsAre(L"Spiel \u00fc2/", L"Spiel \u00fc2/file", L"neighbor.txt"));
    EXPECT_TRUE(fs::remove(onDesktop));
    EXPECT_TRUE(bench::ReadKey(otherKey));
    bench::RemoveKey(otherKey);
}

TEST_F(RemoveGameTest, RemovesTheApprovedPathsOnly) {
    const ApprovedClient approved = Client();
    Install(Outside() / L"other client");
    WriteFile(Outside() / L"run.exe", "MZ");
    toolConfig.startupExe = Outside() / L"run.exe";
    const auto other = FolderListing(toolFolder);
    EXPECT_THAT(RemoveGame(approved).remaining, IsEmpty());
    EXPECT_FALSE(fs::exists(approved.folder));
    EXPECT_EQ(FolderListing(toolFolder), other);
    EXPECT_TRUE(fs::exists(Outside() / L"run.exe"));
}

TEST_F(RemoveGameTest, RemovesTheRealFolderBehindALink) {
    const fs::path real = toolFolder;
    const fs::path link = Outside() / L"link";
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(link, real), "links for this user");
    toolFolder = link;
    toolExePath = link / L"Uninstall.exe";
    EXPECT_THAT(RemoveInstalledGame().remaining, IsEmpty());
    EXPECT_FALSE(fs::exists(real));
}

TEST_F(RemoveGameTest, RemovesFolderLinksAndLeavesTheirTargets) {
    WriteFile(Outside() / L"kept" / L"inside" / L"file", "x");
    SKIP_ON_WINDOWS_WITHOUT(
        bench::MakeFolderLink(fs::path(toolFolder) / L"link", Outside() / L"kept") &&
            bench::MakeFolderLink(fs::path(toolFolder) / L"bin" / L"link", Outside() / L"kept"),
        "links for this user");
    RemoveInstalledGame();
    EXPECT_THAT(FolderListing(Outside()),
                testing::IsSupersetOf({L"kept/", L"kept/inside/", L"kept/inside/file"}));
    EXPECT_FALSE(fs::exists(fs::path(toolFolder) / L"data"));
}

TEST_F(RemoveGameTest, RemovesFileLinksAndLeavesTheirTargets) {
    WriteFile(Outside() / L"kept.txt", "kept");
    SKIP_ON_WINDOWS_WITHOUT(
        bench::MakeFileLink(fs::path(toolFolder) / L"link.txt", Outside() / L"kept.txt") &&
            bench::MakeFileLink(fs::path(toolFolder) / L"bin" / L"link.txt",
                                Outside() / L"kept.txt"),
        "links for this user");
    SKIP_ON_WINE_WITHOUT(IsFileLink(fs::path(toolFolder) / L"link.txt"),
                         "tell a file link from its target");
    EXPECT_THAT(RemoveInstalledGame().remaining, IsEmpty());
    EXPECT_THAT(FolderListing(Outside()), ElementsAre(L"kept.txt"));
    EXPECT_EQ(bench::ReadFile(Outside() / L"kept.txt"), "kept");
}

TEST_F(RemoveGameTest, KeepsAndNamesWhatAppearsAtTheEnd) {
    const fs::path newcomer = fs::path(toolFolder) / L"bin" / L"new";
    const auto hook = bench::HookCall<decltype(&::CreateFileW)>(
        bench::kKernel32, "CreateFileW", [&](LPCWSTR path, DWORD access, auto... more) -> HANDLE {
            if (access == DELETE && fs::path(path).filename() == L"Uninstall.exe") {
                WriteFile(newcomer, "another program's");
            }
            return RealCreateFile()(path, access, more...);
        });
    const RemovalResult result = RemoveInstalledGame();
    EXPECT_THAT(result.remaining, ElementsAre(newcomer));
    EXPECT_FALSE(result.canBeRepeated);
    EXPECT_FALSE(result.entryRemains);
    EXPECT_THAT(FolderListing(toolFolder), ElementsAre(L"bin/", L"bin/new"));
    EXPECT_EQ(bench::ReadFile(newcomer), "another program's");
}

TEST_F(RemoveGameTest, NamesEveryFileThatStaysAndKeepsWhatASecondAttemptNeeds) {
    PutShortcut();
    // The approved paths have the file system's letter case.
    toolConfig.startupExe = L"BIN\\Start.EXE";
    toolExePath = fs::path(toolFolder) / L"UNINSTALL.EXE";
    const fs::path first = fs::path(toolFolder) / L"a";
    const fs::path second = fs::path(toolFolder) / L"data" / L"maps" / L"open.map";
    WriteFile(fs::path(toolFolder) / L"bin" / L"engine.dll", "x");
    WriteFile(first, "x");
    WriteFile(second, "x");
    {
        const bench::OpenElsewhere openFirst(first, 0);
        const bench::OpenElsewhere openSecond(second, FILE_SHARE_READ);
        const RemovalResult result = RemoveInstalledGame();
        EXPECT_THAT(result.remaining, UnorderedElementsAre(first, second));
        EXPECT_TRUE(result.canBeRepeated);
        EXPECT_TRUE(result.entryRemains);
        EXPECT_FALSE(result.isAccessDenied);
    }
    EXPECT_THAT(FolderListing(toolFolder),
                ElementsAre(L"Uninstall.exe", L"a", L"bin/", L"bin/start.exe", L"data/",
                            L"data/maps/", L"data/maps/open.map"));
    EXPECT_TRUE(bench::ReadKey(EntryKey()));
    EXPECT_TRUE(fs::exists(Shortcut()));

    const RemovalResult result = RemoveInstalledGame();
    EXPECT_THAT(result.remaining, IsEmpty());
    EXPECT_FALSE(result.entryRemains);
    EXPECT_THAT(FolderListing(Outside()), IsEmpty());
    EXPECT_FALSE(fs::exists(Shortcut()));
}

TEST_F(RemoveGameTest, KeepsTheStartupProgramUntilTheUninstallerIsRemoved) {
    {
        const bench::OpenElsewhere open(toolExePath, FILE_SHARE_READ);
        const RemovalResult result = RemoveInstalledGame();
        EXPECT_THAT(result.remaining, ElementsAre(toolExePath));
        EXPECT_TRUE(result.canBeRepeated);
        EXPECT_THAT(FolderListing(toolFolder),
                    ElementsAre(L"Uninstall.exe", L"bin/", L"bin/start.exe"));
        EXPECT_TRUE(bench::ReadKey(EntryKey()));
    }
    // Without the uninstaller the entry would be useless.
    const bench::OpenElsewhere open(fs::path(toolFolder) / L"bin" / L"start.exe", FILE_SHARE_READ);
    const RemovalResult result = RemoveInstalledGame();
    EXPECT_THAT(result.remaining, ElementsAre(fs::path(toolFolder) / L"bin" / L"start.exe"));
    EXPECT_FALSE(result.canBeRepeated);
    EXPECT_FALSE(result.entryRemains);
    EXPECT_FALSE(bench::ReadKey(EntryKey()));
}

TEST_F(RemoveGameTest, NamesAFolderThatCannotBeListed) {
    WriteFile(fs::path(toolFolder) / L"closed" / L"file", "x");
    const ApprovedClient approved = Client();
    for (const wchar_t* const name : {L"closed", L"bin"}) {
        const bench::UnreadableFolder closed(fs::path(toolFolder) / name);
        SKIP_ON_WINDOWS_WITHOUT(closed.Made(), "a way to make a folder unreadable");
        const RemovalResult result = RemoveGame(approved);
        EXPECT_THAT(result.remaining, ElementsAre(fs::path(toolFolder) / name));
        EXPECT_TRUE(result.canBeRepeated);
        EXPECT_TRUE(result.isAccessDenied);
    }
}

TEST_F(RemoveGameTest, DistinguishesMissingRightsFromFilesInUse) {
    const fs::path file = fs::path(toolFolder) / L"data" / L"open";
    fs::path denied;
    DWORD deniedAccess = 0;
    bool isRemovalPending = false;
    const auto opening = bench::HookCall<decltype(&::CreateFileW)>(
        bench::kKernel32, "CreateFileW", [&](LPCWSTR path, DWORD access, auto... more) -> HANDLE {
            if (denied == path && (access & deniedAccess) != 0) {
                ::SetLastError(ERROR_ACCESS_DENIED);
                return INVALID_HANDLE_VALUE;
            }
            return RealCreateFile()(path, access, more...);
        });
    // The attributes of an entry whose removal is pending cannot be read.
    const auto attributes = bench::HookAttributes([&](const std::wstring& path) -> DWORD {
        return isRemovalPending && denied == path ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    });
    const struct {
        fs::path denied;
        DWORD access;
        bool isRemovalPending;
        bool isAccessDenied;
    } cases[] = {{file, DELETE, false, true},
                 {file.parent_path(), FILE_LIST_DIRECTORY, false, true},
                 {file, DELETE, true, false}};
    for (const auto& row : cases) {
        WriteFile(file, "x");
        const bench::OpenElsewhere open(file, 0);
        denied = row.denied;
        deniedAccess = row.access;
        isRemovalPending = row.isRemovalPending;
        const RemovalResult result = RemoveInstalledGame();
        EXPECT_THAT(result.remaining, ElementsAre(denied));
        EXPECT_TRUE(result.canBeRepeated);
        EXPECT_EQ(result.isAccessDenied, row.isAccessDenied);
        denied.clear();
    }
    const bench::RunningCopy running(L"child_program.exe", file, L"sleep 600000");
    ASSERT_TRUE(running.Process());
    const RemovalResult result = RemoveInstalledGame();
    EXPECT_THAT(result.remaining, ElementsAre(file));
    EXPECT_FALSE(result.isAccessDenied);
}

TEST_F(RemoveGameTest, LeavesAShortcutToElsewhereAndAFileThatIsNone) {
    const fs::path otherClient = Outside() / (FileNamePart(toolFolder) + L"2");
    WriteFile(otherClient / L"run.exe", "MZ");
    toolConfig.startupExe = otherClient / L"run.exe";
    PutShortcut();
    toolConfig.startupExe = L"bin\\start.exe";
    EXPECT_THAT(RemoveInstalledGame().remaining, IsEmpty());
    EXPECT_TRUE(fs::exists(Shortcut()));

    Install(toolFolder);
    WriteFile(Shortcut(), "the player's notes");
    EXPECT_THAT(RemoveInstalledGame().remaining, IsEmpty());
    EXPECT_EQ(bench::ReadFile(Shortcut()), "the player's notes");
}

TEST_F(RemoveGameTest, ReportsAShortcutOrAnEntryThatStays) {
    PutShortcut();
    const bench::OpenElsewhere open(Shortcut(), FILE_SHARE_READ);
    const auto hook = bench::HookCall<decltype(&::RegDeleteTreeW)>(
        bench::kAdvapi32, "RegDeleteTreeW", [](auto...) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    const RemovalResult result = RemoveInstalledGame();
    EXPECT_THAT(result.remaining, ElementsAre(Shortcut()));
    EXPECT_TRUE(result.entryRemains);
    EXPECT_FALSE(result.canBeRepeated);
    EXPECT_FALSE(fs::exists(toolFolder));
}

TEST_F(RemoveGameTest, NeedsNoEntry) {
    bench::RemoveKey(EntryKey());
    EXPECT_FALSE(RemoveInstalledGame().entryRemains);
}

}  // namespace
