// Flattening when single calls of it fail, and the order of its calls.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/scratch_folder.h"
#include "extract/flattening_fixture.h"

namespace {

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
    // Flattens where only the first `possibleMoves` entries can be moved, the others not even
    // copied; how many moves were tried.
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

TEST_F(FlatteningOfThreeFiles, TriesNoOtherEntryAfterAFirstThatCannotBeMoved) {
    EXPECT_EQ(TriedMoves(0), 1u);
    EXPECT_THAT(FolderListing(Staging()),
                ElementsAre(L"Client/", L"Client/a.dat", L"Client/b.dat", L"Client/c.dat"));
}

TEST_F(FlatteningOfThreeFiles, TriesNoOtherEntryAfterASecondThatCannotBeMoved) {
    EXPECT_EQ(TriedMoves(1), 2u);
    EXPECT_THAT(FolderListing(LoneFolder()), SizeIs(2));
    EXPECT_THAT(FolderListing(Staging()), SizeIs(4));
}

TEST_F(FlatteningOfThreeFiles, MovesNothingWhileAFolderIsListed) {
    const auto open = RealKernelFunction<decltype(&::FindFirstFileExW)>("FindFirstFileExW");
    const auto close = RealKernelFunction<decltype(&::FindClose)>("FindClose");
    const auto move = RealKernelFunction<decltype(&::MoveFileExW)>("MoveFileExW");
    int listings = 0;
    int openListings = 0;
    std::vector<int> openListingsAtMoves;
    {
        const auto openHook = bench::HookCall<decltype(&::FindFirstFileExW)>(
            L"kernel32.dll", "FindFirstFileExW", [&](auto... values) -> HANDLE {
                const HANDLE listing = open(values...);
                const int opened = listing == INVALID_HANDLE_VALUE ? 0 : 1;
                listings += opened;
                openListings += opened;
                return listing;
            });
        const auto closeHook = bench::HookCall<decltype(&::FindClose)>(L"kernel32.dll", "FindClose",
                                                                       [&](HANDLE listing) -> BOOL {
                                                                           --openListings;
                                                                           return close(listing);
                                                                       });
        const auto moveHook = bench::HookCall<decltype(&::MoveFileExW)>(
            L"kernel32.dll", "MoveFileExW", [&](auto... values) -> BOOL {
                openListingsAtMoves.push_back(openListings);
                return move(values...);
            });
        EXPECT_EQ(MessageOfFlattening(), L"");
    }
    EXPECT_GE(listings, 2);
    EXPECT_THAT(openListingsAtMoves, ElementsAre(0, 0, 0));
}

TEST_F(FlatteningOfThreeFiles, TellsWhatItDoesBeforeItMovesAnything) {
    reportStage(JobStage::Downloading, L"headline", L"detail");
    const auto move = RealKernelFunction<decltype(&::MoveFileExW)>("MoveFileExW");
    std::vector<JobState> states;
    {
        const auto hook = bench::HookCall<decltype(&::MoveFileExW)>(
            L"kernel32.dll", "MoveFileExW", [&](auto... values) -> BOOL {
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

// Listings that come to "z.dat" break off there; file systems list by the alphabet.
class BrokenOffListing : public Flattening {
protected:
    BrokenOffListing() {
        WriteFile(Staging() / L"Client" / L"a.dat", "a");
    }
    // Breaks off as many listings.
    std::wstring MessageOfBrokenFlattening(int count) const {
        const auto advance = RealKernelFunction<decltype(&::FindNextFileW)>("FindNextFileW");
        const auto hook = bench::HookCall<decltype(&::FindNextFileW)>(
            L"kernel32.dll", "FindNextFileW",
            [&](HANDLE listing, LPWIN32_FIND_DATAW found) -> BOOL {
                const BOOL succeeded = advance(listing, found);
                if (succeeded && count > 0 && std::wstring_view(found->cFileName) == L"z.dat") {
                    --count;
                    return Refuse();
                }
                return succeeded;
            });
        std::wstring message = MessageOfFlattening();
        EXPECT_EQ(count, 0);
        return message;
    }
};

TEST_F(BrokenOffListing, OfTheStagingFolderHidesNoSecondEntry) {
    WriteFile(Staging() / L"z.dat", "z");
    for (const int count : {1, 2}) {
        EXPECT_EQ(MessageOfBrokenFlattening(count),
                  count == 1 ? L"" : L"Could not read the unpacked client files.");
        EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"Client/", L"Client/a.dat", L"z.dat"));
    }
}

TEST_F(BrokenOffListing, OfTheLoneFolderIsMadeAgain) {
    WriteFile(Staging() / L"Client" / L"z.dat", "z");
    EXPECT_EQ(MessageOfBrokenFlattening(1), L"");
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"a.dat", L"z.dat"));
}

TEST_F(BrokenOffListing, OfTheLoneFolderThatDoesNotPassFailsAndLosesNothing) {
    WriteFile(Staging() / L"Client" / L"z.dat", "z");
    EXPECT_EQ(MessageOfBrokenFlattening(2), kCannotMove);
    EXPECT_THAT(FolderListing(Staging()),
                ElementsAre(L"Client/", L"Client/a.dat", L"Client/z.dat"));
}

TEST_F(Flattening, FindsTheLoneFolderWhenTheFirstLookFails) {
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

// "odd" is a link; looking at what it leads to fails with the parameter.
class OddEntry : public Flattening, public testing::WithParamInterface<DWORD> {
protected:
    std::wstring MessageWithOddEntry() const {
        const auto look =
            RealKernelFunction<decltype(&::GetFileAttributesExW)>("GetFileAttributesExW");
        const auto hook = bench::HookCall<decltype(&::GetFileAttributesExW)>(
            L"kernel32.dll", "GetFileAttributesExW",
            [&](LPCWSTR path, GET_FILEEX_INFO_LEVELS level, LPVOID facts) -> BOOL {
                if (!std::wstring_view(path).ends_with(L"\\odd")) {
                    return look(path, level, facts);
                }
                ::SetLastError(GetParam());
                return FALSE;
            });
        const auto advance = RealKernelFunction<decltype(&::FindNextFileW)>("FindNextFileW");
        const auto listingHook = bench::HookCall<decltype(&::FindNextFileW)>(
            L"kernel32.dll", "FindNextFileW",
            [&](HANDLE listing, LPWIN32_FIND_DATAW found) -> BOOL {
                const BOOL succeeded = advance(listing, found);
                if (succeeded && std::wstring_view(found->cFileName) == L"odd") {
                    found->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
                    found->dwReserved0 = IO_REPARSE_TAG_SYMLINK;
                }
                return succeeded;
            });
        return MessageOfFlattening();
    }
};

TEST_P(OddEntry, CountsAmongTheOthers) {
    WriteFile(Staging() / L"Client" / L"a.dat", "a");
    WriteFile(Staging() / L"odd", "");
    EXPECT_EQ(MessageWithOddEntry(), L"");
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"Client/", L"Client/a.dat", L"odd"));
}

TEST_P(OddEntry, CountsAsNoFolder) {
    WriteFile(Staging() / L"odd" / L"a.dat", "a");
    EXPECT_EQ(MessageWithOddEntry(), L"");
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"odd/", L"odd/a.dat"));
}

INSTANTIATE_TEST_SUITE_P(LinkToNothing, OddEntry, testing::Values(DWORD{ERROR_FILE_NOT_FOUND}));
INSTANTIATE_TEST_SUITE_P(Unreadable, OddEntry, testing::Values(DWORD{ERROR_ACCESS_DENIED}));

}  // namespace
