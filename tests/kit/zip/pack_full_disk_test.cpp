// What a full disk does to packing: on a real, small disk.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "bench_parts/unpacker_machine.h"
#include "kit/exit_codes.h"
#include "kit_process.h"

namespace {

namespace fs = std::filesystem;

TEST(PackToAFullDisk, KeepsTheOldPackageAndLeavesNothingElse) {
    const bench::ScratchFolder scratch;
    const fs::path disk = bench::EmptySmallDisk();
    const fs::path package = disk / L"package.zip";
    bench::WriteFile(package, "the old package");
    std::mt19937 random(1);
    std::string noise(3'000'000, '\0');
    for (char& each : noise) {
        each = static_cast<char>(random());
    }
    bench::WriteFile(scratch.Path() / L"client" / L"noise.bin", noise);
    const kit_test::KitRun run =
        kit_test::RunRepairKit(L"pack \"" + (scratch.Path() / L"client").native() + L"\" -o \"" +
                               package.native() + L"\"");
    EXPECT_EQ(static_cast<ExitCode>(run.exitCode), ExitCode::OutsideFailure);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.error, testing::HasSubstr("code " + std::to_string(ERROR_DISK_FULL)));
    EXPECT_EQ(bench::ReadFile(package), "the old package");
    EXPECT_THAT(bench::FolderListing(disk), testing::ElementsAre(L"package.zip"));
    bench::EmptySmallDisk();
}

}  // namespace
