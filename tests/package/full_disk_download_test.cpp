#include <gtest/gtest.h>

#include <string>

#include "bench_parts/unpacker_machine.h"
#include "common/files.h"
#include "package/download_fixture.h"

namespace {

using bench::DownloadTest;
using bench::kMebibyte;

using FullDiskDownload = DownloadTest;

TEST_F(FullDiskDownload, KeepsWhatFitsOnASmallDisk) {
    const std::filesystem::path disk = bench::EmptySmallDisk();
    // Of the disk's 2 MB, the first read of 1 MiB then fits, and a part of the second.
    bench::WriteFile(disk / L"other.bin", std::string(700000, 'x'));
    const std::filesystem::path package = disk / L"pkg.zip";
    EXPECT_FALSE(DownloadPackage(server_.Url(L"body/5000000"), package));
    ExpectFailure(L"Could not write the downloaded data to disk.");
    EXPECT_GT(FileSize(package).value_or(0), kMebibyte);
    EXPECT_EQ(snapshot().bytesReceived, kMebibyte);
    EXPECT_EQ(snapshot().bytesPerSecond, 0.0);
    EXPECT_TRUE(::DeleteFileW(package.c_str()));
}

}  // namespace
