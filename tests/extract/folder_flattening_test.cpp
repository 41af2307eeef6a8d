#include "extract/folder_flattening.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/file_hooks.h"
#include "bench_parts/scratch_folder.h"
#include "job/progress/job_progress.h"

namespace {

using bench::FolderListing;
using bench::OpenElsewhere;
using bench::ReadFile;
using bench::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

constexpr wchar_t kCannotMove[] = L"Could not move extracted client files into place.";
constexpr wchar_t kCannotRead[] = L"Could not read the unpacked client files.";
constexpr wchar_t kCannotRemove[] = L"Could not remove the extra extracted client folder.";

// A reset record, and a staging folder with room beside it.
class FlattenSingleTopFolderTest : public testing::Test {
protected:
    FlattenSingleTopFolderTest() {
        resetJobProgress();
        fs::create_directories(Staging());
    }
    ~FlattenSingleTopFolderTest() override {
        resetJobProgress();
    }
    fs::path Staging() const {
        return scratch_.Path() / L"staging";
    }
    fs::path Beside(const wchar_t* name) const {
        return scratch_.Path() / name;
    }
    // A reset record and an empty staging folder again.
    void Empty() const {
        resetJobProgress();
        fs::remove_all(Staging());
        fs::create_directories(Staging());
    }
    // Flattens; the failure message, empty for a success.
    std::wstring MessageOfFlattening() const {
        const bool succeeded = FlattenSingleTopFolder(Staging());
        std::wstring message = snapshot().errorMessage;
        EXPECT_EQ(succeeded, message.empty());
        return message;
    }

private:
    bench::ScratchFolder scratch_;
};

TEST_F(FlattenSingleTopFolderTest, LiftsOneLevelOfALoneFolder) {
    struct Row {
        std::vector<std::wstring> entries;  // Folders end in a slash.
        std::vector<std::wstring> expected;
        const wchar_t* message = L"";
    };
    const Row rows[] = {
        {{L"Client/a.dat", L"Client/Data/b.dat"}, {L"Data/", L"Data/b.dat", L"a.dat"}},
        {{L"Client/a.dat", L"r.txt"}, {L"Client/", L"Client/a.dat", L"r.txt"}},
        {{L"Client/a.dat", L"Extra/"}, {L"Client/", L"Client/a.dat", L"Extra/"}},
        {{L"a.dat"}, {L"a.dat"}},
        {{L"Client/"}, {}},
        {{}, {}},
        {{L"Outer/Inner/a.dat"}, {L"Inner/", L"Inner/a.dat"}},
        {{L"Kl\u00ebnt \u8aad/Gr\u00fc\u00dfe \u0434.txt"}, {L"Gr\u00fc\u00dfe \u0434.txt"}},
        // Making room for the inner one removes the outer one with everything in it.
        {{L"Client/Client/a.dat"}, {}, kCannotMove},
        {{L"Client/cLIENT"}, {}, kCannotMove},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.entries));
        Empty();
        for (const std::wstring& entry : row.entries) {
            entry.back() == L'/' ? static_cast<void>(fs::create_directories(Staging() / entry))
                                 : WriteFile(Staging() / entry, testing::PrintToString(entry));
        }
        EXPECT_EQ(MessageOfFlattening(), row.message);
        EXPECT_EQ(FolderListing(Staging()), row.expected);
    }
}

TEST_F(FlattenSingleTopFolderTest, KeepsBytesAttributesAndTimesInSpiteOfAStopRequest) {
    constexpr std::uint64_t kTime = 133'000'000'000'000'001;
    WriteFile(Staging() / L"Client" / L"locked.dat", "bytes");
    bench::SetWriteTime(Staging() / L"Client" / L"locked.dat", kTime);
    bench::SetReadOnly(Staging() / L"Client" / L"locked.dat", true);
    jobProgress.cancelRequested = true;
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_EQ(ReadFile(Staging() / L"locked.dat"), "bytes");
    EXPECT_EQ(bench::GetWriteTime(Staging() / L"locked.dat"), kTime);
    EXPECT_NE(::GetFileAttributesW((Staging() / L"locked.dat").c_str()) & FILE_ATTRIBUTE_READONLY,
              0u);
}

TEST_F(FlattenSingleTopFolderTest, SucceedsWithoutAStagingFolder) {
    EXPECT_TRUE(FlattenSingleTopFolder(Beside(L"missing")));
    WriteFile(Beside(L"file"), "no folder");
    EXPECT_TRUE(FlattenSingleTopFolder(Beside(L"file")));
}

TEST_F(FlattenSingleTopFolderTest, ReportsAStagingFolderThatCannotBeListed) {
    WriteFile(Staging() / L"Client" / L"a.dat", "a");
    {
        const bench::UnreadableFolder unreadable(Staging());
        ASSERT_TRUE(unreadable.Made());
        EXPECT_EQ(MessageOfFlattening(), kCannotRead);
    }
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"Client/", L"Client/a.dat"));
}

TEST_F(FlattenSingleTopFolderTest, PublishesNothingWhenThereIsNothingToDo) {
    WriteFile(Staging() / L"a.dat", "a");
    reportStage(JobStage::Downloading, L"headline", L"detail");
    EXPECT_TRUE(FlattenSingleTopFolder(Staging()));
    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::Downloading);
    EXPECT_EQ(state.statusLine, L"headline");
    EXPECT_EQ(state.detailLine, L"detail");
}

TEST_F(FlattenSingleTopFolderTest, TreatsALinkToAFolderAsAFolder) {
    WriteFile(Beside(L"elsewhere") / L"a.dat", "a");
    ASSERT_TRUE(bench::MakeFolderLink(Staging() / L"link", Beside(L"elsewhere")));
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"a.dat"));
    EXPECT_THAT(FolderListing(Beside(L"elsewhere")), IsEmpty());
}

TEST_F(FlattenSingleTopFolderTest, StopsAtAnEntryInUseAndKeepsWhatIsMoved) {
    for (const wchar_t* const name : {L"a.dat", L"b.dat", L"c.dat"}) {
        WriteFile(Staging() / L"Client" / name, "x");
    }
    const OpenElsewhere lock(Staging() / L"Client" / L"b.dat", 0);
    EXPECT_EQ(MessageOfFlattening(), kCannotMove);
    // File systems list alphabetically.
    EXPECT_THAT(FolderListing(Staging()),
                ElementsAre(L"Client/", L"Client/b.dat", L"Client/c.dat", L"a.dat"));
}

TEST_F(FlattenSingleTopFolderTest, FailsWhenTheEmptiedFolderIsInUse) {
    WriteFile(Staging() / L"Client" / L"a.dat", "a");
    const OpenElsewhere lock(Staging() / L"Client", FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_EQ(MessageOfFlattening(), kCannotRemove);
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"Client/", L"a.dat"));
}

TEST_F(FlattenSingleTopFolderTest, RemovesTheLoneFolderWithWhatAppearsInItOrFails) {
    const fs::path newcomer = Staging() / L"Client" / L"new.dat";
    for (const bool isInUse : {false, true}) {
        Empty();
        WriteFile(Staging() / L"Client" / L"a.dat", "a");
        std::optional<OpenElsewhere> lock;
        const auto hook = bench::WatchCall<decltype(&::MoveFileExW)>(
            bench::kKernel32, "MoveFileExW", [&](auto...) {
                WriteFile(newcomer, "new");
                if (isInUse) {
                    lock.emplace(newcomer, 0);
                }
            });
        EXPECT_EQ(MessageOfFlattening(), isInUse ? kCannotRemove : L"");
        EXPECT_TRUE(fs::exists(Staging() / L"a.dat"));
        EXPECT_EQ(fs::exists(Staging() / L"Client"), isInUse);
    }
}

TEST_F(FlattenSingleTopFolderTest, PublishesItsTextsAndEndsTheListingsBeforeItMovesAnything) {
    WriteFile(Staging() / L"Client" / L"a.dat", "a");
    WriteFile(Staging() / L"Client" / L"b.dat", "b");
    int endedListings = 0;
    int moves = 0;
    const auto close = bench::WatchCall<decltype(&::FindClose)>(bench::kKernel32, "FindClose",
                                                                [&](HANDLE) { ++endedListings; });
    const auto move =
        bench::WatchCall<decltype(&::MoveFileExW)>(bench::kKernel32, "MoveFileExW", [&](auto...) {
            ++moves;
            EXPECT_EQ(endedListings, 2);
            const JobState state = snapshot();
            EXPECT_EQ(state.stage, JobStage::Extracting);
            EXPECT_EQ(state.statusLine, L"Extracting package...");
            EXPECT_EQ(state.detailLine, L"Moving client files into place...");
        });
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_EQ(moves, 2);
}

// The first listings break off at "z.dat".
TEST_F(FlattenSingleTopFolderTest, RepeatsAListingOnceAndThenFailsAndLosesNothing) {
    struct Row {
        std::wstring file;
        int breaks;
        const wchar_t* message;
        std::vector<std::wstring> expected;
    };
    const Row rows[] = {
        {L"z.dat", 1, L"", {L"Client/", L"Client/a.dat", L"z.dat"}},
        {L"z.dat", 2, kCannotRead, {L"Client/", L"Client/a.dat", L"z.dat"}},
        {L"Client/z.dat", 1, L"", {L"a.dat", L"z.dat"}},
        {L"Client/z.dat", 2, kCannotMove, {L"Client/", L"Client/a.dat", L"Client/z.dat"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.file << row.breaks);
        Empty();
        WriteFile(Staging() / L"Client" / L"a.dat", "a");
        WriteFile(Staging() / row.file, "z");
        int breaks = row.breaks;
        {
            const bench::ListingHook hook([&](WIN32_FIND_DATAW& found) -> DWORD {
                const bool breaksOff = breaks > 0 && std::wstring_view(found.cFileName) == L"z.dat";
                breaks -= breaksOff ? 1 : 0;
                return breaksOff ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
            });
            EXPECT_EQ(MessageOfFlattening(), row.message);
        }
        EXPECT_EQ(breaks, 0);
        EXPECT_EQ(FolderListing(Staging()), row.expected);
    }
}

// "odd" is a link, and looking at its target fails.
TEST_F(FlattenSingleTopFolderTest, DoesNotCountALinkThatCannotBeFollowedAsAFolder) {
    WriteFile(Staging() / L"odd" / L"a.dat", "a");
    const bench::ListingHook listing([](WIN32_FIND_DATAW& found) -> DWORD {
        if (std::wstring_view(found.cFileName) == L"odd") {
            found.dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
            found.dwReserved0 = IO_REPARSE_TAG_SYMLINK;
        }
        return ERROR_SUCCESS;
    });
    for (const DWORD error : {DWORD{ERROR_FILE_NOT_FOUND}, DWORD{ERROR_ACCESS_DENIED}}) {
        const auto look = bench::HookAttributes([&](const std::wstring& path) -> DWORD {
            return path.ends_with(L"\\odd") ? error : ERROR_SUCCESS;
        });
        EXPECT_EQ(MessageOfFlattening(), L"") << error;
        EXPECT_TRUE(fs::exists(Staging() / L"odd" / L"a.dat")) << error;
        WriteFile(Staging() / L"Client" / L"a.dat", "a");
        EXPECT_EQ(MessageOfFlattening(), L"") << error;
        EXPECT_TRUE(fs::exists(Staging() / L"Client" / L"a.dat")) << "odd counts as a file";
        fs::remove_all(Staging() / L"Client");
    }
}

// Moving one entry into a folder: by renaming, and by copying where that is refused.

// MoveEntryInto(from\NAME, into).
class MoveEntryIntoTest : public FlattenSingleTopFolderTest {
protected:
    MoveEntryIntoTest() {
        fs::create_directories(From());
        fs::create_directories(Into());
    }
    fs::path From() const {
        return Beside(L"from");
    }
    fs::path Into() const {
        return Beside(L"into");
    }
    // The error. A success must leave none.
    DWORD Move(const wchar_t* name) const {
        DWORD error = ERROR_GEN_FAILURE;
        const bool succeeded = MoveEntryInto(From() / name, Into(), error);
        EXPECT_EQ(succeeded, error == ERROR_SUCCESS);
        return error;
    }
};

TEST_F(MoveEntryIntoTest, ReplacesWhatIsThere) {
    struct Row {
        std::vector<std::wstring> entries;  // Below "from".
        std::vector<std::wstring> former;   // Below "into".
        std::vector<std::wstring> expected;
    };
    const Row rows[] = {
        {{L"Data"}, {}, {L"Data"}},
        {{L"Data"}, {L"Data"}, {L"Data"}},
        {{L"Data"}, {L"Data/old"}, {L"Data"}},
        {{L"Data/sub/new"}, {}, {L"Data/", L"Data/sub/", L"Data/sub/new"}},
        {{L"Data/new"}, {L"Data"}, {L"Data/", L"Data/new"}},
        {{L"Data/new"}, {L"Data/sub/old"}, {L"Data/", L"Data/new"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.entries) + testing::PrintToString(row.former));
        for (const std::wstring& entry : row.entries) {
            WriteFile(From() / entry, "new");
        }
        for (const std::wstring& entry : row.former) {
            WriteFile(Into() / entry, "the old one");
            bench::SetReadOnly(Into() / entry, true);
        }
        EXPECT_EQ(Move(L"Data"), DWORD{ERROR_SUCCESS});
        EXPECT_THAT(FolderListing(From()), IsEmpty());
        EXPECT_EQ(FolderListing(Into()), row.expected);
        EXPECT_EQ(ReadFile(Into() / row.expected.back()), "new");
        fs::remove_all(Into() / L"Data");
    }
}

TEST_F(MoveEntryIntoTest, FailsForAMissingEntry) {
    EXPECT_EQ(Move(L"missing"), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(MoveEntryIntoTest, FailsForATargetInUse) {
    WriteFile(From() / L"a.dat", "new");
    WriteFile(Into() / L"a.dat", "old");
    const OpenElsewhere lock(Into() / L"a.dat", FILE_SHARE_READ);
    EXPECT_EQ(Move(L"a.dat"), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(ReadFile(From() / L"a.dat"), "new");
    EXPECT_EQ(ReadFile(Into() / L"a.dat"), "old");
}

TEST_F(MoveEntryIntoTest, FailsWhenTheCopiedSourceCannotBeRemoved) {
    WriteFile(From() / L"a.dat", "a");
    const OpenElsewhere reader(From() / L"a.dat", FILE_SHARE_READ);
    EXPECT_EQ(Move(L"a.dat"), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(ReadFile(From() / L"a.dat"), "a");
    EXPECT_EQ(ReadFile(Into() / L"a.dat"), "a");
}

BOOL FailWith(DWORD error) {
    ::SetLastError(error);
    return FALSE;
}

auto RefuseToMove() {
    return bench::HookCall<decltype(&::MoveFileExW)>(
        bench::kKernel32, "MoveFileExW", [](auto...) { return FailWith(ERROR_NOT_SAME_DEVICE); });
}

// As between two volumes, where folders cannot be renamed.
class MoveByCopyTest : public MoveEntryIntoTest {
    decltype(RefuseToMove()) hook_ = RefuseToMove();
};

TEST_F(MoveByCopyTest, CopiesFilesAndFoldersAndRemovesTheSource) {
    constexpr std::uint64_t kTime = 133'000'000'000'000'001;
    WriteFile(From() / L"a.dat", "a");
    bench::SetWriteTime(From() / L"a.dat", kTime);
    bench::SetReadOnly(From() / L"a.dat", true);
    WriteFile(From() / L"Data" / L"sub" / L"deep" / L"b.dat", "b");
    WriteFile(From() / L"Data" / L"c.dat", "");
    fs::create_directories(From() / L"Data" / L"empty");
    EXPECT_EQ(Move(L"a.dat"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_SUCCESS});
    EXPECT_THAT(FolderListing(From()), IsEmpty());
    EXPECT_THAT(FolderListing(Into()),
                ElementsAre(L"Data/", L"Data/c.dat", L"Data/empty/", L"Data/sub/",
                            L"Data/sub/deep/", L"Data/sub/deep/b.dat", L"a.dat"));
    EXPECT_EQ(ReadFile(Into() / L"Data" / L"sub" / L"deep" / L"b.dat"), "b");
    EXPECT_EQ(bench::GetWriteTime(Into() / L"a.dat"), kTime);
}

TEST_F(MoveByCopyTest, CopiesWhatALinkLeadsTo) {
    WriteFile(Beside(L"elsewhere") / L"x.dat", "x");
    fs::create_directories(From() / L"Data");
    ASSERT_TRUE(bench::MakeFolderLink(From() / L"Data" / L"link", Beside(L"elsewhere")));
    DWORD error = ERROR_SUCCESS;
    // Removing the link itself may fail, which does not matter here.
    static_cast<void>(MoveEntryInto(From() / L"Data", Into(), error));
    EXPECT_THAT(FolderListing(Into()), ElementsAre(L"Data/", L"Data/link/", L"Data/link/x.dat"));
    EXPECT_EQ(ReadFile(Beside(L"elsewhere") / L"x.dat"), "x");
}

TEST_F(MoveByCopyTest, CopiesOverFilesThatCouldNotBeRemoved) {
    WriteFile(From() / L"Data" / L"a.dat", "new");
    WriteFile(Into() / L"Data" / L"kept" / L"b.dat", "b");
    // The open file and the folders above it cannot be removed, its neighbors can.
    const OpenElsewhere lock(Into() / L"Data" / L"kept" / L"b.dat", FILE_SHARE_READ);
    WriteFile(Into() / L"Data" / L"a.dat", "old");
    EXPECT_EQ(Move(L"Data"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(ReadFile(Into() / L"Data" / L"a.dat"), "new");
    EXPECT_EQ(ReadFile(Into() / L"Data" / L"kept" / L"b.dat"), "b");
}

// A folder whose attributes cannot be read is not copied; if it is missing, the copy reports that.
TEST_F(MoveByCopyTest, LooksAtTheFolderAfreshBeforeItCopies) {
    const auto real = bench::RealFunction<decltype(&::GetFileAttributesW)>(bench::kKernel32,
                                                                           "GetFileAttributesW");
    for (const DWORD refusal : {DWORD{ERROR_ACCESS_DENIED}, DWORD{ERROR_FILE_NOT_FOUND}}) {
        WriteFile(From() / L"Data" / L"a.dat", "a");
        DWORD error = ERROR_SUCCESS;
        {
            const auto hook = bench::HookCall<decltype(&::GetFileAttributesW)>(
                bench::kKernel32, "GetFileAttributesW", [&](LPCWSTR path) {
                    const bool isSource = std::wstring_view(path).ends_with(L"\\from\\Data");
                    return isSource ? (FailWith(refusal), INVALID_FILE_ATTRIBUTES) : real(path);
                });
            static_cast<void>(MoveEntryInto(From() / L"Data", Into(), error));  // See `error`.
        }
        const bool isDenied = refusal == ERROR_ACCESS_DENIED;
        EXPECT_EQ(error == refusal, isDenied);
        EXPECT_EQ(fs::exists(Into() / L"Data" / L"a.dat"), !isDenied);
    }
}

}  // namespace
