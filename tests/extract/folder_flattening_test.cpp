#include "extract/folder_flattening.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "bench_parts/import_hook.h"
#include "bench_parts/scratch_folder.h"
#include "extract/flattening_fixture.h"
#include "job/progress/job_progress.h"

namespace {

using bench::FolderListing;
using bench::ImportHook;
using bench::OpenElsewhere;
using bench::ReadFile;
using bench::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

constexpr wchar_t kCannotMove[] = L"Could not move extracted client files into place.";
constexpr wchar_t kCannotRemove[] = L"Could not remove the extra extracted client folder.";

using FlattenSingleTopFolderTest = Flattening;

TEST_F(FlattenSingleTopFolderTest, LiftsTheContentOfALoneFolder) {
    WriteFile(Staging() / L"Client" / L"a.dat", "a");
    WriteFile(Staging() / L"Client" / L"Data" / L"b.dat", "b");
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"Data/", L"Data/b.dat", L"a.dat"));
    EXPECT_EQ(ReadFile(Staging() / L"a.dat"), "a");
    EXPECT_EQ(ReadFile(Staging() / L"Data" / L"b.dat"), "b");
}

TEST_F(FlattenSingleTopFolderTest, KeepsAFolderBesideAFile) {
    WriteFile(Staging() / L"Client" / L"a.dat", "a");
    WriteFile(Staging() / L"readme.txt", "r");
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"Client/", L"Client/a.dat", L"readme.txt"));
}

TEST_F(FlattenSingleTopFolderTest, KeepsTwoFolders) {
    WriteFile(Staging() / L"Client" / L"a.dat", "a");
    fs::create_directories(Staging() / L"Extra");
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"Client/", L"Client/a.dat", L"Extra/"));
}

TEST_F(FlattenSingleTopFolderTest, KeepsALoneFile) {
    WriteFile(Staging() / L"a.dat", "a");
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"a.dat"));
}

TEST_F(FlattenSingleTopFolderTest, RemovesAnEmptyLoneFolder) {
    fs::create_directories(Staging() / L"Client");
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_THAT(FolderListing(Staging()), IsEmpty());
}

TEST_F(FlattenSingleTopFolderTest, TakesAnEmptyStagingFolder) {
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_THAT(FolderListing(Staging()), IsEmpty());
}

TEST_F(FlattenSingleTopFolderTest, TakesAStagingFolderThatIsNotThere) {
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

TEST_F(FlattenSingleTopFolderTest, FlattensOneLevelOnly) {
    WriteFile(Staging() / L"Outer" / L"Inner" / L"a.dat", "a");
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"Inner/", L"Inner/a.dat"));
}

TEST_F(FlattenSingleTopFolderTest, LiftsReadOnlyEntriesAndNamesOfAllLetters) {
    const fs::path client = Staging() / L"Kl\u00ebnt \u8aad";
    WriteFile(client / L"Gr\u00fc\u00dfe \u0434.txt", "u");
    WriteFile(client / L"locked.dat", "l");
    bench::SetReadOnly(client / L"locked.dat", true);
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_THAT(FolderListing(Staging()),
                ElementsAre(L"Gr\u00fc\u00dfe \u0434.txt", L"locked.dat"));
}

TEST_F(FlattenSingleTopFolderTest, KeepsTimeStamps) {
    constexpr std::uint64_t kTime = 133'000'000'000'000'001;
    WriteFile(Staging() / L"Client" / L"a.dat", "a");
    bench::SetWriteTime(Staging() / L"Client" / L"a.dat", kTime);
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_EQ(bench::GetWriteTime(Staging() / L"a.dat"), kTime);
}

TEST_F(FlattenSingleTopFolderTest, TellsWhatItDoes) {
    fs::create_directories(Staging() / L"Client");
    reportStage(JobStage::Downloading, L"headline", L"detail");
    FlattenSingleTopFolder(Staging());
    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::Extracting);
    EXPECT_EQ(state.statusLine, L"Extracting package...");
    EXPECT_EQ(state.detailLine, L"Moving client files into place...");
}

TEST_F(FlattenSingleTopFolderTest, TellsNothingWhenThereIsNothingToDo) {
    WriteFile(Staging() / L"a.dat", "a");
    reportStage(JobStage::Downloading, L"headline", L"detail");
    FlattenSingleTopFolder(Staging());
    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::Downloading);
    EXPECT_EQ(state.statusLine, L"headline");
    EXPECT_EQ(state.detailLine, L"detail");
}

TEST_F(FlattenSingleTopFolderTest, RunsToItsEndInSpiteOfAStopRequest) {
    WriteFile(Staging() / L"Client" / L"a.dat", "a");
    jobProgress.cancelRequested = true;
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"a.dat"));
}

TEST_F(FlattenSingleTopFolderTest, TakesALinkToAFolderForAFolder) {
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

TEST_F(FlattenSingleTopFolderTest, FailsForAFolderWithAFolderOfItsOwnName) {
    WriteFile(Staging() / L"Client" / L"Client" / L"a.dat", "a");
    EXPECT_EQ(MessageOfFlattening(), kCannotMove);
    // Making room for the inner one took the outer one with everything in it.
    EXPECT_THAT(FolderListing(Staging()), IsEmpty());
}

TEST_F(FlattenSingleTopFolderTest, FailsForAFolderWithAFileOfItsOwnNameInAnyLetterCase) {
    WriteFile(Staging() / L"Client" / L"cLIENT", "a");
    EXPECT_EQ(MessageOfFlattening(), kCannotMove);
    EXPECT_THAT(FolderListing(Staging()), IsEmpty());
}

TEST_F(FlattenSingleTopFolderTest, FailsWhenTheEmptiedFolderIsInUse) {
    WriteFile(Staging() / L"Client" / L"a.dat", "a");
    const OpenElsewhere lock(Staging() / L"Client", FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_EQ(MessageOfFlattening(), kCannotRemove);
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"Client/", L"a.dat"));
}

decltype(&::FindNextFileW) realFindNextFile;
bool isPassedOver;

// The listing does not show "late.dat" the first time, as if it had come afterwards.
BOOL WINAPI PassOverOnce(HANDLE listing, LPWIN32_FIND_DATAW found) {
    const BOOL result = realFindNextFile(listing, found);
    if (result && !isPassedOver && std::wstring_view(found->cFileName) == L"late.dat") {
        isPassedOver = true;
        return realFindNextFile(listing, found);
    }
    return result;
}

class WithALateEntry : public Flattening {
protected:
    WithALateEntry()
        : hook_(L"kernel32.dll", "FindNextFileW", reinterpret_cast<void*>(&PassOverOnce)) {
        realFindNextFile = hook_.Original<decltype(&::FindNextFileW)>();
        isPassedOver = false;
        WriteFile(Staging() / L"Client" / L"a.dat", "a");
        WriteFile(Staging() / L"Client" / L"late.dat", "late");
    }
    bool IsHooked() const {
        return hook_.Installed();
    }

private:
    ImportHook hook_;
};

TEST_F(WithALateEntry, RemovesTheLoneFolderWithWhatIsStillInIt) {
    ASSERT_TRUE(IsHooked());
    EXPECT_EQ(MessageOfFlattening(), L"");
    EXPECT_TRUE(isPassedOver);
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"a.dat"));
}

TEST_F(WithALateEntry, FailsWhenThatCannotBeRemoved) {
    ASSERT_TRUE(IsHooked());
    const OpenElsewhere lock(Staging() / L"Client" / L"late.dat", 0);
    EXPECT_EQ(MessageOfFlattening(), kCannotRemove);
    EXPECT_THAT(FolderListing(Staging()), ElementsAre(L"Client/", L"Client/late.dat", L"a.dat"));
}

}  // namespace
