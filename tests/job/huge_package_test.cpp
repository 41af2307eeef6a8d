// A package with a file of more than 4 GiB.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "bench_parts/game_machine.h"
#include "config/tool_config.h"

namespace fs = std::filesystem;

namespace {

using SlowHugePackageTest = bench::GameMachine;

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
