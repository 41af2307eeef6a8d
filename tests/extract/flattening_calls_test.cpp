// Flattening when single system calls fail, and the order of these calls.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/scratch_folder.h"
#include "extract/flattening_fixture.h"

namespace {

using bench::Flattening;
using bench::FolderListing;
using bench::WriteFile;
using testing::ElementsAre;
using testing::SizeIs;

constexpr wchar_t kCannotMove[] = L"Could not move extracted client files into place.";

template <class Function>
Function RealKernelFunction(const char* name) {
    return bench::RealFunction<Function>(L"kernel32.dll", name);
}

BOOL Refuse() {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

// A lone folder with three files.
class FlatteningOfThreeFiles : public Flattening {
protected:
    FlatteningOfThreeFiles() {
        for (const wchar_t* const name : {L"a.dat", L"b.dat", L"c.dat"}) {
            WriteFile(LoneFolder() / name, "x");
        }
    }
    std::filesystem::path LoneFolder() const {
        return Staging() / L"Client";
    }
    // Flattens while only the first `possibleMoves` entries can be moved and none can be copied.
    // Returns how many moves were tried.
    size_t TriedMoves(size_t possibleMoves) const {
        const auto move = RealKernelFunction<decltype(&::MoveFileExW)>("MoveFileExW");
        size_t tried = 0;
        const auto moveHook = bench::HookCall<decltype(&::MoveFileExW)>(
            L"kernel32.dll", "MoveFileExW", [&](auto... values) -> BOOL {
                ++tried;
                return tried <= possibleMoves ? move(values...) : Refuse();
            });
        const auto copyHook = bench::HookCall<decltype(&::CopyFileW)>(
            L"kernel32.dll", "CopyFileW", [](auto&&...) -> BOOL { return Refuse(); });
        EXPECT_EQ(MessageOfFlattening(), kCannotMove);
        return tried;
    }
};

TEST_F(FlatteningOfThreeFiles, StopsAtTheFirstEntryThatCannotBeMoved) {
    EXPECT_EQ(TriedMoves(0), 1u);
    EXPECT_THAT(FolderListing(Staging()),
                ElementsAre(L"Client/", L"Client/a.dat", L"Client/b.dat", L"Client/c.dat"));
    resetJobProgress();
    EXPECT_EQ(TriedMoves(1), 2u);
    EXPECT_THAT(FolderListing(LoneFolder()), SizeIs(2));
    EXPECT_THAT(FolderListing(Staging()), SizeIs(4));
}

TEST_F(FlatteningOfThreeFiles, PublishesItsTextsAndEndsTheListingsBeforeItMovesAnything) {
    reportStage(JobStage::Downloading, L"headline", L"detail");
    const auto open = RealKernelFunction<decltype(&::FindFirstFileExW)>("FindFirstFileExW");
    const auto close = RealKernelFunction<decltype(&::FindClose)>("FindClose");
    const auto move = RealKernelFunction<decltype(&::MoveFileExW)>("MoveFileExW");
    int listings = 0;
    int closedListings = 0;
    std::vector<JobState> states;
    {
        const auto openHook = bench::HookCall<decltype(&::FindFirstFileExW)>(
            L"kernel32.dll", "FindFirstFileExW", [&](auto... values) -> HANDLE {
                const HANDLE listing = open(values...);
                listings += listing == INVALID_HANDLE_VALUE ? 0 : 1;
                return listing;
            });
        const auto closeHook = bench::HookCall<decltype(&::FindClose)>(L"kernel32.dll", "FindClose",
                                                                       [&](HANDLE listing) -> BOOL {
                                                                           ++closedListings;
                                                                           return close(listing);
                                                                       });
        const auto moveHook = bench::HookCall<decltype(&::MoveFileExW)>(
            L"kernel32.dll", "MoveFileExW", [&](auto... values) -> BOOL {
                EXPECT_GE(listings, 2);
                EXPECT_EQ(closedListings, listings);
                states.push_back(snapshot());
                return move(values...);
            });
        EXPECT_EQ(MessageOfFlattening(), L"");
    }
    ASSERT_THAT(states, SizeIs(3));
    EXPECT_EQ(states.front().stage, JobStage::Extracting);
    EXPECT_EQ(states.front().statusLine, L"Extracting package...");
    EXPECT_EQ(states.front().detailLine, L"Moving client files into place...");
}

// Listings break off at "z.dat"; file systems list alphabetically.
class BrokenOffListing : public Flattening {
protected:
    BrokenOffListing() {
        WriteFile(Staging() / L"Client" / L"a.dat", "a");
    }
    // With the first `count` listings broken off.
    std::wstring MessageOfBrokenFlattening(int count) const {
        const bench::ListingHook hook([&](WIN32_FIND_DATAW& found) -> DWORD {
            const bool breaksOff = count > 0 && std::wstring_view(found.cFileName) == L"z.dat";
            count -= breaksOff ? 1 : 0;
            return breaksOff ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
        });
        std::wstring message = MessageOfFlattening();
        EXPECT_EQ(count, 0);
        return message;
    }
};

TEST_F(BrokenOffListing, OfTheStagingFolderHidesNoEntry) {
    WriteFile(Staging() / L"z.dat", "z");
    for (const int count : {1, 2}) {
        EXPECT_EQ(MessageOfBrokenFlattening(count),
                  count == 1 ? L"" : L"Could not read the unpacked client files.");
        EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"Client/", L"Client/a.dat", L"z.dat"));
    }
}

TEST_F(BrokenOffListing, OfTheLoneFolderIsRepeatedOnceAndLosesNothing) {
    WriteFile(Staging() / L"Client" / L"z.dat", "z");
    EXPECT_EQ(MessageOfBrokenFlattening(2), kCannotMove);
    EXPECT_THAT(FolderListing(Staging()),
                ElementsAre(L"Client/", L"Client/a.dat", L"Client/z.dat"));
    resetJobProgress();
    EXPECT_EQ(MessageOfBrokenFlattening(1), L"");
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"a.dat", L"z.dat"));
}

TEST_F(Flattening, FindsTheLoneFolderWhenTheFirstListingFails) {
    WriteFile(Staging() / L"Client" / L"a.dat", "a");
    const auto open = RealKernelFunction<decltype(&::FindFirstFileExW)>("FindFirstFileExW");
    bool hasFailed = false;
    const auto hook = bench::HookCall<decltype(&::FindFirstFileExW)>(
        L"kernel32.dll", "FindFirstFileExW", [&](auto... values) -> HANDLE {
            if (!hasFailed) {
                hasFailed = true;
                Refuse();
                return INVALID_HANDLE_VALUE;
            }
            return open(values...);
        });
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"a.dat"));
}

// "odd" is a link, and looking at its target fails.
TEST_F(Flattening, DoesNotCountALinkThatCannotBeFollowedAsAFolder) {
    DWORD lookError = ERROR_SUCCESS;
    const auto look = bench::HookAttributes([&](const std::wstring& path) -> DWORD {
        return path.ends_with(L"\\odd") ? lookError : ERROR_SUCCESS;
    });
    const bench::ListingHook listing([](WIN32_FIND_DATAW& found) -> DWORD {
        if (std::wstring_view(found.cFileName) == L"odd") {
            found.dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
            found.dwReserved0 = IO_REPARSE_TAG_SYMLINK;
        }
        return ERROR_SUCCESS;
    });
    WriteFile(Staging() / L"odd" / L"a.dat", "a");
    for (const DWORD error : {DWORD{ERROR_FILE_NOT_FOUND}, DWORD{ERROR_ACCESS_DENIED}}) {
        lookError = error;
        EXPECT_EQ(MessageOfFlattening(), L"") << error;
        EXPECT_TRUE(std::filesystem::exists(Staging() / L"odd" / L"a.dat")) << error;
    }
    WriteFile(Staging() / L"Client" / L"a.dat", "a");
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_TRUE(std::filesystem::exists(Staging() / L"Client" / L"a.dat"))
        << "odd counts as a file";
}

}  // namespace
