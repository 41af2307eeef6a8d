// A reinstall that fails before the package is unpacked has deleted nothing. These are the failures
// that no server and no package brings about.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "bench_parts/call_hook.h"
#include "bench_parts/game_machine.h"
#include "config/tool_config.h"
#include "package/bcrypt_api.h"
#include "package/winhttp_api.h"

namespace fs = std::filesystem;

namespace {

constexpr wchar_t kKernel32[] = L"kernel32.dll";
constexpr wchar_t kWinHttp[] = L"winhttp.dll";

class FailedReinstallTest : public bench::GameMachine {
protected:
    void SetUp() override {
        bench::WriteFile(Client() / L"client.exe", "old");
        bench::WriteFile(Client() / L"data" / L"settings.ini", "mine");
        before_ = ClientContents();
        writeTime_ = bench::GetWriteTime(Client() / L"data" / L"settings.ini");
    }

    void ExpectNothingLost(const std::wstring& message) {
        RunJob(JobKind::Reinstall);
        ExpectFailure(message);
        EXPECT_EQ(bench::FirstDifference(before_, ClientContents()), "");
        EXPECT_EQ(bench::GetWriteTime(Client() / L"data" / L"settings.ini"), writeTime_);
        EXPECT_TRUE(TempFolder().empty());
    }

    bench::Contents before_;
    uint64_t writeTime_ = 0;
};

TEST_F(FailedReinstallTest, DeletesNothingForAnAddressThatIsNone) {
    toolConfig.archiveUrl = L"http://";
    ExpectNothingLost(L"The package URL is not valid.");
}

TEST_F(FailedReinstallTest, DeletesNothingWithoutASession) {
    const auto hook = bench::HookCall<decltype(&::WinHttpOpen)>(
        kWinHttp, "WinHttpOpen", [](auto...) -> HINTERNET { return nullptr; });
    ExpectNothingLost(L"Could not start the Windows HTTP downloader.");
}

TEST_F(FailedReinstallTest, DeletesNothingWithoutAConnection) {
    const auto hook = bench::HookCall<decltype(&::WinHttpConnect)>(
        kWinHttp, "WinHttpConnect", [](auto...) -> HINTERNET { return nullptr; });
    ExpectNothingLost(L"Could not connect to the download host.");
}

TEST_F(FailedReinstallTest, DeletesNothingWithoutARequest) {
    const auto hook = bench::HookCall<decltype(&::WinHttpOpenRequest)>(
        kWinHttp, "WinHttpOpenRequest", [](auto...) -> HINTERNET { return nullptr; });
    ExpectNothingLost(L"Could not create the download request.");
}

TEST_F(FailedReinstallTest, DeletesNothingWhenTheDownloadCannotBeSaved) {
    const auto hook =
        bench::HookCall<decltype(&::WriteFile)>(kKernel32, "WriteFile", [](auto...) -> BOOL {
            ::SetLastError(ERROR_DISK_FULL);
            return FALSE;
        });
    ExpectNothingLost(L"Could not write the downloaded data to disk.");
}

TEST_F(FailedReinstallTest, DeletesNothingWhenTheDownloadCannotBeCreated) {
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

TEST_F(FailedReinstallTest, DeletesNothingWhenTheDigestCannotBeComputed) {
    toolConfig.archiveSha256 = L"00";
    const auto hook = bench::HookCall<decltype(&::BCryptOpenAlgorithmProvider)>(
        L"bcrypt.dll", "BCryptOpenAlgorithmProvider", [](auto...) -> NTSTATUS { return -1; });
    ExpectNothingLost(L"Could not verify the downloaded package.");
}

TEST_F(FailedReinstallTest, DeletesNothingWhenTheLoneFolderCannotGo) {
    // Held by a virus scanner, say, until the failure is reported.
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
