// A client on a disk that has no room for the package.

#include <gtest/gtest.h>

#include <string>

#include "bench_parts/unpacker_machine.h"
#include "job/client/client_folders.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

using ClientRepairOnAFullDisk = bench::ClientTest;

TEST_F(ClientRepairOnAFullDisk, FailsAtTheFileThatFindsNoRoomUntilThereIsRoom) {
    constexpr uint64_t kFiles = 4;
    for (uint64_t i = 0; i < kFiles; ++i) {
        bench::WriteFile(InPackage(std::to_wstring(i)),
                         std::string(300'000, static_cast<char>('a' + i)));
    }
    const fs::path disk = bench::EmptySmallDisk();
    bench::WriteFile(disk / L"filling", std::string(1'400'000, 'f'));
    const fs::path client = disk / L"client";
    const bench::ToolLocation location(client, client / L"RepairTool.exe");

    EXPECT_FALSE(Repair());

    const JobState state = snapshot();
    uint64_t intactFiles = 0;
    bool isBrokenOneNamed = false;
    for (uint64_t i = 0; i < kFiles; ++i) {
        const std::wstring name = std::to_wstring(i);
        const bool isIntact = fs::exists(client / name) &&
                              bench::ReadFile(client / name) == bench::ReadFile(InPackage(name));
        intactFiles += isIntact ? 1 : 0;
        isBrokenOneNamed =
            isBrokenOneNamed ||
            (!isIntact && state.errorMessage == L"Could not repair this file: " + name);
    }
    EXPECT_TRUE(isBrokenOneNamed) << state.errorMessage;
    EXPECT_GT(intactFiles, 0u);
    ExpectCounters(kFiles, intactFiles + 1, intactFiles);

    fs::remove(disk / L"filling");
    EXPECT_TRUE(Repair());
    ExpectCounters(kFiles, kFiles, kFiles - intactFiles);
    bench::EmptySmallDisk();
}
