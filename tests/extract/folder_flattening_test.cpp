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
#include "extract/flattening_fixture.h"
#include "job/progress/job_progress.h"

namespace {

using bench::Flattening;
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

using FlattenSingleTopFolderTest = Flattening;

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

}  // namespace
