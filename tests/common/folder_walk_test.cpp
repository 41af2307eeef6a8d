#include "common/folder_walk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "bench_parts/import_hook.h"
#include "bench_parts/path_limit.h"
#include "bench_parts/scratch_folder.h"

namespace {

using bench::ScratchFolder;
using bench::WriteFile;
using std::filesystem::path;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

std::vector<std::wstring> Walk(const path& root) {
    std::vector<std::wstring> found;
    static_cast<void>(WalkTree(root, [&](const FolderEntry& entry) {
        EXPECT_EQ(entry.path, (root / entry.relativePath).native());
        found.push_back(entry.relativePath + (entry.IsFolder() ? L"\\" : L""));
        return true;
    }));
    return found;
}

TEST(WalkTree, ShowsEveryEntryWithItsPathBelowTheRoot) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"a.dat", "x");
    WriteFile(scratch.Path() / L"Data" / L"b c.dat", "x");
    WriteFile(scratch.Path() / L"Data" / L"Deep" / L"\u00E4\u4E2D", "x");
    ASSERT_TRUE(::CreateDirectoryW((scratch.Path() / L"empty").c_str(), nullptr));
    EXPECT_THAT(Walk(scratch.Path()),
                UnorderedElementsAre(L"a.dat", L"Data\\", L"Data\\b c.dat", L"Data\\Deep\\",
                                     L"Data\\Deep\\\u00E4\u4E2D", L"empty\\"));
}

TEST(WalkTree, ShowsAFolderBeforeItsContent) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"one" / L"two" / L"three", "x");
    EXPECT_THAT(Walk(scratch.Path()), ElementsAre(L"one\\", L"one\\two\\", L"one\\two\\three"));
}

TEST(WalkTree, ShowsHiddenEntriesAndNamesThatBeginWithDots) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"hidden", "x");
    ASSERT_TRUE(::SetFileAttributesW((scratch.Path() / L"hidden").c_str(), FILE_ATTRIBUTE_HIDDEN));
    WriteFile(scratch.Path() / L"...x", "x");
    WriteFile(scratch.Path() / L"..data" / L".y", "x");
    EXPECT_THAT(Walk(scratch.Path()),
                UnorderedElementsAre(L"hidden", L"...x", L"..data\\", L"..data\\.y"));
}

TEST(WalkTree, FindsNothingWhereNothingCanBeListed) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", "x");
    EXPECT_THAT(Walk(scratch.Path() / L"missing"), IsEmpty());
    EXPECT_THAT(Walk(scratch.Path() / L"file"), IsEmpty());
}

TEST(WalkTree, ShowsLinksWithoutEnteringThem) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"elsewhere" / L"secret", "x");
    WriteFile(scratch.Path() / L"tree" / L"file", "x");
    ASSERT_TRUE(
        bench::MakeFolderLink(scratch.Path() / L"tree" / L"link", scratch.Path() / L"elsewhere"));
    bool sawLink = false;
    static_cast<void>(WalkTree(scratch.Path() / L"tree", [&](const FolderEntry& entry) {
        EXPECT_EQ(entry.isLink, entry.relativePath == L"link");
        EXPECT_EQ(entry.IsReparsePoint(), entry.relativePath == L"link");
        sawLink = sawLink || entry.isLink;
        return true;
    }));
    EXPECT_TRUE(sawLink);
    EXPECT_THAT(Walk(scratch.Path() / L"tree"), UnorderedElementsAre(L"file", L"link\\"));
}

TEST(WalkTree, DoesNotGoRoundALinkToItsOwnParent) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"tree" / L"file", "x");
    ASSERT_TRUE(
        bench::MakeFolderLink(scratch.Path() / L"tree" / L"loop", scratch.Path() / L"tree"));
    EXPECT_THAT(Walk(scratch.Path() / L"tree"), UnorderedElementsAre(L"file", L"loop\\"));
}

TEST(WalkTree, SkipsAFolderThatCannotBeReadAndGoesOn) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"a" / L"x", "x");
    WriteFile(scratch.Path() / L"b" / L"y", "x");
    WriteFile(scratch.Path() / L"c" / L"z", "x");
    const bench::UnreadableFolder unreadable(scratch.Path() / L"b");
    ASSERT_TRUE(unreadable.Made());
    EXPECT_THAT(Walk(scratch.Path()),
                UnorderedElementsAre(L"a\\", L"a\\x", L"b\\", L"c\\", L"c\\z"));
}

int nextCalls = 0;
bench::ImportHook* findNextHook = nullptr;

BOOL WINAPI BreakOffAtTheThirdCall(HANDLE listing, LPWIN32_FIND_DATAW found) {
    if (++nextCalls == 3) {
        ::SetLastError(ERROR_READ_FAULT);
        return FALSE;
    }
    return findNextHook->Original<decltype(&::FindNextFileW)>()(listing, found);
}

TEST(ListFolder, TellsWhenTheListingBreaksOff) {
    const ScratchFolder scratch;
    for (const wchar_t* name : {L"a", L"b", L"c", L"d"}) {
        WriteFile(scratch.Path() / name, "x");
    }
    nextCalls = 0;
    bench::ImportHook hook(L"kernel32.dll", "FindNextFileW",
                           reinterpret_cast<void*>(&BreakOffAtTheThirdCall));
    ASSERT_TRUE(hook.Installed());
    findNextHook = &hook;
    int shown = 0;
    const ListingResult result = ListFolder(scratch.Path(), [&](const FolderEntry&) {
        ++shown;
        return true;
    });
    EXPECT_EQ(result.openError, ERROR_SUCCESS);
    EXPECT_EQ(result.advanceError, static_cast<DWORD>(ERROR_READ_FAULT));
    EXPECT_LT(shown, 4);
}

TEST(WalkTree, GoesOnBesideAFolderWhoseListingBreaksOff) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"a" / L"inner", "x");
    WriteFile(scratch.Path() / L"z", "x");
    nextCalls = 0;
    bench::ImportHook hook(L"kernel32.dll", "FindNextFileW",
                           reinterpret_cast<void*>(&BreakOffAtTheThirdCall));
    ASSERT_TRUE(hook.Installed());
    findNextHook = &hook;
    EXPECT_THAT(Walk(scratch.Path()), Contains(L"z"));
    EXPECT_GT(nextCalls, 3);
}

TEST(ListFolder, ShowsOneLevelOnly) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", "x");
    WriteFile(scratch.Path() / L"folder" / L"inner", "x");
    std::vector<std::wstring> found;
    const ListingResult result = ListFolder(scratch.Path(), [&](const FolderEntry& entry) {
        found.push_back(entry.relativePath);
        return true;
    });
    EXPECT_THAT(found, UnorderedElementsAre(L"file", L"folder"));
    EXPECT_EQ(result.openError, ERROR_SUCCESS);
    EXPECT_EQ(result.advanceError, ERROR_SUCCESS);
}

TEST(ListFolder, TellsWhyAFolderCannotBeListed) {
    const ScratchFolder scratch;
    const auto never = [](const FolderEntry&) {
        ADD_FAILURE();
        return true;
    };
    EXPECT_EQ(ListFolder(scratch.Path() / L"missing", never).openError,
              static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(ListFolder(scratch.Path(), never).openError, ERROR_SUCCESS);
}

TEST(ListFolder, EndsWhenTheVisitorSaysSo) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"a", "x");
    WriteFile(scratch.Path() / L"b", "x");
    int shown = 0;
    const ListingResult result = ListFolder(scratch.Path(), [&](const FolderEntry&) {
        ++shown;
        return false;
    });
    EXPECT_EQ(shown, 1);
    EXPECT_TRUE(result.stoppedByVisitor);
}

TEST(WalkTree, EndsAsAWholeWhenTheVisitorStopsDeepInside) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"a" / L"b" / L"c", "x");
    WriteFile(scratch.Path() / L"z", "x");
    std::vector<std::wstring> afterStop;
    bool stopped = false;
    const ListingResult result = WalkTree(scratch.Path(), [&](const FolderEntry& entry) {
        if (stopped) {
            afterStop.push_back(entry.relativePath);
        }
        stopped = stopped || entry.relativePath == L"a\\b\\c";
        return !stopped;
    });
    EXPECT_TRUE(stopped);
    EXPECT_TRUE(result.stoppedByVisitor);
    EXPECT_THAT(afterStop, IsEmpty());
}

TEST(ListFolder, ClosesTheListingSoThatTheFolderCanGo) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"folder" / L"a", "x");
    WriteFile(scratch.Path() / L"folder" / L"b", "x");
    static_cast<void>(ListFolder(scratch.Path() / L"folder", [](const FolderEntry& entry) {
        EXPECT_TRUE(::DeleteFileW(entry.path.c_str()));
        return true;
    }));
    EXPECT_TRUE(::RemoveDirectoryW((scratch.Path() / L"folder").c_str()));
}

TEST(WalkTree, FindsNothingUnderAnEmptyPath) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", "x");
    const path former = std::filesystem::current_path();
    std::filesystem::current_path(scratch.Path());
    const auto never = [](const FolderEntry&) {
        ADD_FAILURE();
        return true;
    };
    EXPECT_EQ(WalkTree(L"", never).openError, static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    EXPECT_EQ(ListFolder(L"", never).openError, static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    std::filesystem::current_path(former);
}

TEST(WalkTree, TakesABareDriveAsItsCurrentFolder) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"file", "x");
    const path former = std::filesystem::current_path();
    std::filesystem::current_path(scratch.Path());
    const std::wstring drive = scratch.Path().native().substr(0, 2);
    std::vector<std::wstring> paths;
    static_cast<void>(WalkTree(drive, [&](const FolderEntry& entry) {
        paths.push_back(entry.path);
        return true;
    }));
    std::filesystem::current_path(former);
    EXPECT_THAT(paths, ElementsAre(drive + L"file"));
}

TEST(WalkTree, TakesARootWithATrailingSeparator) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"folder" / L"a", "x");
    std::vector<std::wstring> paths;
    static_cast<void>(WalkTree(scratch.Path().native() + L"\\", [&](const FolderEntry& entry) {
        paths.push_back(entry.path);
        return true;
    }));
    EXPECT_THAT(paths, Contains((scratch.Path() / L"folder" / L"a").native()));
}

TEST(WalkTree, ReachesPathsOfMoreThan260Characters) {
    const ScratchFolder scratch;
    path deep = scratch.Path();
    for (int level = 0; level < 4; ++level) {
        deep /= std::wstring(90, static_cast<wchar_t>(L'a' + level));
        ASSERT_TRUE(::CreateDirectoryW((L"\\\\?\\" + deep.native()).c_str(), nullptr));
    }
    WriteFile(deep / L"file", "x");
    size_t longest = 0;
    const bench::PathLimit limit;
    static_cast<void>(WalkTree(scratch.Path(), [&](const FolderEntry& entry) {
        longest = std::max(longest, entry.path.size());
        return true;
    }));
    EXPECT_EQ(longest, (deep / L"file").native().size());
    EXPECT_GT(longest, 260u);
}

TEST(IsLink, TellsLinksFromOtherReparsePoints) {
    constexpr DWORD kReparse = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY;
    EXPECT_TRUE(IsLink(kReparse, IO_REPARSE_TAG_SYMLINK));
    EXPECT_TRUE(IsLink(kReparse, IO_REPARSE_TAG_MOUNT_POINT));
    EXPECT_TRUE(IsLink(kReparse, 0));
    EXPECT_FALSE(IsLink(kReparse, 0x9000001A));  // A cloud folder.
    EXPECT_FALSE(IsLink(kReparse, IO_REPARSE_TAG_DEDUP));
    EXPECT_FALSE(IsLink(FILE_ATTRIBUTE_DIRECTORY, IO_REPARSE_TAG_SYMLINK));
}

}  // namespace
