#include "job/job_flow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "bench_parts/call_hook.h"
#include "bench_parts/game_machine.h"
#include "config/tool_config.h"
#include "package/package_source.h"

namespace fs = std::filesystem;

namespace {

using testing::IsEmpty;

using JobFlowTest = bench::GameMachine;
using SlowHugePackageTest = bench::GameMachine;

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

TEST_F(JobFlowTest, StopComesTooLateOnceTheClientIsComplete) {
    const auto hook = bench::WatchCall<decltype(&::FindResourceW)>(
        bench::kKernel32, "FindResourceW", [](auto...) { requestCancel(); });
    RunJob(JobKind::Repair);
    EXPECT_TRUE(jobProgress.cancelRequested);
    ExpectSuccess(kRepairSuccess);
    EXPECT_EQ(bench::ReadFile(Client() / L"Uninstall.exe"), "the uninstaller's bytes");
}

TEST_F(JobFlowTest, KindThatIsNeitherBehavesAsARepair) {
    bench::WriteFile(Client() / L"mine", "mine");
    RunJob(static_cast<JobKind>(7));
    ExpectSuccess(kRepairSuccess);
    EXPECT_EQ(bench::ReadFile(Client() / L"mine"), "mine");
}

TEST_F(JobFlowTest, ReinstallAsksForTheConfiguredUrlWhicheverServerIsChosen) {
    toolConfig.multiRepairTool = true;
    toolConfig.archiveUrl = server_.Url(L"status/501");
    toolConfig.archiveMirrorUrls = {server_.Url(L"status/502")};
    primaryServerChosen = false;
    RunJob(JobKind::Reinstall);
    ExpectFailure(L"The server returned HTTP 501.");
}

// A file's bytes from `offset` on.
std::string BytesFrom(const fs::path& path, std::streamoff offset) {
    std::ifstream file(path, std::ios::binary);
    file.seekg(offset);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(SlowHugePackageTest, FileOfMoreThanFourGibibytesIsRepaired) {
    constexpr uint64_t kSize = 4'294'969'348;
    toolConfig.archiveUrl = PackageUrl(L"zip_huge.zip");
    // Only the last bytes differ.
    bench::MakeSparseFile(Client() / L"huge.dat", kSize);
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    EXPECT_EQ(fs::file_size(Client() / L"huge.dat"), kSize);
    EXPECT_EQ(BytesFrom(Client() / L"huge.dat", static_cast<std::streamoff>(kSize) - 4),
              std::string("\0end", 4));
}

}  // namespace
