// A client on a disk that has no room for the package.

#include <gtest/gtest.h>

#include <string>

#include "bench_parts/unpacker_machine.h"
#include "job/client/client_folders.h"
#include "job/client/client_repair.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

TEST(ClientRepairOnAFullDisk, FailsAtTheFileThatFindsNoRoomAndKeepsTheOthers) {
    const fs::path disk = bench::EmptySmallDisk();
    constexpr int kFileCount = 10;
    const bench::ClientFolders folders;
    for (int i = 0; i < kFileCount; ++i) {
        bench::WriteFile(folders.InPackage(std::to_wstring(i)),
                         std::string(300'000, static_cast<char>('a' + i)));
    }
    const fs::path client = disk / L"client";
    const bench::ToolLocation location(client, client / L"RepairTool.exe");

    EXPECT_FALSE(VerifyAndRepairClient(folders.Package(), false));

    const JobState state = snapshot();
    const std::wstring message = L"Could not repair this file: ";
    ASSERT_TRUE(state.errorMessage.starts_with(message));
    const std::wstring failedFile = state.errorMessage.substr(message.size());
    EXPECT_GT(state.filesRepaired, 0u);
    EXPECT_LT(state.filesRepaired, static_cast<uint64_t>(kFileCount));
    uint64_t intactFiles = 0;
    for (int i = 0; i < kFileCount; ++i) {
        const std::wstring name = std::to_wstring(i);
        if (name != failedFile && fs::exists(client / name)) {
            EXPECT_EQ(bench::ReadFile(client / name), bench::ReadFile(folders.InPackage(name)));
            ++intactFiles;
        }
    }
    EXPECT_EQ(intactFiles, state.filesRepaired);
    EXPECT_NE(bench::ReadFile(folders.InPackage(failedFile)), bench::ReadFile(client / failedFile));
    bench::EmptySmallDisk();
}
