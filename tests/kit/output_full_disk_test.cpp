#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bench_parts/scratch_folder.h"
#include "bench_parts/unpacker_machine.h"
#include "kit/errors.h"
#include "kit/output_file.h"

namespace {

TEST(OutputFile, KeepsTheOldFileWhenTheDiskIsFull) {
    const std::filesystem::path disk = bench::EmptySmallDisk();
    bench::WriteFile(disk / L"a.zip", "old");
    std::string message;
    try {
        OutputFile file(disk / L"a.zip");
        for (int i = 0; i < 64; ++i) {
            file.Write(std::string(0x10000, 'x'));
        }
        file.Commit();
    } catch (const OutsideFailure& failure) {
        message = failure.what();
    }
    EXPECT_THAT(message, testing::HasSubstr("a.zip: "));
    EXPECT_THAT(message, testing::HasSubstr("(code 112)"));
    EXPECT_THAT(bench::FolderListing(disk), testing::ElementsAre(L"a.zip"));
    EXPECT_EQ(bench::ReadFile(disk / L"a.zip"), "old");
    bench::EmptySmallDisk();
}

}  // namespace
