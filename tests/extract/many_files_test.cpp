// The largest number of files. Takes minutes under Wine, most of them in the file system.

#include <gtest/gtest.h>

#include "bench_parts/package_contents.h"
#include "bench_parts/unpacker_machine.h"
#include "extract/archive_extraction.h"

namespace {

TEST(ManyFiles, AreUnpackedFromAZip) {
    const bench::UnpackerMachine machine;
    machine.PutTar();
    ASSERT_TRUE(ExtractPackage(bench::PackagePath(L"zip_100000.zip"), machine.StagingFolder()));
    EXPECT_EQ(bench::FirstDifference(bench::PackageContents(L"zip_100000.zip"),
                                     bench::FolderContents(machine.StagingFolder())),
              "");
}

}  // namespace
