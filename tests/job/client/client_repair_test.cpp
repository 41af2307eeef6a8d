#include "job/client/client_repair.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "bench_parts/current_folder.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/skipping.h"
#include "job/client/client_folders.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

using testing::Contains;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

constexpr int64_t kOneSecond = 10'000'000;  // In steps of 100 ns.
constexpr int64_t kThreeSeconds = 30'000'000;

using ClientRepair = bench::ClientTest;
using SlowClientRepair = bench::ClientTest;

}  // namespace

TEST_F(ClientRepair, AnEmptyPackageIsASuccess) {
    for (const auto& [reinstall, status, detail] :
         {std::tuple{false, L"Verifying client files...", L"All files are already clean."},
          {true, L"Reinstalling client...", L"Reinstall complete."}}) {
        EXPECT_TRUE(VerifyAndRepairClient(Package(), reinstall));
        ExpectCounters(0, 0, 0);
        EXPECT_EQ(snapshot().stage, JobStage::Finishing);
        EXPECT_EQ(snapshot().statusLine, status);
        EXPECT_EQ(snapshot().detailLine, detail);
    }
}

TEST_F(ClientRepair, CopiesMissingFilesWithTheirTimes) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    bench::WriteFile(InPackage(L"data\\maps\\b.map"), "b");
    bench::SetWriteTime(InPackage(L"a.dat"), 0x01D0'0000'0000'0001);
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::ReadFile(InClient(L"a.dat")), "a");
    EXPECT_EQ(bench::ReadFile(InClient(L"data\\maps\\b.map")), "b");
    EXPECT_EQ(bench::GetWriteTime(InClient(L"a.dat")), 0x01D0'0000'0000'0001u);
    EXPECT_EQ(bench::GetWriteTime(InClient(L"data\\maps\\b.map")),
              bench::GetWriteTime(InPackage(L"data\\maps\\b.map")));
    ExpectCounters(2, 2, 2);
    EXPECT_EQ(snapshot().detailLine, L"Fixed or updated missing/mismatched files.");
}

TEST_F(ClientRepair, LeavesIdenticalFilesUntouched) {
    WriteToBoth(L"a.dat", "same");
    WriteToBoth(L"data\\b.dat", "same too");
    const bench::OpenElsewhere reader(InClient(L"a.dat"), FILE_SHARE_READ);
    EXPECT_TRUE(Repair());
    ExpectCounters(2, 2, 0);
    EXPECT_EQ(snapshot().detailLine, L"All files are already clean.");
}

TEST_F(ClientRepair, CopiesFilesThatDifferInSizeOrInOneByte) {
    const std::wstring names[] = {
        L"shorter.dat", L"changed.dat", L"emptied.dat", L"same time.dat", L"of the tool's size.dat",
        L"same.dat"};
    const std::string bytes(bench::kToolBytes.size(), 'x');
    for (const std::wstring& name : names) {
        WriteToBoth(name, bytes);
    }
    bench::WriteFile(InClient(L"shorter.dat"), bytes.substr(1));
    bench::WriteFile(InClient(L"changed.dat"), bytes.substr(1) + "X");
    bench::WriteFile(InClient(L"emptied.dat"), "");
    bench::WriteFile(InClient(L"same time.dat"), "X" + bytes.substr(1));
    bench::SetWriteTime(InClient(L"same time.dat"), bench::GetWriteTime(InPackage(names[3])));
    bench::WriteFile(InClient(L"of the tool's size.dat"), bench::kToolBytes);
    EXPECT_TRUE(Repair());
    for (const std::wstring& name : names) {
        EXPECT_EQ(bench::ReadFile(InClient(name)), bytes);
        EXPECT_EQ(bench::GetWriteTime(InClient(name)), bench::GetWriteTime(InPackage(name)));
    }
    ExpectCounters(6, 6, 5);
}

TEST_F(ClientRepair, CreatesEmptyFoldersAndKeepsFilesThatThePackageDoesNotHave) {
    fs::create_directories(InPackage(L"empty"));
    fs::create_directories(InPackage(L"outer\\inner"));
    bench::WriteFile(InClient(L"settings.ini"), "mine");
    bench::WriteFile(InClient(L"outer\\save.dat"), "mine too");
    EXPECT_TRUE(Repair());
    EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe", L"empty/", L"outer/", L"outer/inner/",
                                       L"outer/save.dat", L"settings.ini"));
    EXPECT_EQ(bench::ReadFile(InClient(L"settings.ini")), "mine");
    EXPECT_EQ(bench::ReadFile(InClient(L"outer\\save.dat")), "mine too");
    ExpectCounters(0, 0, 0);
    EXPECT_EQ(snapshot().detailLine, L"All files are already clean.");
}

TEST_F(ClientRepair, FillsAMissingClientFolderAndOneWithATrailingSeparator) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    for (const fs::path& client :
         {Scratch() / L"new" / L"client", fs::path(Client().native() + L"\\")}) {
        const bench::ToolLocation location(client, client / L"tool.exe");
        EXPECT_TRUE(Repair());
        EXPECT_EQ(bench::ReadFile(client / L"a.dat"), "a");
    }
}

TEST_F(ClientRepair, FillsADrivesRootWhateverIsCurrentOnTheDrive) {
    bench::WriteFile(InPackage(L"repair root test\\a.dat"), "a");
    const bench::CurrentFolder current(L"C:\\windows");
    // The part of "C:\tool.exe" before its last separator.
    const bench::ToolLocation location(L"C:", L"C:\\tool.exe");
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::ReadFile(L"C:\\repair root test\\a.dat"), "a");
    fs::remove(L"C:\\repair root test\\a.dat");
    fs::remove(L"C:\\repair root test");
}

TEST_F(ClientRepair, HandlesNamesWithBlanksAndUnicode) {
    const std::vector<std::wstring> names = {L" leading blank.dat",
                                             L"two  blanks.dat",
                                             L"\u00E4\u00F6\u00DF.dat",
                                             L"\u6F22\u5B57\\\u30C7.dat",
                                             L"\u0438\u0433\u0440\u0430.dat",
                                             L"\U0001F3AE\\\U0001F3AE.dat",
                                             L"a%20b;c,d'e(f)[g].dat",
                                             L".hidden",
                                             L"no extension"};
    for (const std::wstring& name : names) {
        bench::WriteFile(InPackage(name), "content");
    }
    EXPECT_TRUE(Repair());
    for (const std::wstring& name : names) {
        EXPECT_EQ(bench::ReadFile(InClient(name)), "content");
    }
    ExpectCounters(names.size(), names.size(), names.size());
}

TEST_F(ClientRepair, FindsTheClientsFilesInAnotherLetterCase) {
    bench::WriteFile(InPackage(L"Data\\Maps.dat"), "new");
    bench::WriteFile(InClient(L"DATA\\maps.DAT"), "old");
    EXPECT_TRUE(Repair());
    EXPECT_THAT(Listing(), ElementsAre(L"DATA/", L"DATA/maps.DAT", L"RepairTool.exe"));
    EXPECT_EQ(bench::ReadFile(InClient(L"DATA\\maps.DAT")), "new");
}

TEST_F(ClientRepair, AlignsTimesFromThreeSecondsOnInBothDirections) {
    constexpr int64_t kSourceTime = 0x01D0'0000'0000'0000;
    const std::pair<int64_t, bool> rows[] = {
        {0, false},
        {2 * kOneSecond, false},
        {kThreeSeconds - 1, false},
        {kThreeSeconds, true},
        {kThreeSeconds + 1, true},
        {1000 * kThreeSeconds, true},
    };
    WriteToBoth(L"a.dat", "same");
    bench::SetWriteTime(InPackage(L"a.dat"), kSourceTime);
    for (const auto& [difference, isAligned] : rows) {
        for (const int64_t time : {kSourceTime - difference, kSourceTime + difference}) {
            bench::SetWriteTime(InClient(L"a.dat"), static_cast<uint64_t>(time));
            EXPECT_TRUE(Repair());
            EXPECT_EQ(bench::GetWriteTime(InClient(L"a.dat")),
                      static_cast<uint64_t>(isAligned ? kSourceTime : time))
                << time - kSourceTime;
            ExpectCounters(1, 1, 0);
            EXPECT_EQ(snapshot().detailLine, L"All files are already clean.");
        }
    }
}

TEST_F(ClientRepair, PublishesEachFileBeforeTheWorkOnIt) {
    bench::WriteFile(InPackage(L"a.dat"), "a");
    bench::WriteFile(InPackage(L"data\\b.dat"), "b");
    WriteToBoth(L"same.dat", "same");
    // Of an earlier job.
    UpdateJobState([](JobState& state) { state.filesDone = state.filesRepaired = 99; });
    std::vector<std::wstring> published;
    uint64_t copies = 0;
    const auto hook =
        bench::HookCopy([&](const std::wstring& source, const std::wstring&) -> DWORD {
            const JobState state = snapshot();  // Would wait for ever if the lock were held.
            EXPECT_EQ(state.filesTotal, 3u);
            EXPECT_GT(state.filesDone, copies);
            EXPECT_EQ(state.filesRepaired, copies);
            EXPECT_EQ(state.stage, JobStage::Finishing);
            EXPECT_EQ(state.statusLine, L"Verifying client files...");
            EXPECT_TRUE(source.ends_with(state.detailLine.substr(std::size(L"Checking"))));
            published.push_back(state.detailLine);
            ++copies;
            return ERROR_SUCCESS;
        });
    EXPECT_TRUE(Repair());
    EXPECT_THAT(published, UnorderedElementsAre(L"Checking a.dat", L"Checking data\\b.dat"));
    ExpectCounters(3, 3, 2);
}

// The one needs no copy, the other is the tool itself.
TEST_F(ClientRepair, PublishesAFileBeforeItLooksAtIt) {
    for (const std::wstring name : {L"same.dat", L"RepairTool.exe"}) {
        WriteToBoth(name, bench::kToolBytes);
        std::vector<std::wstring> published;
        const auto hook = bench::HookOpen([&](const std::wstring& path) -> DWORD {
            if (path == InClient(name) && snapshot().filesDone == 1) {
                published.push_back(snapshot().detailLine);
            }
            return ERROR_SUCCESS;
        });
        EXPECT_TRUE(Repair());
        EXPECT_THAT(published, Contains(L"Checking " + name));
        ExpectCounters(1, 1, 0);
        fs::remove(InPackage(name));
    }
}

TEST_F(ClientRepair, ReinstallCopiesEveryFileAfterTheCleanOut) {
    WriteToBoth(L"same.dat", "same");
    WriteToBoth(L"data\\changed.dat", "new");
    bench::WriteFile(InClient(L"data\\changed.dat"), "old");
    bench::WriteFile(InClient(L"settings.ini"), "mine");
    bench::WriteFile(InClient(L"Uninstall.exe"), "old");
    std::vector<std::wstring> published;
    const auto hook = bench::HookCopy([&](const std::wstring&, const std::wstring&) -> DWORD {
        EXPECT_EQ(snapshot().statusLine, L"Reinstalling client...");
        EXPECT_FALSE(fs::exists(InClient(L"settings.ini")));
        published.push_back(snapshot().detailLine);
        return ERROR_SUCCESS;
    });
    EXPECT_TRUE(Reinstall());
    EXPECT_THAT(published,
                UnorderedElementsAre(L"Installing same.dat", L"Installing data\\changed.dat"));
    EXPECT_THAT(Listing(),
                ElementsAre(L"RepairTool.exe", L"data/", L"data/changed.dat", L"same.dat"));
    EXPECT_EQ(bench::ReadFile(InClient(L"data\\changed.dat")), "new");
    ExpectCounters(2, 2, 2);
    EXPECT_EQ(snapshot().detailLine, L"Reinstall complete.");
}

TEST_F(ClientRepair, ReinstallCopiesIdenticalFilesThatTheCleanOutCouldNotRemove) {
    WriteToBoth(L"same.dat", "same");
    // Whoever holds it lets it be overwritten, but not removed.
    const bench::OpenElsewhere opened(InClient(L"same.dat"), FILE_SHARE_READ | FILE_SHARE_WRITE);
    EXPECT_TRUE(Reinstall());
    ExpectCounters(1, 1, 1);
}

TEST_F(ClientRepair, AReinstallFromTheClientFolderItselfIsRefused) {
    bench::WriteFile(InClient(L"settings.ini"), "mine");
    for (const auto& [package, archive] :
         {std::pair{InClient(L"temp"), Scratch() / L"a.zip"}, {Package(), InClient(L"a.zip")}}) {
        bench::WriteFile(package / L"a.dat", "a");
        jobProgress.running = true;
        EXPECT_FALSE(VerifyAndRepairClient(package, true, archive));
        ExpectFailure(bench::kUnsafeReinstall);
        EXPECT_TRUE(fs::exists(InClient(L"settings.ini")));
    }
}

TEST_F(ClientRepair, NeitherJobOverwritesTheTool) {
    bench::WriteFile(InPackage(L"REPAIRTOOL.exe"), "another file of the package");
    bench::WriteFile(InPackage(L"a.dat"), "a");
    for (const bool reinstall : {false, true}) {
        EXPECT_TRUE(VerifyAndRepairClient(Package(), reinstall));
        EXPECT_EQ(bench::ReadFile(Tool()), bench::kToolBytes);
        EXPECT_THAT(Listing(), ElementsAre(L"RepairTool.exe", L"a.dat"));
        ExpectCounters(2, 2, 1);
        fs::remove(InClient(L"a.dat"));
    }
}

TEST_F(ClientRepair, DoesNotAlignTheToolsTime) {
    bench::WriteFile(InPackage(L"RepairTool.exe"), bench::kToolBytes);
    bench::SetWriteTime(InPackage(L"RepairTool.exe"), 0x01D0'0000'0000'0000);
    const uint64_t time = bench::GetWriteTime(Tool());
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::GetWriteTime(Tool()), time);
    ExpectCounters(1, 1, 0);
}

TEST_F(ClientRepair, DoesNotOverwriteTheToolByItsShortName) {
    const fs::path tool = InClient(L"The repair tool of the game.exe");
    bench::WriteFile(tool, "tool");
    const fs::path shortPath = bench::WithShortName(tool);
    SKIP_ON_WINDOWS_WITHOUT(!shortPath.empty(), "short names on this volume");
    const bench::ToolLocation location(Client(), tool);
    bench::WriteFile(InPackage(shortPath.filename()), "not the tool");
    EXPECT_TRUE(Repair());
    EXPECT_EQ(bench::ReadFile(tool), "tool");
    ExpectCounters(1, 1, 0);
}

TEST_F(ClientRepair, DoesNotWriteAToolThatWasRenamedAway) {
    fs::rename(Tool(), InClient(L"renamed.exe"));
    bench::WriteFile(InPackage(L"RepairTool.exe"), "package");
    EXPECT_TRUE(Repair());
    EXPECT_THAT(Listing(), ElementsAre(L"renamed.exe"));
    ExpectCounters(1, 1, 0);
}

// 500 folders of 200 files.
TEST_F(SlowClientRepair, FillsAndVerifiesAClientOfManyFiles) {
    constexpr uint64_t kTotal = 100'000;
    for (uint64_t i = 0; i < kTotal; ++i) {
        const auto name = std::to_wstring(i / 200) + L"\\" + std::to_wstring(i % 200);
        bench::WriteFile(InPackage(name), std::to_string(i));
    }
    EXPECT_TRUE(Repair());
    ExpectCounters(kTotal, kTotal, kTotal);
    bench::WriteFile(InClient(L"9\\199"), "changed");
    fs::remove(InClient(L"0\\0"));
    EXPECT_TRUE(Repair());
    ExpectCounters(kTotal, kTotal, 2);
}
