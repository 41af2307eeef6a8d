#include "uninstaller/client_removal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/import_hook.h"
#include "bench_parts/skipping.h"
#include "remove_game_test.h"

using bench::ReadKey;
using bench::RemoveKey;
using bench::StoredNumber;
using bench::StoredText;
using bench::StoreValue;

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;

TEST_F(RemoveGameTest, LeavesNothingOfAnInstalledGame) {
    PutShortcut();
    bench::WriteFile(toolFolder / L"read-only", "x");
    bench::SetReadOnly(toolFolder / L"read-only", true);
    bench::WriteFile(toolFolder / L"hidden", "x");
    ::SetFileAttributesW((toolFolder / L"hidden").c_str(),
                         FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    bench::WriteFile(toolFolder / L"bin" / L"\u6e38\u620f" / L"deep" / L"file", "x");
    fs::create_directories(toolFolder / L"empty" / L"folder");
    const RemovalResult result = RemoveInstalledGame();
    EXPECT_THAT(result.left, IsEmpty());
    EXPECT_FALSE(result.entryLeft);
    EXPECT_FALSE(result.canBeRepeated);
    EXPECT_THAT(bench::FolderListing(Outside()), IsEmpty());
    EXPECT_FALSE(ReadKey(EntryKey()));
    EXPECT_FALSE(fs::exists(Shortcut()));
}

TEST_F(RemoveGameTest, TouchesNothingOutside) {
    bench::WriteFile(Outside() / L"neighbor.txt", "x");
    bench::WriteFile(Outside() / (toolFolder.filename().native() + L"2") / L"file", "x");
    bench::WriteFile(Shortcut().parent_path() / L"other.txt", "x");
    const std::wstring otherKey = EntryKey() + L" 2";
    StoreValue(otherKey, L"DisplayName", StoredText(L"Bench Game 2"));
    RemoveInstalledGame();
    EXPECT_THAT(bench::FolderListing(Outside()),
                ElementsAre(L"Spiel \u00fc2/", L"Spiel \u00fc2/file", L"neighbor.txt"));
    EXPECT_TRUE(fs::exists(Shortcut().parent_path() / L"other.txt"));
    EXPECT_TRUE(ReadKey(otherKey));
    RemoveKey(otherKey);
    fs::remove(Shortcut().parent_path() / L"other.txt");
}

TEST_F(RemoveGameTest, GoesByTheApprovedPathsOnly) {
    const ApprovedClient approved = Client();
    Install(Outside() / L"other client");
    bench::WriteFile(Outside() / L"run.exe", "MZ");
    toolConfig.startupExe = Outside() / L"run.exe";
    const auto other = bench::FolderListing(toolFolder);
    EXPECT_THAT(RemoveGame(approved).left, IsEmpty());
    EXPECT_FALSE(fs::exists(approved.folder));
    EXPECT_EQ(bench::FolderListing(toolFolder), other);
    EXPECT_TRUE(fs::exists(Outside() / L"run.exe"));
}

TEST_F(RemoveGameTest, RemovesLinksAndLeavesWhatTheyLeadTo) {
    bench::WriteFile(Outside() / L"kept" / L"inside" / L"file", "x");
    SKIP_ON_WINDOWS_WITHOUT(
        bench::MakeFolderLink(toolFolder / L"link", Outside() / L"kept") &&
            bench::MakeFolderLink(toolFolder / L"bin" / L"link", Outside() / L"kept"),
        "links for this user");
    RemoveInstalledGame();
    const auto listing = bench::FolderListing(Outside());
    EXPECT_THAT(listing, IsSupersetOf({L"kept/", L"kept/inside/", L"kept/inside/file"}));
    EXPECT_FALSE(fs::exists(toolFolder / L"data"));
}

bool IsLink(const fs::path& path) {
    return (::GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

TEST_F(RemoveGameTest, RemovesFileLinksAndLeavesWhatTheyLeadTo) {
    bench::WriteFile(Outside() / L"kept.txt", "kept");
    SKIP_ON_WINDOWS_WITHOUT(
        bench::MakeFileLink(toolFolder / L"link.txt", Outside() / L"kept.txt") &&
            bench::MakeFileLink(toolFolder / L"bin" / L"link.txt", Outside() / L"kept.txt"),
        "links for this user");
    SKIP_ON_WINE_WITHOUT(IsLink(toolFolder / L"link.txt"), "tell a file link from its target");
    EXPECT_THAT(RemoveInstalledGame().left, IsEmpty());
    EXPECT_THAT(bench::FolderListing(Outside()), ElementsAre(L"kept.txt"));
    EXPECT_EQ(bench::ReadFile(Outside() / L"kept.txt"), "kept");
}

TEST_F(RemoveGameTest, LeavesAndNamesWhatAppearsAtTheEnd) {
    // Somebody puts a file there at the moment when the uninstaller itself goes.
    const fs::path newcomer = toolFolder / L"bin" / L"new";
    const auto real = bench::RealFunction<decltype(&::CreateFileW)>(L"kernel32.dll", "CreateFileW");
    const auto hook = bench::HookCall<decltype(&::CreateFileW)>(
        L"kernel32.dll", "CreateFileW", [&](LPCWSTR path, DWORD access, auto... more) -> HANDLE {
            if (access == DELETE && fs::path(path).filename() == L"Uninstall.exe") {
                bench::WriteFile(newcomer, "somebody's");
            }
            return real(path, access, more...);
        });
    const RemovalResult result = RemoveInstalledGame();
    EXPECT_THAT(result.left, ElementsAre(newcomer));
    EXPECT_FALSE(result.canBeRepeated);
    EXPECT_FALSE(result.entryLeft);
    EXPECT_THAT(bench::FolderListing(toolFolder), ElementsAre(L"bin/", L"bin/new"));
    EXPECT_EQ(bench::ReadFile(newcomer), "somebody's");
}

TEST_F(RemoveGameTest, KeepsWhatASecondAttemptNeeds) {
    PutShortcut();
    bench::WriteFile(toolFolder / L"bin" / L"engine.dll", "x");
    bench::WriteFile(toolFolder / L"data" / L"maps" / L"open.map", "x");
    bench::OpenElsewhere open(toolFolder / L"data" / L"maps" / L"open.map", FILE_SHARE_READ);
    const RemovalResult result = RemoveInstalledGame();
    EXPECT_THAT(result.left, ElementsAre(toolFolder / L"data" / L"maps" / L"open.map"));
    EXPECT_TRUE(result.canBeRepeated);
    EXPECT_TRUE(result.entryLeft);
    EXPECT_THAT(bench::FolderListing(toolFolder),
                ElementsAre(L"Uninstall.exe", L"bin/", L"bin/start.exe", L"data/", L"data/maps/",
                            L"data/maps/open.map"));
    EXPECT_TRUE(ReadKey(EntryKey()));
    EXPECT_TRUE(fs::exists(Shortcut()));

    open.Close();
    const RemovalResult second = RemoveInstalledGame();
    EXPECT_THAT(second.left, IsEmpty());
    EXPECT_FALSE(second.entryLeft);
    EXPECT_THAT(bench::FolderListing(Outside()), IsEmpty());
    EXPECT_FALSE(fs::exists(Shortcut()));
}

TEST_F(RemoveGameTest, NamesEveryFileThatStays) {
    bench::WriteFile(toolFolder / L"a", "x");
    bench::WriteFile(toolFolder / L"data" / L"b", "x");
    const bench::OpenElsewhere first(toolFolder / L"a", 0);
    const bench::OpenElsewhere second(toolFolder / L"data" / L"b", 0);
    EXPECT_THAT(RemoveInstalledGame().left,
                testing::UnorderedElementsAre(toolFolder / L"a", toolFolder / L"data" / L"b"));
}

TEST_F(RemoveGameTest, NamesAFolderThatCannotBeLookedInto) {
    bench::WriteFile(toolFolder / L"closed" / L"file", "x");
    const bench::UnreadableFolder closed(toolFolder / L"closed");
    SKIP_ON_WINDOWS_WITHOUT(closed.Made(), "a way to make a folder unreadable");
    const RemovalResult result = RemoveInstalledGame();
    EXPECT_THAT(result.left, ElementsAre(toolFolder / L"closed"));
    EXPECT_TRUE(result.canBeRepeated);
    EXPECT_TRUE(result.rightsAreMissing);
}

// A file in use in a folder, one of which cannot be opened for one purpose.
class DeniedEntry : public RemoveGameTest {
protected:
    DeniedEntry() {
        bench::WriteFile(file_, "x");
    }

    [[nodiscard]] RemovalResult RemoveWhileDenied(const fs::path& denied,
                                                  DWORD deniedAccess) const {
        const bench::OpenElsewhere open(file_, 0);
        const auto real =
            bench::RealFunction<decltype(&::CreateFileW)>(L"kernel32.dll", "CreateFileW");
        const auto hook = bench::HookCall<decltype(&::CreateFileW)>(
            L"kernel32.dll", "CreateFileW",
            [&](LPCWSTR path, DWORD access, auto... more) -> HANDLE {
                if (denied == path && (access & deniedAccess) != 0) {
                    ::SetLastError(ERROR_ACCESS_DENIED);
                    return INVALID_HANDLE_VALUE;
                }
                return real(path, access, more...);
            });
        RemovalResult result = RemoveInstalledGame();
        EXPECT_THAT(result.left, ElementsAre(denied));
        EXPECT_TRUE(result.canBeRepeated);
        return result;
    }

    fs::path file_ = toolFolder / L"data" / L"open";
};

TEST_F(DeniedEntry, StaysForWantOfRights) {
    EXPECT_TRUE(RemoveWhileDenied(file_, DELETE).rightsAreMissing);
}

TEST_F(DeniedEntry, MayBeAFolderThatCannotBeListed) {
    EXPECT_TRUE(RemoveWhileDenied(file_.parent_path(), FILE_LIST_DIRECTORY).rightsAreMissing);
}

TEST_F(DeniedEntry, MayBeOneWhoseRemovalIsPending) {
    using Look = decltype(&::GetFileAttributesExW);
    const auto real = bench::RealFunction<Look>(L"kernel32.dll", "GetFileAttributesExW");
    const auto hook = bench::HookCall<Look>(L"kernel32.dll", "GetFileAttributesExW",
                                            [&](LPCWSTR path, auto... more) -> BOOL {
                                                if (file_ == path) {
                                                    ::SetLastError(ERROR_ACCESS_DENIED);
                                                    return FALSE;
                                                }
                                                return real(path, more...);
                                            });
    EXPECT_FALSE(RemoveWhileDenied(file_, DELETE).rightsAreMissing);
}

TEST_F(RemoveGameTest, TellsFilesInUseFromWantOfRights) {
    const bench::RunningCopy running(L"child_program.exe", toolFolder / L"helper.exe",
                                     L"sleep 600000");
    ASSERT_TRUE(running.Process());
    bench::WriteFile(toolFolder / L"open", "x");
    const bench::OpenElsewhere open(toolFolder / L"open", 0);
    const RemovalResult result = RemoveInstalledGame();
    EXPECT_EQ(result.left.size(), 2U);
    EXPECT_FALSE(result.rightsAreMissing);
}

TEST_F(RemoveGameTest, KeepsTheStartupProgramWithAnUninstallerThatIsInUse) {
    const bench::OpenElsewhere open(toolExePath, FILE_SHARE_READ);
    const RemovalResult result = RemoveInstalledGame();
    EXPECT_THAT(result.left, ElementsAre(toolExePath));
    EXPECT_TRUE(result.canBeRepeated);
    EXPECT_THAT(bench::FolderListing(toolFolder),
                ElementsAre(L"Uninstall.exe", L"bin/", L"bin/start.exe"));
    EXPECT_TRUE(ReadKey(EntryKey()));
}

TEST_F(RemoveGameTest, RemovesTheEntryOnceTheUninstallerIsGone) {
    // Nobody could use it any more.
    const bench::OpenElsewhere open(toolFolder / L"bin" / L"start.exe", FILE_SHARE_READ);
    const RemovalResult result = RemoveInstalledGame();
    EXPECT_THAT(result.left, ElementsAre(toolFolder / L"bin" / L"start.exe"));
    EXPECT_FALSE(result.canBeRepeated);
    EXPECT_FALSE(result.entryLeft);
    EXPECT_FALSE(ReadKey(EntryKey()));
}

TEST_F(RemoveGameTest, LeavesAShortcutToElsewhere) {
    bench::WriteFile(Outside() / (toolFolder.filename().native() + L"2") / L"run.exe", "MZ");
    toolConfig.startupExe = Outside() / (toolFolder.filename().native() + L"2") / L"run.exe";
    PutShortcut();
    toolConfig.startupExe = L"bin\\start.exe";
    EXPECT_THAT(RemoveInstalledGame().left, IsEmpty());
    EXPECT_TRUE(fs::exists(Shortcut()));
}

TEST_F(RemoveGameTest, LeavesAFileThatIsNoShortcut) {
    bench::WriteFile(Shortcut(), "somebody's notes");
    EXPECT_THAT(RemoveInstalledGame().left, IsEmpty());
    EXPECT_EQ(bench::ReadFile(Shortcut()), "somebody's notes");
}

TEST_F(RemoveGameTest, NamesAShortcutThatStays) {
    PutShortcut();
    const bench::OpenElsewhere open(Shortcut(), FILE_SHARE_READ);
    const RemovalResult result = RemoveInstalledGame();
    EXPECT_THAT(result.left, ElementsAre(Shortcut()));
    EXPECT_FALSE(result.entryLeft);
    EXPECT_FALSE(fs::exists(toolFolder));
}

TEST_F(RemoveGameTest, RemovesAnEntryWithKeysBelowIt) {
    StoreValue(EntryKey() + L"\\below", L"value", StoredNumber(1));
    EXPECT_FALSE(RemoveInstalledGame().entryLeft);
    EXPECT_FALSE(ReadKey(EntryKey()));
}

TEST_F(RemoveGameTest, IsContentWithoutAnEntry) {
    RemoveKey(EntryKey());
    EXPECT_FALSE(RemoveInstalledGame().entryLeft);
}

LSTATUS WINAPI RefuseToDelete(HKEY, LPCWSTR) {
    return ERROR_ACCESS_DENIED;
}

TEST_F(RemoveGameTest, SaysWhenTheEntryStays) {
    const bench::ImportHook hook(L"advapi32.dll", "RegDeleteTreeW",
                                 reinterpret_cast<void*>(&RefuseToDelete));
    ASSERT_TRUE(hook.Installed());
    const RemovalResult result = RemoveInstalledGame();
    EXPECT_TRUE(result.entryLeft);
    EXPECT_FALSE(result.canBeRepeated);
    EXPECT_THAT(result.left, IsEmpty());
}

TEST_F(RemoveGameTest, RemovesTheRealFolderBehindALink) {
    const fs::path real = toolFolder;
    const fs::path link = Outside() / L"link";
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(link, real), "links for this user");
    toolFolder = link;
    toolExePath = link / L"Uninstall.exe";
    EXPECT_THAT(RemoveInstalledGame().left, IsEmpty());
    EXPECT_FALSE(fs::exists(real));
}

TEST_F(RemoveGameTest, GoesByTheFileSystemsLetterCase) {
    toolConfig.startupExe = L"BIN\\Start.EXE";
    toolExePath = toolFolder / L"UNINSTALL.EXE";
    bench::WriteFile(toolFolder / L"open", "x");
    const bench::OpenElsewhere open(toolFolder / L"open", 0);
    EXPECT_TRUE(RemoveInstalledGame().canBeRepeated);
    EXPECT_THAT(bench::FolderListing(toolFolder),
                ElementsAre(L"Uninstall.exe", L"bin/", L"bin/start.exe", L"open"));
}

TEST_F(RemoveGameTest, MeasuresWhatWillGo) {
    bench::WriteFile(toolFolder / L"large", std::string(5000, 'x'));
    const ClientContent content = MeasureClient(toolFolder);
    EXPECT_EQ(content.files, 4U);
    EXPECT_EQ(content.bytes, 5000U + 5U + 8U + 14U);
    const ClientContent nothing = MeasureClient(toolFolder / L"missing");
    EXPECT_EQ(nothing.files, 0U);
    EXPECT_EQ(nothing.bytes, 0U);
}

}  // namespace
