#include "common/folder_walk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/current_folder.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/path_limit.h"
#include "bench_parts/scratch_folder.h"

namespace {

using bench::WriteFile;
using std::filesystem::path;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr DWORD kCloudFolderTag = 0x9000001A;

// The relative paths that a walk visits, folders with a backslash at the end.
std::vector<std::wstring> Walk(const path& root) {
    std::vector<std::wstring> found;
    static_cast<void>(WalkTree(root, [&](const FolderEntry& entry) {
        EXPECT_EQ(entry.path, (root / entry.relativePath).native());
        found.push_back(entry.relativePath + (entry.IsFolder() ? L"\\" : L""));
        return true;
    }));
    return found;
}

bool FailOnVisit(const FolderEntry& entry) {
    ADD_FAILURE() << path(entry.path);
    return true;
}

class FolderWalk : public testing::Test {
protected:
    [[nodiscard]] path At(const path& name) const {
        return scratch_.Path() / name;
    }

    // Makes the third call of FindNextFileW fail.
    [[nodiscard]] auto BreakListing() {
        return bench::HookCall<decltype(&::FindNextFileW)>(
            L"kernel32.dll", "FindNextFileW",
            [this](HANDLE listing, LPWIN32_FIND_DATAW found) -> BOOL {
                if (++advances_ == 3) {
                    ::SetLastError(ERROR_READ_FAULT);
                    return FALSE;
                }
                return bench::RealFunction<decltype(&::FindNextFileW)>(
                    L"kernel32.dll", "FindNextFileW")(listing, found);
            });
    }

    bench::ScratchFolder scratch_;
    int advances_ = 0;
};

TEST_F(FolderWalk, VisitsEveryEntryWithItsRelativePath) {
    WriteFile(At(L"a.dat"), "x");
    WriteFile(At(L"Data\\b c.dat"), "x");
    WriteFile(At(L"Data\\Deep\\\u00E4\u4E2D"), "x");
    WriteFile(At(L"...x"), "x");
    WriteFile(At(L"..data\\.y"), "x");
    WriteFile(At(L"hidden"), "x");
    ASSERT_TRUE(::SetFileAttributesW(At(L"hidden").c_str(), FILE_ATTRIBUTE_HIDDEN));
    ASSERT_TRUE(::CreateDirectoryW(At(L"empty").c_str(), nullptr));
    EXPECT_THAT(Walk(scratch_.Path()),
                UnorderedElementsAre(L"a.dat", L"Data\\", L"Data\\b c.dat", L"Data\\Deep\\",
                                     L"Data\\Deep\\\u00E4\u4E2D", L"...x", L"..data\\",
                                     L"..data\\.y", L"hidden", L"empty\\"));
    EXPECT_THAT(Walk(At(L"Data\\Deep\\")), ElementsAre(L"\u00E4\u4E2D"));
}

TEST_F(FolderWalk, VisitsAFolderBeforeItsContent) {
    WriteFile(At(L"one\\two\\three"), "x");
    EXPECT_THAT(Walk(scratch_.Path()), ElementsAre(L"one\\", L"one\\two\\", L"one\\two\\three"));
}

TEST_F(FolderWalk, VisitsLinksWithoutEnteringThem) {
    WriteFile(At(L"elsewhere\\secret"), "x");
    WriteFile(At(L"tree\\file"), "x");
    ASSERT_TRUE(bench::MakeFolderLink(At(L"tree\\link"), At(L"elsewhere")));
    ASSERT_TRUE(bench::MakeFolderLink(At(L"tree\\loop"), At(L"tree")));
    EXPECT_THAT(Walk(At(L"tree")), UnorderedElementsAre(L"file", L"link\\", L"loop\\"));
    static_cast<void>(ListFolder(At(L"tree"), [](const FolderEntry& entry) {
        EXPECT_EQ(entry.isLink, entry.relativePath != L"file");
        EXPECT_EQ(entry.IsReparsePoint(), entry.relativePath != L"file");
        return true;
    }));
}

TEST_F(FolderWalk, MarksWhatIsBehindAReparsePoint) {
    WriteFile(At(L"cloud\\inner\\file"), "x");
    WriteFile(At(L"plain\\file"), "x");
    const bench::ListingHook hook([](WIN32_FIND_DATAW& found) {
        if (std::wstring_view(found.cFileName) == L"cloud") {
            found.dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
            found.dwReserved0 = kCloudFolderTag;
        }
        return DWORD{ERROR_SUCCESS};
    });
    std::vector<std::wstring> behind;
    static_cast<void>(WalkTree(scratch_.Path(), [&](const FolderEntry& entry) {
        EXPECT_FALSE(entry.isLink);
        if (entry.isBehindReparsePoint) {
            behind.push_back(entry.relativePath);
        }
        return true;
    }));
    EXPECT_THAT(behind, ElementsAre(L"cloud", L"cloud\\inner", L"cloud\\inner\\file"));
}

TEST_F(FolderWalk, SkipsAnUnreadableFolder) {
    for (const wchar_t* name : {L"a\\x", L"b\\y", L"c\\z"}) {
        WriteFile(At(name), "x");
    }
    const bench::UnreadableFolder unreadable(At(L"b"));
    ASSERT_TRUE(unreadable.Made());
    EXPECT_THAT(Walk(scratch_.Path()),
                UnorderedElementsAre(L"a\\", L"a\\x", L"b\\", L"c\\", L"c\\z"));
}

TEST_F(FolderWalk, ReportsAListingThatBreaksOff) {
    for (const wchar_t* name : {L"a", L"b", L"c", L"d"}) {
        WriteFile(At(name), "x");
    }
    const auto hook = BreakListing();
    int visits = 0;
    const ListingResult result = ListFolder(scratch_.Path(), [&](const FolderEntry&) {
        ++visits;
        return true;
    });
    EXPECT_EQ(result.openError, ERROR_SUCCESS);
    EXPECT_EQ(result.advanceError, DWORD{ERROR_READ_FAULT});
    EXPECT_LT(visits, 4);
}

TEST_F(FolderWalk, ContinuesAfterAFolderWhoseListingBreaksOff) {
    WriteFile(At(L"a\\inner"), "x");
    WriteFile(At(L"z"), "x");
    const auto hook = BreakListing();
    EXPECT_THAT(Walk(scratch_.Path()), Contains(L"z"));
    EXPECT_GT(advances_, 3);
}

// A listing that stayed open would keep the folder.
TEST_F(FolderWalk, ListFolderVisitsOneLevelAndClosesTheListing) {
    WriteFile(At(L"folder\\file"), "x");
    WriteFile(At(L"folder\\inner\\file"), "x");
    std::vector<std::wstring> found;
    const ListingResult result = ListFolder(At(L"folder"), [&](const FolderEntry& entry) {
        found.push_back(entry.relativePath);
        return true;
    });
    EXPECT_THAT(found, UnorderedElementsAre(L"file", L"inner"));
    EXPECT_EQ(result.openError, ERROR_SUCCESS);
    EXPECT_EQ(result.advanceError, ERROR_SUCCESS);
    EXPECT_FALSE(result.stoppedByVisitor);
    std::filesystem::remove_all(At(L"folder\\inner"));
    EXPECT_TRUE(::DeleteFileW(At(L"folder\\file").c_str()));
    EXPECT_TRUE(::RemoveDirectoryW(At(L"folder").c_str()));
}

TEST_F(FolderWalk, ReportsWhyAFolderCannotBeListed) {
    EXPECT_EQ(ListFolder(scratch_.Path(), FailOnVisit).openError, ERROR_SUCCESS);
    WriteFile(At(L"file"), "x");
    EXPECT_EQ(ListFolder(At(L"missing"), FailOnVisit).openError, DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_NE(ListFolder(At(L"file"), FailOnVisit).openError, ERROR_SUCCESS);
    // How the empty root of a volume answers.
    const auto hook = bench::HookCall<decltype(&::FindFirstFileExW)>(
        bench::kKernel32, "FindFirstFileExW", [](auto...) -> HANDLE {
            ::SetLastError(ERROR_FILE_NOT_FOUND);
            return INVALID_HANDLE_VALUE;
        });
    EXPECT_EQ(ListFolder(scratch_.Path(), FailOnVisit).openError, ERROR_SUCCESS);
}

TEST_F(FolderWalk, StopsAltogetherWhenTheVisitorSaysSo) {
    WriteFile(At(L"a\\b\\c"), "x");
    WriteFile(At(L"a\\b\\d"), "x");
    WriteFile(At(L"z"), "x");
    std::vector<std::wstring> afterStop;
    bool isStopped = false;
    const ListingResult result = WalkTree(scratch_.Path(), [&](const FolderEntry& entry) {
        if (isStopped) {
            afterStop.push_back(entry.relativePath);
        }
        isStopped = isStopped || entry.relativePath.starts_with(L"a\\b\\");
        return !isStopped;
    });
    EXPECT_TRUE(isStopped);
    EXPECT_TRUE(result.stoppedByVisitor);
    EXPECT_THAT(afterStop, IsEmpty());
}

TEST_F(FolderWalk, AnEmptyPathListsNothingAndABareDriveItsCurrentFolder) {
    WriteFile(At(L"file"), "x");
    const bench::CurrentFolder current(scratch_.Path());
    EXPECT_EQ(WalkTree(L"", FailOnVisit).openError, DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(ListFolder(L"", FailOnVisit).openError, DWORD{ERROR_PATH_NOT_FOUND});
    const std::wstring drive = scratch_.Path().native().substr(0, 2);
    std::vector<std::wstring> paths;
    static_cast<void>(WalkTree(drive, [&](const FolderEntry& entry) {
        paths.push_back(entry.path);
        return true;
    }));
    EXPECT_THAT(paths, ElementsAre(drive + L"file"));
}

TEST_F(FolderWalk, ReachesPathsOfMoreThan260Characters) {
    const path deep = bench::MakeDeepFolder(scratch_.Path());
    WriteFile(deep / L"file", "x");
    const bench::PathLimit limit;
    EXPECT_THAT(Walk(scratch_.Path()),
                Contains((deep / L"file").lexically_relative(scratch_.Path())));
}

TEST(IsLink, IsTrueForNameSurrogatesAndUnknownTags) {
    constexpr DWORD kReparse = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY;
    EXPECT_TRUE(IsLink(kReparse, IO_REPARSE_TAG_SYMLINK));
    EXPECT_TRUE(IsLink(kReparse, IO_REPARSE_TAG_MOUNT_POINT));
    EXPECT_TRUE(IsLink(kReparse, 0));
    EXPECT_FALSE(IsLink(kReparse, kCloudFolderTag));
    EXPECT_FALSE(IsLink(kReparse, IO_REPARSE_TAG_DEDUP));
    EXPECT_FALSE(IsLink(FILE_ATTRIBUTE_DIRECTORY, IO_REPARSE_TAG_SYMLINK));
}

}  // namespace
