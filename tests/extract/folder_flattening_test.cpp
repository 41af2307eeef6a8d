#include "extract/folder_flattening.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/call_hook.h"
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
        resetJobProgress();
        fs::remove_all(Staging());
        fs::create_directories(Staging());
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
        EXPECT_EQ(MessageOfFlattening(), L"Could not read the unpacked client files.");
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

TEST_F(FlattenSingleTopFolderTest, FailsForAnEntryInUseAndKeepsWhatIsMoved) {
    for (const wchar_t* const name : {L"a.dat", L"b.dat", L"c.dat"}) {
        WriteFile(Staging() / L"Client" / name, "x");
    }
    const OpenElsewhere lock(Staging() / L"Client" / L"b.dat", 0);

    EXPECT_EQ(MessageOfFlattening(), kCannotMove);

    EXPECT_EQ(snapshot().stage, JobStage::Failed);
    EXPECT_TRUE(fs::exists(Staging() / L"Client" / L"b.dat"));
    EXPECT_FALSE(fs::exists(Staging() / L"b.dat"));
    // Each of the others is in one place, depending on the listing's order.
    EXPECT_EQ(FolderListing(Staging()).size(), 4u);
}

TEST_F(FlattenSingleTopFolderTest, FailsWhenTheEmptiedFolderIsInUse) {
    WriteFile(Staging() / L"Client" / L"a.dat", "a");
    const OpenElsewhere lock(Staging() / L"Client", FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_EQ(MessageOfFlattening(), kCannotRemove);
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"Client/", L"a.dat"));
}

// The first listing does not show "late.dat", as if it had been created afterwards.
class WithALateEntry : public Flattening {
protected:
    WithALateEntry() {
        WriteFile(Staging() / L"Client" / L"a.dat", "a");
        WriteFile(Staging() / L"Client" / L"late.dat", "late");
    }
    std::wstring MessageWithALateEntry() const {
        const auto advance =
            bench::RealFunction<decltype(&::FindNextFileW)>(L"kernel32.dll", "FindNextFileW");
        bool isHidden = false;
        const auto hook = bench::HookCall<decltype(&::FindNextFileW)>(
            L"kernel32.dll", "FindNextFileW",
            [&](HANDLE listing, LPWIN32_FIND_DATAW found) -> BOOL {
                const BOOL result = advance(listing, found);
                if (result && !isHidden && std::wstring_view(found->cFileName) == L"late.dat") {
                    isHidden = true;
                    return advance(listing, found);
                }
                return result;
            });
        std::wstring message = MessageOfFlattening();
        EXPECT_TRUE(isHidden);
        return message;
    }
};

TEST_F(WithALateEntry, RemovesTheLoneFolderWithWhatIsStillInIt) {
    EXPECT_EQ(MessageWithALateEntry(), L"");
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"a.dat"));
}

TEST_F(WithALateEntry, FailsWhenThatCannotBeRemoved) {
    const OpenElsewhere lock(Staging() / L"Client" / L"late.dat", 0);
    EXPECT_EQ(MessageWithALateEntry(), kCannotRemove);
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"Client/", L"Client/late.dat", L"a.dat"));
}

}  // namespace
