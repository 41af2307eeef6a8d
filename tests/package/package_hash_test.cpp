#include "package/package_hash.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "bench_parts/failed_job.h"
#include "bench_parts/fault_server_client.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/scratch_folder.h"
#include "config/tool_config.h"
#include "job/progress/job_progress.h"
#include "package/bcrypt_api.h"
#include "package/failing_functions.h"

namespace {

constexpr wchar_t kBcrypt[] = L"bcrypt.dll";
constexpr size_t kMebibyte = 0x100000;

// FIPS 180-4's example and the digest of an empty file.
constexpr wchar_t kDigestOfAbc[] =
    L"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
constexpr wchar_t kDigestOfNothing[] =
    L"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

class PackageHash : public testing::Test, protected bench::FailedJob {
protected:
    void SetUp() override {
        toolConfig = ToolConfig{};
        ClearForJobStart(JobKind::Repair);
    }
    void TearDown() override {
        toolConfig = ToolConfig{};
        resetJobProgress();
    }

    bool Verify(std::string_view content, std::wstring_view configuredDigest) {
        bench::WriteFile(archive_, content);
        toolConfig.archiveSha256 = configuredDigest;
        return VerifyPackage(archive_);
    }

    // The digest cannot be computed, and the stage reports that.
    void ExpectCannotBeComputed() {
        ClearForJobStart(JobKind::Repair);
        std::wstring hex = L"left over";
        EXPECT_FALSE(ComputeFileSha256(archive_, hex));
        EXPECT_EQ(hex, L"");
        toolConfig.archiveSha256 = kDigestOfAbc;
        EXPECT_FALSE(VerifyPackage(archive_));
        ExpectFailure(L"Could not verify the downloaded package.");
    }

    bench::ScratchFolder scratch_;
    const std::filesystem::path archive_ = scratch_.Path() / L"P\u00E4ck 'n' \u4FEE\u7406.zip";
};

constexpr wchar_t kMismatch[] =
    L"The downloaded package hash does not match the configured SHA-256.";

std::wstring DigestOf(const std::filesystem::path& path) {
    std::wstring hex;
    EXPECT_TRUE(ComputeFileSha256(path, hex));
    return hex;
}

TEST_F(PackageHash, ComputesKnownDigests) {
    struct Row {
        std::string content;
        std::wstring digest;
    };
    const Row rows[] = {
        {"", kDigestOfNothing},
        {"abc", kDigestOfAbc},
        {bench::PatternBytes(kMebibyte - 1),
         L"8b55c6a2d3444092a316985030e00c1e6f8608eaf912c896dee7c374d440ed11"},
        {bench::PatternBytes(kMebibyte),
         L"631b84027d6b9e52b539c4e8373622d23032dfadc64d60af87339c9037e4f769"},
        {bench::PatternBytes(kMebibyte + 1),
         L"5769f52bc3eef28afa39c6fc68cadb7d0bd69812ae3a3d71452f519ec3c7aa56"},
        {bench::PatternBytes(3 * kMebibyte + 5),
         L"b01669d77761c4dfdfc8fb927821087bcf5c9ef1f917c4f1f8504e529f19edab"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.content.size());
        bench::WriteFile(archive_, row.content);
        EXPECT_EQ(DigestOf(archive_), row.digest);
    }
}

TEST_F(PackageHash, ReadsReadOnlyPackagesAndPackagesOpenForWriting) {
    bench::WriteFile(archive_, "abc");
    const bench::OpenElsewhere writer(archive_, FILE_SHARE_READ | FILE_SHARE_WRITE, GENERIC_WRITE);
    EXPECT_EQ(DigestOf(archive_), kDigestOfAbc);
    const std::filesystem::path readOnly = scratch_.Path() / L"read-only.zip";
    bench::WriteFile(readOnly, "abc");
    bench::SetReadOnly(readOnly, true);
    EXPECT_EQ(DigestOf(readOnly), kDigestOfAbc);
}

TEST_F(PackageHash, SkipsTheCheckSilentlyWithoutADigest) {
    for (const wchar_t* const nothing : {L"", L" ", L" \t\r\n"}) {
        reportStage(JobStage::Downloading, L"status", L"detail");
        toolConfig.archiveSha256 = nothing;
        EXPECT_TRUE(VerifyPackage(scratch_.Path() / L"missing.zip"));
        const JobState state = snapshot();
        EXPECT_EQ(state.stage, JobStage::Downloading);
        EXPECT_EQ(state.statusLine, L"status");
        EXPECT_EQ(state.detailLine, L"detail");
    }
}

TEST_F(PackageHash, AcceptsTheRightDigestAndLeavesTheStagesTexts) {
    jobProgress.cancelRequested = true;  // Not looked at.
    EXPECT_TRUE(Verify("abc", kDigestOfAbc));
    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::VerifyingPackage);
    EXPECT_EQ(state.statusLine, L"Verifying package...");
    EXPECT_EQ(state.detailLine, L"Checking SHA-256 hash...");
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_EQ(bench::ReadFile(archive_), "abc");
    EXPECT_TRUE(Verify("", kDigestOfNothing));
}

TEST_F(PackageHash, PublishesTheStageBeforeItReads) {
    JobState seen;
    const auto hook = bench::WatchCall<decltype(&::BCryptCreateHash)>(
        kBcrypt, "BCryptCreateHash", [&](auto...) { seen = snapshot(); });
    EXPECT_TRUE(Verify("abc", kDigestOfAbc));
    EXPECT_EQ(seen.stage, JobStage::VerifyingPackage);
    EXPECT_EQ(seen.statusLine, L"Verifying package...");
}

TEST_F(PackageHash, AcceptsUpperCaseAndGroupedDigests) {
    EXPECT_TRUE(Verify(
        "abc", L" \tBA78:16BF-8F01 CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD\r\n"));
}

TEST_F(PackageHash, RefusesADigestThatDiffers) {
    const std::wstring right = kDigestOfAbc;
    const std::wstring wrongOnes[] = {
        kDigestOfNothing,
        right.substr(0, 63),
        right.substr(1),
        right + L"0",
        right.substr(0, 63) + L"c",
        L"c" + right.substr(1),
        L"sha256:" + right,
        L"-",
        L"none",
    };
    for (const std::wstring& wrong : wrongOnes) {
        SCOPED_TRACE(testing::PrintToString(wrong));
        ClearForJobStart(JobKind::Repair);
        EXPECT_FALSE(Verify("abc", wrong));
        ExpectFailure(kMismatch);
    }
    EXPECT_EQ(bench::ReadFile(archive_), "abc");
    ClearForJobStart(JobKind::Repair);
    EXPECT_FALSE(Verify("", kDigestOfAbc));
    ExpectFailure(kMismatch);
}

TEST_F(PackageHash, FailsForAPackageThatCannotBeOpened) {
    ExpectCannotBeComputed();
    std::filesystem::create_directory(archive_);
    ExpectCannotBeComputed();
    std::filesystem::remove(archive_);
    bench::WriteFile(archive_, "abc");
    const bench::OpenElsewhere owner(archive_, 0);
    ExpectCannotBeComputed();
}

TEST_F(PackageHash, ReadsInPiecesOfOneMebibyteAndFailsWithOneOfThem) {
    bench::WriteFile(archive_, bench::PatternBytes(2 * kMebibyte + 1));
    std::vector<DWORD> sizes;
    DWORD error = ERROR_SUCCESS;
    const auto hook = bench::HookRead([&](DWORD size) {
        sizes.push_back(size);
        return sizes.size() == 2 ? error : ERROR_SUCCESS;
    });
    DigestOf(archive_);
    EXPECT_THAT(sizes, testing::AllOf(testing::SizeIs(4), testing::Each(DWORD{kMebibyte})));
    error = ERROR_CRC;
    sizes.clear();
    std::wstring hex;
    EXPECT_FALSE(ComputeFileSha256(archive_, hex));
    EXPECT_EQ(hex, L"");
}

template <bench::FunctionName kName, class Function>
using HashFunction = bench::FailingFunction<kBcrypt, kName, Function>;

TEST_F(PackageHash, FailsWithEachCallAndGivesHashAndProviderBack) {
    const std::tuple<
        HashFunction<"BCryptOpenAlgorithmProvider", decltype(&::BCryptOpenAlgorithmProvider)>,
        HashFunction<"BCryptGetProperty", decltype(&::BCryptGetProperty)>,
        HashFunction<"BCryptCreateHash", decltype(&::BCryptCreateHash)>,
        HashFunction<"BCryptHashData", decltype(&::BCryptHashData)>,
        HashFunction<"BCryptFinishHash", decltype(&::BCryptFinishHash)>,
        HashFunction<"BCryptDestroyHash", decltype(&::BCryptDestroyHash)>,
        HashFunction<"BCryptCloseAlgorithmProvider", decltype(&::BCryptCloseAlgorithmProvider)>>
        functions;
    bench::WriteFile(archive_, "abc");
    EXPECT_EQ(DigestOf(archive_), kDigestOfAbc);
    EXPECT_EQ(bench::openHandles, 0);
    for (const char* const failing : {"BCryptOpenAlgorithmProvider", "BCryptGetProperty",
                                      "BCryptCreateHash", "BCryptHashData", "BCryptFinishHash"}) {
        SCOPED_TRACE(failing);
        bench::failingFunction = failing;
        ExpectCannotBeComputed();
        EXPECT_EQ(bench::openHandles, 0);
    }
    bench::failingFunction = {};
    EXPECT_TRUE(::DeleteFileW(archive_.c_str())) << "the file is still open";
}

}  // namespace
