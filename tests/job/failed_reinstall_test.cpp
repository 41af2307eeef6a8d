// A reinstall that fails before the package is unpacked deletes nothing.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

#include "bench_parts/file_hooks.h"
#include "bench_parts/game_machine.h"
#include "bench_parts/registry_entry.h"
#include "config/tool_config.h"
#include "job/job_flow.h"
#include "package/bcrypt_api.h"
#include "package/winhttp_api.h"

namespace fs = std::filesystem;

namespace {

using bench::kKernel32;
constexpr wchar_t kWinHttp[] = L"winhttp.dll";

class FailedReinstallTest : public bench::GameMachine {
protected:
    void SetUp() override {
        bench::WriteFile(Client() / L"client.exe", "old");
        bench::WriteFile(Client() / L"data" / L"settings.ini", "mine");
        before_ = ClientContents();
        writeTime_ = bench::GetWriteTime(Client() / L"data" / L"settings.ini");
    }

    // `message`: how the failure's message begins.
    void ExpectNothingLost(const std::wstring& message) {
        RunJob(JobKind::Reinstall);
        EXPECT_TRUE(snapshot().errorMessage.starts_with(message)) << fs::path(message);
        ExpectFailure(snapshot().errorMessage);
        EXPECT_EQ(bench::FirstDifference(before_, ClientContents()), "");
        EXPECT_EQ(bench::GetWriteTime(Client() / L"data" / L"settings.ini"), writeTime_);
        EXPECT_TRUE(TempFolder().empty());
        EXPECT_FALSE(bench::ReadKey(kEntryKey));
        resetForRetry();
    }

    bench::Contents before_;
    uint64_t writeTime_ = 0;
};

constexpr wchar_t kBadZip[] = L"ZIP extraction failed.";
constexpr wchar_t kBadRar[] = L"RAR extraction failed with 7z.exe exit code 2.";
constexpr wchar_t kNoArchive[] = L"The downloaded package is not a valid ZIP or RAR archive.";
constexpr wchar_t kBadHash[] =
    L"The downloaded package hash does not match the configured SHA-256.";

TEST_F(FailedReinstallTest, DeletesNothingForABadAnswerOrPackage) {
    struct Row {
        const wchar_t* behavior;  // Of the server.
        const wchar_t* message;
        bool checksHash = false;
    };
    machine_.PutPowerShell();
    machine_.PutSevenZip(machine_.SearchFolder() / L"7z.exe");
    for (const Row& row : {
             Row{L"status/404", L"The server returned HTTP 404."},
             {L"status/500", L"The server returned HTTP 500."},
             {L"garbage", L"The server did not respond to the download request."},
             {L"reset/2000000/1000", L"The download stopped unexpectedly."},
             {L"short/2000000/1200000", kBadHash, true},
             {L"archive/zip_small_client.zip", kBadHash, true},
             {L"body/100000", kNoArchive},
             {L"body/0", kNoArchive},
             {L"archive/zip_damaged.zip", kBadZip},
             {L"archive/zip_truncated.zip", kBadZip},
             {L"archive/rar5_damaged.rar", kBadRar},
             {L"archive/rar5_truncated.rar", kBadRar},
             {L"archive/rar4_damaged.rar", kBadRar},
             {L"archive/zip_own_name.zip", L"Could not move extracted client files into place."},
         }) {
        SCOPED_TRACE(fs::path(row.behavior));
        toolConfig.archiveUrl = server_.Url(row.behavior);
        toolConfig.archiveSha256 = row.checksHash ? std::wstring(64, L'0') : std::wstring();
        ExpectNothingLost(row.message);
    }
}

TEST_F(FailedReinstallTest, DeletesNothingWithoutAServer) {
    for (const auto& [url, message] :
         {std::pair{std::wstring(), L"No valid CDN package URL is configured."},
          {L"http://", L"The package URL is not valid."},
          {L"http://127.0.0.1:" + std::to_wstring(bench::UnusedPort()) + L"/package.zip",
           L"The server did not respond to the download request."}}) {
        toolConfig.archiveUrl = url;
        ExpectNothingLost(message);
    }
}

TEST_F(FailedReinstallTest, DeletesNothingWithoutAnUnpackingProgram) {
    machine_.PutRecorder(machine_.CurrentFolder() / L"tar.exe", "exit 1");
    machine_.PutRecorder(machine_.CurrentFolder() / L"powershell.exe", "exit 1");
    ExpectNothingLost(kBadZip);
    toolConfig.archiveUrl = PackageUrl(L"rar5_small_client.rar");
    ExpectNothingLost(L"RAR repair needs WinRAR, UnRAR, or 7-Zip.");
}

TEST_F(FailedReinstallTest, DeletesNothingWithoutTheHttpClient) {
    {
        const auto hook = bench::HookCall<decltype(&::WinHttpOpen)>(
            kWinHttp, "WinHttpOpen", [](auto...) -> HINTERNET { return nullptr; });
        ExpectNothingLost(L"Could not start the Windows HTTP downloader.");
    }
    {
        const auto hook = bench::HookCall<decltype(&::WinHttpConnect)>(
            kWinHttp, "WinHttpConnect", [](auto...) -> HINTERNET { return nullptr; });
        ExpectNothingLost(L"Could not connect to the download host.");
    }
    const auto hook = bench::HookCall<decltype(&::WinHttpOpenRequest)>(
        kWinHttp, "WinHttpOpenRequest", [](auto...) -> HINTERNET { return nullptr; });
    ExpectNothingLost(L"Could not create the download request.");
}

TEST_F(FailedReinstallTest, DeletesNothingIfTheDownloadCannotBeSaved) {
    const auto hook =
        bench::HookCall<decltype(&::WriteFile)>(kKernel32, "WriteFile", [](auto...) -> BOOL {
            ::SetLastError(ERROR_DISK_FULL);
            return FALSE;
        });
    ExpectNothingLost(L"Could not write the downloaded data to disk.");
}

TEST_F(FailedReinstallTest, DeletesNothingIfTheDownloadCannotBeCreated) {
    const auto hook = bench::HookCall<decltype(&::CreateFileW)>(
        kKernel32, "CreateFileW",
        [](LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
           DWORD disposition, DWORD flags, HANDLE like) -> HANDLE {
            if (disposition == CREATE_ALWAYS) {
                ::SetLastError(ERROR_ACCESS_DENIED);
                return INVALID_HANDLE_VALUE;
            }
            return bench::RealFunction<decltype(&::CreateFileW)>(kKernel32, "CreateFileW")(
                path, access, share, security, disposition, flags, like);
        });
    ExpectNothingLost(L"Could not create the temporary download file.");
}

TEST_F(FailedReinstallTest, DeletesNothingIfTheHashCannotBeComputed) {
    toolConfig.archiveSha256 = L"00";
    const auto hook = bench::HookCall<decltype(&::BCryptOpenAlgorithmProvider)>(
        L"bcrypt.dll", "BCryptOpenAlgorithmProvider", [](auto...) -> NTSTATUS { return -1; });
    ExpectNothingLost(L"Could not verify the downloaded package.");
}

TEST_F(FailedReinstallTest, DeletesNothingIfTheLoneFolderCannotBeRemoved) {
    // As if a virus scanner held it until the failure is reported.
    const auto isHeld = [](const fs::path& path) {
        return path.filename() == L"Client" && snapshot().stage == JobStage::Extracting;
    };
    const auto atOnce = bench::HookCall<decltype(&::SetFileInformationByHandle)>(
        kKernel32, "SetFileInformationByHandle", [](auto...) -> BOOL {
            ::SetLastError(ERROR_NOT_SUPPORTED);
            return FALSE;
        });
    const auto byName = bench::HookCall<decltype(&::RemoveDirectoryW)>(
        kKernel32, "RemoveDirectoryW", [&](LPCWSTR path) -> BOOL {
            if (isHeld(path)) {
                ::SetLastError(ERROR_SHARING_VIOLATION);
                return FALSE;
            }
            return bench::RealFunction<decltype(&::RemoveDirectoryW)>(kKernel32,
                                                                      "RemoveDirectoryW")(path);
        });
    ExpectNothingLost(L"Could not remove the extra extracted client folder.");
}

}  // namespace
