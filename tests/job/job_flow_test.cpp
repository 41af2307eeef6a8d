#include "job/job_flow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cwchar>
#include <filesystem>
#include <string>

#include "bench_parts/game_machine.h"
#include "bench_parts/registry_entry.h"
#include "config/tool_config.h"
#include "package/package_source.h"

namespace fs = std::filesystem;

using bench::ReadKey;
using bench::StoredNumber;
using bench::StoredText;

namespace {

constexpr wchar_t kRar[] = L"rar5_plain.rar";

using testing::AnyOf;
using testing::IsEmpty;
using testing::SizeIs;

class JobFlowTest : public bench::GameMachine {};

std::wstring Today() {
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    std::array<wchar_t, 16> today{};
    std::swprintf(today.data(), today.size(), L"%04u%02u%02u", now.wYear, now.wMonth, now.wDay);
    return today.data();
}

// The first line of the first request.
std::string RequestedName(const bench::FaultServer& server) {
    const auto log = server.RequestLog();
    return log.empty() ? std::string() : log.front().requestLine;
}

TEST_F(JobFlowTest, RepairFillsAnEmptyClientFolderAndRepairsABrokenOne) {
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
    EXPECT_EQ(bench::ReadFile(Client() / L"Uninstall.exe"), "the uninstaller's bytes");
    EXPECT_THAT(TempFolder(), IsEmpty());
    resetForRetry();

    bench::WriteFile(Client() / L"data" / L"maps" / L"a.map", "broken");
    fs::remove(Client() / L"client.exe");
    bench::WriteFile(Client() / L"Uninstall.exe", std::string(10'000, 'o'));
    bench::WriteFile(Client() / L"data" / L"player settings.ini", "mine");
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    bench::Contents expected = LoneFolderPackage();
    expected[L"data/player settings.ini"] = "mine";
    EXPECT_EQ(bench::FirstDifference(expected, ClientContents()), "");
    EXPECT_EQ(bench::ReadFile(Client() / L"Uninstall.exe"), "the uninstaller's bytes");
    EXPECT_EQ(snapshot().filesRepaired, 2u);
}

TEST_F(JobFlowTest, ReinstallLeavesThePackageAndTheToolOnly) {
    bench::WriteFile(Client() / L"data" / L"player settings.ini", "mine");
    bench::WriteFile(Client() / L"old" / L"deep" / L"file", "old");
    bench::WriteFile(Client() / L"client.exe", "old");
    RunJob(JobKind::Reinstall);
    ExpectSuccess(L"Reinstall complete.");
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
    EXPECT_THAT(TempFolder(), IsEmpty());
}

TEST_F(JobFlowTest, RarPackageIsUnpackedByAProgramBesideTheTool) {
    machine_.PutSevenZip(Client() / L"7z.exe");
    toolConfig.archiveUrl = PackageUrl(kRar);
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    bench::Contents client = ClientContents();
    client.erase(L"7z.exe");
    client.erase(L"7z.dll");
    EXPECT_EQ(bench::FirstDifference(bench::PackageContents(kRar), client), "");
}

TEST_F(JobFlowTest, FilesGetThePackagesTimeStamps) {
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    const uint64_t first = bench::GetWriteTime(Client() / L"client.exe");
    bench::SetWriteTime(Client() / L"client.exe", first + 50'000'000);
    resetForRetry();
    RunJob(JobKind::Repair);
    EXPECT_EQ(bench::GetWriteTime(Client() / L"client.exe"), first);
    EXPECT_EQ(snapshot().filesRepaired, 0u);
}

TEST_F(JobFlowTest, EntersTheGameIntoTheListOfInstalledPrograms) {
    toolConfig.websiteUrl = L"https://karvoth.example/";
    const std::wstring dayBefore = Today();
    RunJob(JobKind::Repair);
    const std::wstring dayAfter = Today();
    ExpectSuccess(kRepairSuccess);
    const auto entry = ReadKey(kEntryKey);
    ASSERT_TRUE(entry);
    const std::wstring folder = Client().native();
    EXPECT_EQ(entry->at(L"DisplayName"), StoredText(L"Karvoth"));
    EXPECT_EQ(entry->at(L"Publisher"), StoredText(L"Brennick"));
    EXPECT_EQ(entry->at(L"DisplayVersion"), StoredText(L"2.0.0"));
    EXPECT_EQ(entry->at(L"InstallLocation"), StoredText(folder));
    EXPECT_EQ(entry->at(L"UninstallString"), StoredText(L"\"" + folder + L"\\Uninstall.exe\""));
    EXPECT_EQ(entry->at(L"DisplayIcon"), StoredText(folder + L"\\client.exe,0"));
    EXPECT_THAT(entry->at(L"InstallDate"), AnyOf(StoredText(dayBefore), StoredText(dayAfter)));
    EXPECT_EQ(entry->at(L"URLInfoAbout"), StoredText(L"https://karvoth.example/"));
    EXPECT_EQ(entry->at(L"NoModify"), StoredNumber(1));
    EXPECT_EQ(entry->at(L"NoRepair"), StoredNumber(1));
    uint64_t bytes = kToolBytes.size() + fs::file_size(Client() / L"Uninstall.exe");
    for (const auto& [name, content] : ClientContents()) {
        bytes += content.size();
    }
    EXPECT_EQ(entry->at(L"EstimatedSize"),
              StoredNumber(static_cast<uint32_t>((bytes + 1023) / 1024)));
    EXPECT_THAT(*entry, SizeIs(11));
}

// The servers.

TEST_F(JobFlowTest, GivenUrlIsAskedInsteadOfTheConfiguredOne) {
    toolConfig.archiveUrl = server_.Url(L"status/500");
    RunJob(JobKind::Repair, L" \t" + PackageUrl(kZip) + L"\r\n");
    ExpectSuccess(kRepairSuccess);
    EXPECT_EQ(RequestedName(server_),
              "GET " + server_.ObjectName("archive/zip_lone_folder.zip") + " HTTP/1.1");
}

TEST_F(JobFlowTest, EachServerChoiceAsksForItsOwnPackage) {
    toolConfig.multiRepairTool = true;
    toolConfig.archiveUrl = server_.Url(L"status/501");
    toolConfig.archiveMirrorUrls = {server_.Url(L"status/502"), server_.Url(L"status/503")};
    RunJob(JobKind::Repair, ChoosePackageUrl(toolConfig, true));
    ExpectFailure(L"The server returned HTTP 501.");
    resetForRetry();
    RunJob(JobKind::Repair, ChoosePackageUrl(toolConfig, false));
    ExpectFailure(L"The server returned HTTP 502.");
}

TEST_F(JobFlowTest, ReinstallAsksForTheConfiguredUrlWhicheverServerIsChosen) {
    toolConfig.multiRepairTool = true;
    toolConfig.archiveUrl = server_.Url(L"status/501");
    toolConfig.archiveMirrorUrls = {server_.Url(L"status/502")};
    for (const bool primary : {true, false}) {
        primaryServerChosen = primary;
        RunJob(JobKind::Reinstall);
        ExpectFailure(L"The server returned HTTP 501.");
        resetForRetry();
    }
}

TEST_F(JobFlowTest, ConfiguredUrlWithBlanksAroundItIsTrimmedForTheJob) {
    toolConfig.archiveUrl = L"  " + PackageUrl(kZip) + L" ";
    RunJob(JobKind::Repair);
    EXPECT_EQ(selectedPackageUrl, toolConfig.archiveUrl);
    ExpectSuccess(kRepairSuccess);
}

}  // namespace
