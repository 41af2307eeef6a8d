#include "package/package_hash.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cwctype>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/fault_server_client.h"
#include "bench_parts/scratch_folder.h"
#include "config/tool_config.h"
#include "job/progress/job_progress.h"
#include "package/bcrypt_api.h"

namespace {

constexpr wchar_t kBcrypt[] = L"bcrypt.dll";
constexpr wchar_t kKernel32[] = L"kernel32.dll";
constexpr NTSTATUS kStatusUnsuccessful = static_cast<NTSTATUS>(0xC0000001);
constexpr size_t kMebibyte = 0x100000;

// FIPS 180-4's example and the digest of nothing.
constexpr wchar_t kDigestOfAbc[] =
    L"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
constexpr wchar_t kDigestOfNothing[] =
    L"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

class PackageHash : public testing::Test {
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

    static void ExpectFailure(const std::wstring& message) {
        const JobState state = snapshot();
        EXPECT_EQ(state.stage, JobStage::Failed);
        EXPECT_EQ(state.detailLine, message);
        EXPECT_EQ(state.errorMessage, message);
        EXPECT_TRUE(jobProgress.failed);
    }

    // The digest cannot be computed, and the stage says so.
    void ExpectCannotBeComputed() {
        std::wstring hex = L"left over";
        EXPECT_FALSE(ComputeFileSha256(archive_, hex));
        EXPECT_EQ(hex, L"");
        toolConfig.archiveSha256 = kDigestOfAbc;
        EXPECT_FALSE(VerifyPackage(archive_));
        ExpectFailure(L"Could not verify the downloaded package.");
    }

    bench::ScratchFolder scratch_;
    const std::filesystem::path archive_ = scratch_.Path() / L"pkg.zip";
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

TEST_F(PackageHash, ReadsPackagesThatSomebodyElseHasOpen) {
    bench::WriteFile(archive_, "abc");
    const bench::OpenElsewhere writer(archive_, FILE_SHARE_READ | FILE_SHARE_WRITE, GENERIC_WRITE);
    EXPECT_EQ(DigestOf(archive_), kDigestOfAbc);
}

TEST_F(PackageHash, ReadsReadOnlyPackagesOfAnyName) {
    const std::filesystem::path odd = scratch_.Path() / L"P\u00E4ck 'n' \u4FEE\u7406.zip";
    bench::WriteFile(odd, "abc");
    bench::SetReadOnly(odd, true);
    EXPECT_EQ(DigestOf(odd), kDigestOfAbc);
}

TEST_F(PackageHash, ReadsInPiecesOfOneMebibyteIntoOneZeroedBuffer) {
    bench::WriteFile(archive_, bench::PatternBytes(2 * kMebibyte + 1));
    std::vector<DWORD> sizes;
    std::vector<LPVOID> buffers;
    bool isZeroed = false;
    const auto hook = bench::HookCall<decltype(&::ReadFile)>(
        kKernel32, "ReadFile",
        [&](HANDLE file, LPVOID buffer, DWORD size, LPDWORD bytesRead, LPOVERLAPPED overlapped) {
            if (buffers.empty()) {
                const std::string_view bytes(static_cast<const char*>(buffer), size);
                isZeroed = bytes.find_first_not_of('\0') == std::string_view::npos;
            }
            sizes.push_back(size);
            buffers.push_back(buffer);
            return bench::RealFunction<decltype(&::ReadFile)>(kKernel32, "ReadFile")(
                file, buffer, size, bytesRead, overlapped);
        });
    DigestOf(archive_);
    EXPECT_THAT(sizes, testing::AllOf(testing::SizeIs(4), testing::Each(DWORD{kMebibyte})));
    EXPECT_TRUE(isZeroed);
    EXPECT_THAT(buffers, testing::Each(buffers.front()));
}

TEST_F(PackageHash, NormalizesDigests) {
    struct Row {
        std::wstring text;
        std::wstring digits;
    };
    const Row rows[] = {
        {L"0123456789abcdef", L"0123456789abcdef"},
        {L"ABCDEF", L"abcdef"},
        {L" \t12:34-56 78\r\n", L"12345678"},
        {L"sha256:ab", L"a256ab"},
        {L"-", L""},
        {L"", L""},
        {L"ghxyzGHXYZ@`/:", L""},
        {L"\uFF11\uFF21", L""},  // Full-width "1" and "A".
        {L"\u0430\u00AA", L""},  // Cyrillic "a", feminine ordinal.
    };
    for (const Row& row : rows) {
        EXPECT_EQ(NormalizeHexDigest(row.text), row.digits);
    }
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
    EXPECT_TRUE(Verify("abc", kDigestOfAbc));
    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::VerifyingPackage);
    EXPECT_EQ(state.statusLine, L"Verifying package...");
    EXPECT_EQ(state.detailLine, L"Checking SHA-256 hash...");
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_EQ(bench::ReadFile(archive_), "abc");
}

TEST_F(PackageHash, PublishesTheStageBeforeItReads) {
    JobState seen;
    const auto hook = bench::HookCall<decltype(&::BCryptCreateHash)>(kBcrypt, "BCryptCreateHash",
                                                                     [&](auto...) -> NTSTATUS {
                                                                         seen = snapshot();
                                                                         return kStatusUnsuccessful;
                                                                     });
    EXPECT_FALSE(Verify("abc", kDigestOfAbc));
    EXPECT_EQ(seen.stage, JobStage::VerifyingPackage);
    EXPECT_EQ(seen.statusLine, L"Verifying package...");
}

TEST_F(PackageHash, AcceptsUpperCaseAndGroupedDigests) {
    std::wstring upper;
    std::wstring blanks;
    std::wstring colons;
    std::wstring dashes;
    for (size_t i = 0; kDigestOfAbc[i] != L'\0'; i += 2) {
        const std::wstring pair(kDigestOfAbc + i, 2);
        blanks += pair + L" ";
        colons += (i == 0 ? L"" : L":") + pair;
        dashes += (i == 0 ? L"" : L"-") + pair;
    }
    for (const wchar_t digit : std::wstring(kDigestOfAbc)) {
        upper += static_cast<wchar_t>(std::towupper(digit));
    }
    for (const std::wstring& digest :
         {upper, blanks, colons, dashes, L" \t" + upper + L"\r\n", std::wstring(kDigestOfAbc)}) {
        EXPECT_TRUE(Verify("abc", digest)) << testing::PrintToString(digest);
    }
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
}

TEST_F(PackageHash, ComparesAnEmptyPackageLikeAnyOther) {
    EXPECT_TRUE(Verify("", kDigestOfNothing));
    EXPECT_FALSE(Verify("", kDigestOfAbc));
    ExpectFailure(kMismatch);
}

TEST_F(PackageHash, DoesNotLookAtTheStopFlag) {
    jobProgress.cancelRequested = true;
    EXPECT_TRUE(Verify("abc", kDigestOfAbc));
}

TEST_F(PackageHash, FailsWithoutAFile) {
    ExpectCannotBeComputed();
}

TEST_F(PackageHash, BeginsNoHashWithoutAFile) {
    int calls = 0;
    const auto hook = bench::HookCall<decltype(&::BCryptOpenAlgorithmProvider)>(
        kBcrypt, "BCryptOpenAlgorithmProvider", [&](auto...) {
            ++calls;
            return kStatusUnsuccessful;
        });
    ExpectCannotBeComputed();
    EXPECT_EQ(calls, 0);
}

TEST_F(PackageHash, FailsForAFolder) {
    std::filesystem::create_directory(archive_);
    ExpectCannotBeComputed();
}

TEST_F(PackageHash, FailsForAFileThatNobodyElseMayOpen) {
    bench::WriteFile(archive_, "abc");
    const bench::OpenElsewhere owner(archive_, 0);
    ExpectCannotBeComputed();
}

TEST_F(PackageHash, FailsWhenAReadFailsInTheMiddle) {
    bench::WriteFile(archive_, bench::PatternBytes(2 * kMebibyte));
    int calls = 0;
    const auto hook = bench::HookCall<decltype(&::ReadFile)>(
        kKernel32, "ReadFile",
        [&](HANDLE file, LPVOID buffer, DWORD size, LPDWORD bytesRead, LPOVERLAPPED overlapped) {
            if (++calls % 2 == 0) {
                ::SetLastError(ERROR_CRC);
                return FALSE;
            }
            return bench::RealFunction<decltype(&::ReadFile)>(kKernel32, "ReadFile")(
                file, buffer, size, bytesRead, overlapped);
        });
    ExpectCannotBeComputed();
}

// How often the hash handles are given back, seen from inside the test program.
class HashHandleCount {
public:
    int destroyedHashes = 0;
    int closedProviders = 0;

private:
    struct OnDestroy {
        int* counter;
        NTSTATUS operator()(BCRYPT_HASH_HANDLE hash) const {
            ++*counter;
            return bench::RealFunction<decltype(&::BCryptDestroyHash)>(kBcrypt,
                                                                       "BCryptDestroyHash")(hash);
        }
    };
    struct OnClose {
        int* counter;
        NTSTATUS operator()(BCRYPT_ALG_HANDLE provider, ULONG flags) const {
            EXPECT_EQ(flags, 0u);
            ++*counter;
            return bench::RealFunction<decltype(&::BCryptCloseAlgorithmProvider)>(
                kBcrypt, "BCryptCloseAlgorithmProvider")(provider, flags);
        }
    };

    bench::CallHook<decltype(&::BCryptDestroyHash), OnDestroy> destroy_{
        kBcrypt, "BCryptDestroyHash", OnDestroy{&destroyedHashes}};
    bench::CallHook<decltype(&::BCryptCloseAlgorithmProvider), OnClose> close_{
        kBcrypt, "BCryptCloseAlgorithmProvider", OnClose{&closedProviders}};
};

TEST_F(PackageHash, GivesHashAndProviderBackAfterSuccess) {
    bench::WriteFile(archive_, "abc");
    const HashHandleCount count;
    DigestOf(archive_);
    EXPECT_EQ(count.destroyedHashes, 1);
    EXPECT_EQ(count.closedProviders, 1);
    EXPECT_TRUE(::DeleteFileW(archive_.c_str()));
}

TEST_F(PackageHash, FailsWhenTheProviderCannotBeOpened) {
    bench::WriteFile(archive_, "abc");
    const auto hook = bench::HookCall<decltype(&::BCryptOpenAlgorithmProvider)>(
        kBcrypt, "BCryptOpenAlgorithmProvider",
        [](BCRYPT_ALG_HANDLE*, LPCWSTR algorithm, LPCWSTR implementation, ULONG flags) {
            EXPECT_STREQ(algorithm, L"SHA256");
            EXPECT_EQ(implementation, nullptr);
            EXPECT_EQ(flags, 0u);
            return kStatusUnsuccessful;
        });
    ExpectCannotBeComputed();
}

TEST_F(PackageHash, FailsWhenTheObjectLengthIsUnknown) {
    bench::WriteFile(archive_, "abc");
    const HashHandleCount count;
    const auto hook = bench::HookCall<decltype(&::BCryptGetProperty)>(
        kBcrypt, "BCryptGetProperty",
        [](BCRYPT_HANDLE, LPCWSTR property, PUCHAR, ULONG bytes, ULONG*, ULONG flags) {
            EXPECT_STREQ(property, L"ObjectLength");
            EXPECT_EQ(bytes, 4u);
            EXPECT_EQ(flags, 0u);
            return kStatusUnsuccessful;
        });
    ExpectCannotBeComputed();
    EXPECT_EQ(count.destroyedHashes, 0);
    EXPECT_EQ(count.closedProviders, 2);
}

TEST_F(PackageHash, FailsWhenTheHashCannotBeCreated) {
    bench::WriteFile(archive_, "abc");
    const HashHandleCount count;
    const auto hook = bench::HookCall<decltype(&::BCryptCreateHash)>(
        kBcrypt, "BCryptCreateHash",
        [](BCRYPT_ALG_HANDLE provider, BCRYPT_HASH_HANDLE*, PUCHAR, ULONG objectBytes,
           PUCHAR secret, ULONG secretBytes, ULONG flags) {
            ULONG wanted = 0;
            ULONG written = 0;
            EXPECT_EQ(
                ::BCryptGetProperty(provider, L"ObjectLength", reinterpret_cast<PUCHAR>(&wanted),
                                    sizeof wanted, &written, 0),
                0);
            EXPECT_EQ(objectBytes, wanted);
            EXPECT_EQ(secret, nullptr);
            EXPECT_EQ(secretBytes, 0u);
            EXPECT_EQ(flags, 0u);
            return kStatusUnsuccessful;
        });
    ExpectCannotBeComputed();
    EXPECT_EQ(count.closedProviders, 2);
}

TEST_F(PackageHash, FailsWhenHashingFails) {
    bench::WriteFile(archive_, "abc");
    const HashHandleCount count;
    const auto hook = bench::HookCall<decltype(&::BCryptHashData)>(
        kBcrypt, "BCryptHashData", [](BCRYPT_HASH_HANDLE, PUCHAR, ULONG bytes, ULONG flags) {
            EXPECT_EQ(bytes, 3u);
            EXPECT_EQ(flags, 0u);
            return kStatusUnsuccessful;
        });
    ExpectCannotBeComputed();
    EXPECT_EQ(bench::ReadFile(archive_), "abc") << "removing the package is the job's business";
    EXPECT_EQ(count.destroyedHashes, 2);
    EXPECT_EQ(count.closedProviders, 2);
}

TEST_F(PackageHash, FailsWhenTheHashCannotBeFinished) {
    bench::WriteFile(archive_, "abc");
    const HashHandleCount count;
    const auto hook = bench::HookCall<decltype(&::BCryptFinishHash)>(
        kBcrypt, "BCryptFinishHash", [](BCRYPT_HASH_HANDLE, PUCHAR, ULONG bytes, ULONG flags) {
            EXPECT_EQ(bytes, 32u);
            EXPECT_EQ(flags, 0u);
            return kStatusUnsuccessful;
        });
    ExpectCannotBeComputed();
    EXPECT_EQ(count.destroyedHashes, 2);
    EXPECT_EQ(count.closedProviders, 2);
}

}  // namespace
