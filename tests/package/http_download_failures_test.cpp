// The messages of failed downloads and what they leave on disk. Failures of single calls are in
// http_download_calls_test.cpp.

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <vector>

#include "bench_parts/skipping.h"
#include "bench_parts/waiting.h"
#include "package/download_fixture.h"

namespace {

using bench::DownloadTest;
using bench::kKernel32;
using bench::kMebibyte;
using bench::kWinHttp;
using bench::ReadRealData;

constexpr wchar_t kNoResponse[] = L"The server did not respond to the download request.";

class HttpDownloadFailure : public DownloadTest {
protected:
    void ExpectFailureWithoutFile(const std::wstring& message) const {
        ExpectFailure(message);
        EXPECT_FALSE(IsSaved());
        EXPECT_EQ(snapshot().bytesPerSecond, 0.0);
    }

    // Each URL fails with the message.
    void ExpectFailures(const std::vector<std::wstring>& urls, const std::wstring& message) const {
        for (const std::wstring& url : urls) {
            SCOPED_TRACE(testing::PrintToString(url.substr(0, 100)));
            ClearForJobStart(JobKind::Repair);
            EXPECT_FALSE(DownloadPackage(url, archive_));
            ExpectFailureWithoutFile(message);
        }
    }
};

TEST_F(HttpDownloadFailure, NamesAnUnusableUrl) {
    ExpectFailures({L"http://", server_.Url(std::wstring(4096, L'p'))},
                   L"The package URL is not valid.");
    EXPECT_TRUE(server_.RequestLog().empty());
}

TEST_F(HttpDownloadFailure, NamesAServerWithoutAUsableResponse) {
    // No name has a part of more than 63 characters, so no name server is asked.
    const std::wstring unknownHost = std::wstring(64, L'x') + L".invalid";
    ExpectFailures({L"http://127.0.0.1:" + std::to_wstring(bench::UnusedPort()) + L"/pkg.zip",
                    L"http://" + unknownHost + L"/pkg.zip", server_.Url(L"close"),
                    server_.Url(L"garbage"), server_.Url(L"loop")},
                   kNoResponse);
}

TEST_F(HttpDownloadFailure, NamesAServerThatClosesAfterASilence) {
    auto download = std::async(std::launch::async, [&] { return Download(L"silence"); });
    EXPECT_TRUE(bench::Await([&] { return !server_.RequestLog().empty(); }));
    server_.ReleaseWaits();
    EXPECT_FALSE(download.get());
    ExpectFailureWithoutFile(kNoResponse);
}

TEST_F(HttpDownloadFailure, TrustsOnlyKnownAuthoritiesAndTheHostsOwnName) {
    const bench::TestAuthority authority;
    ExpectFailures({server_.StrangersUrl(L"body/10")}, kNoResponse);
    SKIP_ON_WINDOWS_WITHOUT(authority.Trusted(),
                            "a certificate store that trusts without a question");
    std::wstring url = server_.SecureUrl(L"body/10");
    EXPECT_TRUE(DownloadPackage(url, scratch_.Path() / L"trusted.zip"));
    url.replace(url.find(L"localhost"), 9, L"127.0.0.1");
    ExpectFailures({url}, kNoResponse);
    EXPECT_EQ(server_.RequestLog().size(), 1u);
}

TEST_F(HttpDownloadFailure, NamesTheStatus) {
    for (const std::wstring status : {L"300", L"304", L"401", L"407", L"416", L"503"}) {
        ExpectFailures({server_.Url(L"status/" + status)},
                       L"The server returned HTTP " + status + L".");
    }
    ExpectFailures({server_.Url(L"redirect/named/status/404")}, L"The server returned HTTP 404.");
}

TEST_F(HttpDownloadFailure, FailsOnRedirectsWithoutATargetAndInformationalResponses) {
    for (const wchar_t* const status : {L"301", L"302", L"307", L"100", L"101", L"199"}) {
        SCOPED_TRACE(testing::PrintToString(status));
        ClearForJobStart(JobKind::Repair);
        EXPECT_FALSE(Download(L"status/" + std::wstring(status)));
        // Whether Windows reports the status or no response at all is not fixed.
        EXPECT_EQ(snapshot().stage, JobStage::Failed);
        EXPECT_FALSE(IsSaved());
    }
}

TEST_F(HttpDownloadFailure, LeavesAnOlderFileAndTheTextsAloneWithoutAGoodStatus) {
    bench::WriteFile(archive_, "older");
    UpdateJobState([](JobState& state) { state.bytesTotal = 7; });
    EXPECT_FALSE(Download(L"status/404"));
    EXPECT_EQ(SavedBytes(), "older");
    EXPECT_EQ(snapshot().bytesTotal, 7u);
}

TEST_F(HttpDownloadFailure, NamesAFileThatCannotBeCreated) {
    const std::filesystem::path folder = scratch_.Path() / L"folder";
    const std::filesystem::path readOnly = scratch_.Path() / L"read-only.zip";
    const std::filesystem::path inUse = scratch_.Path() / L"in-use.zip";
    std::filesystem::create_directory(folder);
    bench::WriteFile(readOnly, "older");
    bench::SetReadOnly(readOnly, true);
    bench::WriteFile(inUse, "older");
    const bench::OpenElsewhere reader(inUse, FILE_SHARE_READ);
    for (const auto& path : {folder, scratch_.Path() / L"missing" / L"pkg.zip", readOnly, inUse}) {
        SCOPED_TRACE(path);
        ClearForJobStart(JobKind::Repair);
        EXPECT_FALSE(DownloadPackage(server_.Url(L"body/10"), path));
        ExpectFailure(L"Could not create the temporary download file.");
        EXPECT_EQ(snapshot().bytesTotal, 10u);
    }
    EXPECT_EQ(bench::ReadFile(readOnly), "older");
    EXPECT_EQ(bench::ReadFile(inUse), "older");
}

// The next read fails after about two thirds of the body.
TEST_F(HttpDownloadFailure, KeepsWhatCameBeforeAReadFailed) {
    DWORD allRead = 0;
    const auto hook = bench::HookCall<decltype(&::WinHttpReadData)>(
        kWinHttp, "WinHttpReadData",
        [&](HINTERNET request, LPVOID buffer, DWORD size, LPDWORD bytesRead) -> BOOL {
            if (allRead > 2 * kMebibyte) {
                return FALSE;
            }
            const BOOL success = ReadRealData(request, buffer, size, bytesRead);
            allRead += *bytesRead;
            return success;
        });
    EXPECT_FALSE(Download(L"body/3000000"));
    ExpectFailure(L"The download stopped unexpectedly.");
    EXPECT_GT(allRead, 2 * kMebibyte);
    EXPECT_TRUE(SavedBytes() == bench::PatternBytes(allRead));
    EXPECT_EQ(snapshot().bytesReceived, allRead);
    EXPECT_EQ(snapshot().bytesPerSecond, 0.0);
}

// A full disk takes what still fits and reports success; only the next write fails.
TEST_F(HttpDownloadFailure, NamesAWriteThatWasCutShort) {
    const auto hook = bench::HookCall<decltype(&::WriteFile)>(
        kKernel32, "WriteFile", [&](HANDLE file, LPCVOID data, DWORD, auto... more) -> BOOL {
            return bench::RealFunction<decltype(&::WriteFile)>(kKernel32, "WriteFile")(
                file, data, 1000, more...);
        });
    EXPECT_FALSE(Download(L"body/3000000"));
    ExpectFailure(L"Could not write the downloaded data to disk.");
    EXPECT_EQ(SavedBytes(), bench::PatternBytes(1000));
    EXPECT_EQ(snapshot().bytesReceived, 0u);
    EXPECT_EQ(snapshot().bytesPerSecond, 0.0);
}

}  // namespace
