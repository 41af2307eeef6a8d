// A reinstall deletes the old client only when the new one lies unpacked beside it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>

#include "bench_parts/fault_server_client.h"
#include "bench_parts/package_contents.h"
#include "bench_parts/registry_entry.h"
#include "bench_parts/unpacker_machine.h"
#include "convergence/broken_client.h"
#include "convergence/job_process.h"

namespace fs = std::filesystem;

namespace {

constexpr wchar_t kEntryKey[] =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Quellstone.Karvoth";
constexpr wchar_t kGoodPackage[] = L"archive/zip_small_client.zip";

class FailedReinstall : public testing::Test {
protected:
    FailedReinstall() : client_(machine_.Root(), bench::PackageContents(L"zip_small_client.zip")) {
        machine_.PutTar();
        machine_.PutPowerShell();
        bench::RemoveKey(kEntryKey);
    }

    ~FailedReinstall() override {
        bench::RemoveKey(kEntryKey);
    }

    JobOutcome Reinstall(const std::wstring& url, const std::wstring& digest = {},
                         const std::optional<Strike>& strike = std::nullopt) const {
        return RunJob(client_.Tool(), client_.TempFolder(), {JobKind::Reinstall, url, digest},
                      strike);
    }

    // The job has failed with that message and changed nothing, in the client folder or elsewhere.
    void ExpectUntouched(const JobOutcome& outcome, const std::string& message) const {
        EXPECT_EQ(outcome.exitCode, kJobFailed);
        EXPECT_THAT(outcome.detail, testing::StartsWith(message));
        EXPECT_EQ(FirstDifference(client_.Initial(), StateOf(client_.Folder())), "");
        EXPECT_THAT(bench::FolderListing(client_.TempFolder()), testing::IsEmpty());
        EXPECT_FALSE(bench::ReadKey(kEntryKey).has_value());
    }

    bench::UnpackerMachine machine_;
    bench::FaultServer server_;
    BrokenClient client_;
};

struct Failure {
    const char* name;
    const wchar_t* behavior;  // Of the server.
    const wchar_t* digest;
    const char* message;
};

void PrintTo(const Failure& failure, std::ostream* out) {
    *out << failure.name;
}

constexpr wchar_t kOtherDigest[] =
    L"0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";
constexpr char kBadZip[] = "ZIP extraction failed.";
constexpr char kBadRar[] = "RAR extraction failed with 7z.exe exit code 2.";
constexpr char kNoArchive[] = "The downloaded package is not a valid ZIP or RAR archive.";
constexpr char kBadDigest[] = "The downloaded package hash does not match the configured SHA-256.";

constexpr Failure kFailures[] = {
    {"NotFound", L"status/404", L"", "The server returned HTTP 404."},
    {"ServerError", L"status/500", L"", "The server returned HTTP 500."},
    {"GarbageForAnAnswer", L"garbage", L"", "The server did not respond to the download request."},
    {"ResetInTheBody", L"reset/2000000/1000", L"", "The download stopped unexpectedly."},
    {"ShortBody", L"short/2000000/1200000", kOtherDigest, kBadDigest},
    {"WrongDigest", kGoodPackage, kOtherDigest, kBadDigest},
    {"NotAnArchive", L"body/100000", L"", kNoArchive},
    {"EmptyPackage", L"body/0", L"", kNoArchive},
    {"DamagedZip", L"archive/zip_damaged.zip", L"", kBadZip},
    {"TruncatedZip", L"archive/zip_truncated.zip", L"", kBadZip},
    {"DamagedRar", L"archive/rar5_damaged.rar", L"", kBadRar},
    {"TruncatedRar", L"archive/rar5_truncated.rar", L"", kBadRar},
    {"DamagedOldRar", L"archive/rar4_damaged.rar", L"", kBadRar},
    {"LoneFolderInItsOwnWay", L"archive/zip_own_name.zip", L"",
     "Could not move extracted client files into place."},
};

class PackageFailure : public FailedReinstall, public testing::WithParamInterface<Failure> {};

TEST_P(PackageFailure, DeletesNothing) {
    machine_.PutSevenZip(machine_.SearchFolder() / L"7z.exe");
    const JobOutcome outcome = Reinstall(server_.Url(GetParam().behavior), GetParam().digest);
    ExpectUntouched(outcome, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(Each, PackageFailure, testing::ValuesIn(kFailures),
                         [](const testing::TestParamInfo<Failure>& failure) {
                             return std::string(failure.param.name);
                         });

TEST_F(FailedReinstall, DeletesNothingWithoutAUrl) {
    ExpectUntouched(Reinstall(L""), "No valid CDN package URL is configured.");
}

TEST_F(FailedReinstall, DeletesNothingWhenTheConnectionIsRefused) {
    const std::wstring port = std::to_wstring(bench::UnusedPort());
    ExpectUntouched(Reinstall(L"http://127.0.0.1:" + port + L"/package.zip"),
                    "The server did not respond to the download request.");
}

TEST_F(FailedReinstall, DeletesNothingWithoutARarProgram) {
    ExpectUntouched(Reinstall(server_.Url(L"archive/rar5_small_client.rar")),
                    "RAR repair needs WinRAR, UnRAR, or 7-Zip.");
}

TEST_F(FailedReinstall, DeletesNothingWithoutAZipProgram) {
    machine_.PutRecorder(machine_.CurrentFolder() / L"tar.exe", "exit 1");
    machine_.PutRecorder(machine_.CurrentFolder() / L"powershell.exe", "exit 1");
    ExpectUntouched(Reinstall(server_.Url(kGoodPackage)), kBadZip);
}

TEST_F(FailedReinstall, DeletesNothingWhenCancelledInTheDownload) {
    const Strike cancel{Intervention::Cancel, Phase::Download, L"WinHttpReadData", 2};
    ExpectUntouched(Reinstall(server_.Url(kGoodPackage), {}, cancel), "");
}

TEST_F(FailedReinstall, DeletesNothingWhenCancelledWhileUnpacking) {
    machine_.PutRecorder(machine_.CurrentFolder() / L"tar.exe", "hold");
    machine_.PutRecorder(machine_.CurrentFolder() / L"powershell.exe", "hold");
    const Strike cancel{Intervention::Cancel, Phase::Unpacking, L"WaitForSingleObject", 2};
    ExpectUntouched(Reinstall(server_.Url(kGoodPackage), {}, cancel), kBadZip);
}

}  // namespace
