// What a full disk does to unpacking and placing, and placing between two volumes: on a real, small
// disk.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bench_parts/package_contents.h"
#include "bench_parts/unpacker_machine.h"
#include "extract/archive_extraction.h"
#include "extract/folder_flattening.h"
#include "job/progress/job_progress.h"

namespace {

namespace fs = std::filesystem;

using bench::UnpackerMachine;

class SmallDisk : public testing::Test {
protected:
    void TearDown() override {
        bench::EmptySmallDisk();
    }
    const fs::path& Disk() const {
        return disk_;
    }
    const UnpackerMachine& Machine() const {
        return machine_;
    }
    // Leaves room for about half a megabyte.
    void NearlyFill() const {
        bench::WriteFile(disk_ / L"filling", std::string(1'500'000, 'f'));
    }

private:
    UnpackerMachine machine_;
    fs::path disk_ = bench::EmptySmallDisk();
};

TEST_F(SmallDisk, MakesZipAndRarFail) {
    NearlyFill();
    Machine().PutTar();
    Machine().PutPowerShell();
    Machine().PutSevenZip(Machine().ToolFolder() / L"7z.exe");
    EXPECT_FALSE(ExtractPackage(bench::PackagePath(L"zip_deflated.zip"), Disk() / L"staging"));
    EXPECT_THAT(snapshot().errorMessage, testing::StartsWith(L"ZIP extraction failed.\n"));
    EXPECT_FALSE(ExtractPackage(bench::PackagePath(L"rar5_plain.rar"), Disk() / L"staging"));
    EXPECT_THAT(snapshot().errorMessage,
                testing::StartsWith(L"RAR extraction failed with 7z.exe exit code 2."));
}

TEST_F(SmallDisk, StopsFilesAndFoldersThatAreMovedToIt) {
    NearlyFill();
    const fs::path folder = Machine().Root() / L"Data";
    const fs::path file = folder / L"sub" / L"a.dat";
    bench::WriteFile(file, std::string(1'000'000, 'a'));
    for (const fs::path& entry : {file, folder}) {
        DWORD error = ERROR_SUCCESS;
        EXPECT_FALSE(MoveEntryInto(entry, Disk(), error));
        EXPECT_EQ(error, DWORD{ERROR_DISK_FULL});
        EXPECT_EQ(bench::ReadFile(file).size(), 1'000'000u);
    }
}

TEST_F(SmallDisk, TakesFilesAndFoldersOfAnotherVolume) {
    const fs::path client = Machine().Root() / L"Client";
    bench::WriteFile(client / L"a.dat", "a");
    bench::WriteFile(client / L"Data" / L"sub" / L"b.dat", std::string(100'000, 'b'));
    fs::create_directories(client / L"Data" / L"empty");
    const bench::Contents expected = bench::FolderContents(client);
    DWORD error = ERROR_SUCCESS;

    EXPECT_TRUE(MoveEntryInto(client / L"a.dat", Disk(), error));
    EXPECT_TRUE(MoveEntryInto(client / L"Data", Disk(), error));

    EXPECT_EQ(bench::FirstDifference(expected, bench::FolderContents(Disk())), "");
    EXPECT_THAT(bench::FolderListing(client), testing::IsEmpty());
}

}  // namespace
