#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <initializer_list>
#include <string>
#include <thread>

#include "bench_parts/skipping.h"
#include "package/download_fixture.h"

namespace {

// How a download fails: each message, and what is then on disk.
class HttpDownloadFailure : public DownloadTest {
protected:
    void ExpectFailureWithoutFile(const std::wstring& message) const {
        ExpectFailure(message);
        EXPECT_FALSE(IsSaved());
        EXPECT_EQ(snapshot().bytesPerSecond, 0.0);
    }

    // Ends the server's wait once the request is there.
    bool DownloadWithRelease(const std::wstring& behavior) {
        auto download = std::async(std::launch::async, [&] { return Download(behavior); });
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (server_.RequestLog().empty() && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        server_.ReleaseWaits();
        return download.get();
    }
};

constexpr wchar_t kNoResponse[] = L"The server did not respond to the download request.";

TEST_F(HttpDownloadFailure, NamesAnUnusableUrl) {
    const std::wstring urls[] = {
        L"http://",
        L"https://",
        L"",
        L"http://" + std::wstring(512, L'h') + L"/pkg.zip",
        server_.Url(std::wstring(4096, L'p')),
    };
    for (const std::wstring& url : urls) {
        ClearForJobStart(JobKind::Repair);
        EXPECT_FALSE(DownloadPackage(url, archive_));
        ExpectFailureWithoutFile(L"The package URL is not valid.");
    }
    EXPECT_TRUE(server_.RequestLog().empty());
}

TEST_F(HttpDownloadFailure, NamesASessionThatCannotBeOpened) {
    const auto hook = bench::HookCall<decltype(&::WinHttpOpen)>(
        kWinHttp, "WinHttpOpen",
        [](LPCWSTR, DWORD, LPCWSTR, LPCWSTR, DWORD) -> HINTERNET { return nullptr; });
    EXPECT_FALSE(Download(L"body/10"));
    ExpectFailureWithoutFile(L"Could not start the Windows HTTP downloader.");
}

TEST_F(HttpDownloadFailure, NamesAConnectionThatCannotBeOpened) {
    const auto hook = bench::HookCall<decltype(&::WinHttpConnect)>(
        kWinHttp, "WinHttpConnect",
        [](HINTERNET, LPCWSTR, INTERNET_PORT, DWORD) -> HINTERNET { return nullptr; });
    EXPECT_FALSE(Download(L"body/10"));
    ExpectFailureWithoutFile(L"Could not connect to the download host.");
}

TEST_F(HttpDownloadFailure, NamesARequestThatCannotBeOpened) {
    const auto hook = bench::HookCall<decltype(&::WinHttpOpenRequest)>(
        kWinHttp, "WinHttpOpenRequest",
        [](HINTERNET, LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR*, DWORD) -> HINTERNET {
            return nullptr;
        });
    EXPECT_FALSE(Download(L"body/10"));
    ExpectFailureWithoutFile(L"Could not create the download request.");
}

TEST_F(HttpDownloadFailure, NamesAServerThatCannotBeReached) {
    const std::wstring url =
        L"http://127.0.0.1:" + std::to_wstring(bench::UnusedPort()) + L"/pkg.zip";
    EXPECT_FALSE(DownloadPackage(url, archive_));
    ExpectFailureWithoutFile(kNoResponse);
}

TEST_F(HttpDownloadFailure, NamesAHostThatIsUnknown) {
    // The top domain is reserved for names that do not exist, and no part of a name has more than
    // 63 characters, so that no server needs to be asked.
    const std::wstring host = std::wstring(64, L'x') + L".invalid";
    EXPECT_FALSE(DownloadPackage(L"http://" + host + L"/pkg.zip", archive_));
    ExpectFailureWithoutFile(kNoResponse);
}

TEST_F(HttpDownloadFailure, NamesAServerWithoutAUsableAnswer) {
    for (const wchar_t* const behavior : {L"close", L"garbage", L"loop"}) {
        SCOPED_TRACE(testing::PrintToString(behavior));
        ClearForJobStart(JobKind::Repair);
        EXPECT_FALSE(Download(behavior));
        ExpectFailureWithoutFile(kNoResponse);
    }
}

TEST_F(HttpDownloadFailure, NamesAServerThatClosesAfterASilence) {
    EXPECT_FALSE(DownloadWithRelease(L"silence"));
    ExpectFailureWithoutFile(kNoResponse);
}

TEST_F(HttpDownloadFailure, TakesNothingFromAnAnswerThatEndsInItsHead) {
    // Whether the platform takes it for no answer or for an empty body is its own business.
    if (DownloadWithRelease(L"stall_in_head")) {
        EXPECT_EQ(SavedBytes(), "");
        ExpectNoFailure();
    } else {
        ExpectFailureWithoutFile(kNoResponse);
    }
    EXPECT_EQ(snapshot().bytesTotal, 0u);
    EXPECT_EQ(snapshot().bytesReceived, 0u);
}

TEST_F(HttpDownloadFailure, NamesATimeoutOfSendOrReceive) {
    {
        const auto hook = bench::HookCall<decltype(&::WinHttpSendRequest)>(
            kWinHttp, "WinHttpSendRequest",
            [](HINTERNET, LPCWSTR, DWORD, LPVOID, DWORD, DWORD, DWORD_PTR) {
                ::SetLastError(ERROR_WINHTTP_TIMEOUT);
                return FALSE;
            });
        EXPECT_FALSE(Download(L"body/10"));
        ExpectFailureWithoutFile(kNoResponse);
    }
    ClearForJobStart(JobKind::Repair);
    const auto hook = bench::HookCall<decltype(&::WinHttpReceiveResponse)>(
        kWinHttp, "WinHttpReceiveResponse", [](HINTERNET, LPVOID) {
            ::SetLastError(ERROR_WINHTTP_TIMEOUT);
            return FALSE;
        });
    EXPECT_FALSE(Download(L"body/10"));
    ExpectFailureWithoutFile(kNoResponse);
}

TEST_F(HttpDownloadFailure, TrustsNoUnknownAuthority) {
    const bench::TestAuthority authority;
    EXPECT_FALSE(DownloadPackage(server_.StrangersUrl(L"body/10"), archive_));
    ExpectFailureWithoutFile(kNoResponse);
    EXPECT_TRUE(server_.RequestLog().empty());
}

TEST_F(HttpDownloadFailure, TrustsNoCertificateOfAnotherName) {
    const bench::TestAuthority authority;
    SKIP_ON_WINDOWS_WITHOUT(authority.Trusted(),
                            "a certificate store that trusts without a question");
    std::wstring url = server_.SecureUrl(L"body/10");
    EXPECT_TRUE(DownloadPackage(url, scratch_.Path() / L"trusted.zip"));
    url.replace(url.find(L"localhost"), 9, L"127.0.0.1");
    EXPECT_FALSE(DownloadPackage(url, archive_));
    ExpectFailureWithoutFile(kNoResponse);
    EXPECT_EQ(server_.RequestLog().size(), 1u);
}

TEST_F(HttpDownloadFailure, NamesTheStatus) {
    for (const wchar_t* const status :
         {L"300", L"304", L"400", L"401", L"403", L"404", L"407", L"416", L"500", L"503", L"599"}) {
        SCOPED_TRACE(testing::PrintToString(status));
        ClearForJobStart(JobKind::Repair);
        EXPECT_FALSE(Download(L"status/" + std::wstring(status)));
        ExpectFailureWithoutFile(L"The server returned HTTP " + std::wstring(status) + L".");
    }
}

TEST_F(HttpDownloadFailure, NamesTheStatusThatARedirectEndsIn) {
    EXPECT_FALSE(Download(L"redirect/named/status/404"));
    ExpectFailureWithoutFile(L"The server returned HTTP 404.");
}

TEST_F(HttpDownloadFailure, FailsOnARedirectToNowhere) {
    for (const wchar_t* const status : {L"301", L"302", L"307"}) {
        SCOPED_TRACE(testing::PrintToString(status));
        ClearForJobStart(JobKind::Repair);
        EXPECT_FALSE(Download(L"status/" + std::wstring(status)));
        // Whether the platform takes it for no answer or for that status is its own business.
        EXPECT_EQ(snapshot().stage, JobStage::Failed);
        EXPECT_FALSE(IsSaved());
    }
}

TEST_F(HttpDownloadFailure, NamesAStatusBelow200) {
    DWORD status = 0;
    const auto hook = bench::HookCall<decltype(&::WinHttpQueryHeaders)>(
        kWinHttp, "WinHttpQueryHeaders",
        [&](HINTERNET, DWORD, LPCWSTR, LPVOID value, LPDWORD, LPDWORD) {
            *static_cast<DWORD*>(value) = status;
            return TRUE;
        });
    for (const DWORD each : std::initializer_list<DWORD>{100u, 101u, 199u}) {
        SCOPED_TRACE(each);
        ClearForJobStart(JobKind::Repair);
        status = each;
        EXPECT_FALSE(Download(L"body/10"));
        ExpectFailureWithoutFile(L"The server returned HTTP " + std::to_wstring(each) + L".");
    }
}

TEST_F(HttpDownloadFailure, FailsOnAnAnswerThatIsOnlyPreliminary) {
    for (const wchar_t* const status : {L"100", L"101", L"103", L"199"}) {
        SCOPED_TRACE(testing::PrintToString(status));
        ClearForJobStart(JobKind::Repair);
        EXPECT_FALSE(Download(L"status/" + std::wstring(status)));
        // Whether the platform waits for another answer or gives that status is its own business.
        EXPECT_EQ(snapshot().stage, JobStage::Failed);
        EXPECT_FALSE(IsSaved());
    }
}

TEST_F(HttpDownloadFailure, NamesStatusZeroWhenItCannotBeRead) {
    const auto hook = bench::HookCall<decltype(&::WinHttpQueryHeaders)>(
        kWinHttp, "WinHttpQueryHeaders",
        [](HINTERNET, DWORD, LPCWSTR, LPVOID, LPDWORD, LPDWORD) { return FALSE; });
    EXPECT_FALSE(Download(L"body/10"));
    ExpectFailureWithoutFile(L"The server returned HTTP 0.");
}

TEST_F(HttpDownloadFailure, LeavesAnOlderFileAndTheTextsAloneWithoutAGoodStatus) {
    bench::WriteFile(archive_, "older");
    UpdateJobState([](JobState& state) { state.bytesTotal = 7; });
    EXPECT_FALSE(Download(L"status/404"));
    EXPECT_EQ(SavedBytes(), "older");
    EXPECT_EQ(snapshot().bytesTotal, 7u);
}

TEST_F(HttpDownloadFailure, NamesAFileThatCannotBeCreated) {
    struct Row {
        const char* why;
        std::filesystem::path path;
    };
    const Row rows[] = {
        {"a folder has that name", scratch_.Path() / L"folder"},
        {"its folder is missing", scratch_.Path() / L"missing" / L"pkg.zip"},
        {"read-only", scratch_.Path() / L"read-only.zip"},
        {"in use", scratch_.Path() / L"in-use.zip"},
    };
    std::filesystem::create_directory(rows[0].path);
    bench::WriteFile(rows[2].path, "older");
    bench::SetReadOnly(rows[2].path, true);
    bench::WriteFile(rows[3].path, "older");
    const bench::OpenElsewhere reader(rows[3].path, FILE_SHARE_READ);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        ClearForJobStart(JobKind::Repair);
        EXPECT_FALSE(DownloadPackage(server_.Url(L"body/10"), row.path));
        ExpectFailure(L"Could not create the temporary download file.");
        EXPECT_EQ(snapshot().bytesTotal, 10u);
    }
    EXPECT_EQ(bench::ReadFile(rows[2].path), "older");
    EXPECT_EQ(bench::ReadFile(rows[3].path), "older");
}

// What a failed read leaves is shown exactly by KeepsWhatCameBeforeAReadFailed; here a real one
// fails.
TEST_F(HttpDownloadFailure, KeepsWhatCameBeforeTheConnectionBroke) {
    EXPECT_FALSE(Download(L"reset/3000000/1500000"));
    ExpectFailure(L"The download stopped unexpectedly.");
    // How much of it depends on the sizes that the platform reads in.
    EXPECT_TRUE(SavedBytes() == bench::PatternBytes(SavedBytes().size()));
    EXPECT_LE(SavedBytes().size(), 1500000u);
    EXPECT_EQ(snapshot().bytesReceived, SavedBytes().size());
    EXPECT_EQ(snapshot().bytesPerSecond, 0.0);
}

// Fails after about two thirds of it, in the wait for a part or in its read.
TEST_F(HttpDownloadFailure, KeepsWhatCameBeforeAReadFailed) {
    struct Row {
        bool failsWhileWaiting;
        DWORD error;
    };
    const Row rows[] = {{false, ERROR_WINHTTP_TIMEOUT},
                        {false, ERROR_WINHTTP_CONNECTION_ERROR},
                        {true, ERROR_WINHTTP_TIMEOUT}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.error);
        SCOPED_TRACE(row.failsWhileWaiting);
        ClearForJobStart(JobKind::Repair);
        DWORD allRead = 0;
        const auto fails = [&](bool isWait) {
            ::SetLastError(row.error);
            return isWait == row.failsWhileWaiting && allRead > 2 * kMebibyte;
        };
        const auto availableHook = bench::HookCall<decltype(&::WinHttpQueryDataAvailable)>(
            kWinHttp, "WinHttpQueryDataAvailable", [&](HINTERNET request, LPDWORD bytes) -> BOOL {
                const auto real = bench::RealFunction<decltype(&::WinHttpQueryDataAvailable)>(
                    kWinHttp, "WinHttpQueryDataAvailable");
                return !fails(true) && real(request, bytes);
            });
        const auto readHook = bench::HookCall<decltype(&::WinHttpReadData)>(
            kWinHttp, "WinHttpReadData",
            [&](HINTERNET request, LPVOID buffer, DWORD size, LPDWORD bytesRead) -> BOOL {
                if (fails(false)) {
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
}

TEST_F(HttpDownloadFailure, KeepsWhatFittedOnAFullDisk) {
    // A disk takes what still fits and reports success; only the next write fails.
    const auto hook = bench::HookCall<decltype(&::WriteFile)>(
        kKernel32, "WriteFile",
        [](HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) {
            const auto real = bench::RealFunction<decltype(&::WriteFile)>(kKernel32, "WriteFile");
            return real(file, data, size < 1000 ? size : 1000, written, overlapped);
        });
    EXPECT_FALSE(Download(L"body/3000000"));
    ExpectFailure(L"Could not write the downloaded data to disk.");
    EXPECT_EQ(SavedBytes(), bench::PatternBytes(1000));
    EXPECT_EQ(snapshot().bytesReceived, 0u);
    EXPECT_EQ(snapshot().bytesPerSecond, 0.0);
}

TEST_F(HttpDownloadFailure, NamesAWriteThatFails) {
    // How much the first of several writes takes depends on the machine's speed.
    DWORD firstWrite = 0;
    const auto hook = bench::HookCall<decltype(&::WriteFile)>(
        kKernel32, "WriteFile",
        [&](HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) {
            if (firstWrite != 0) {
                ::SetLastError(ERROR_DISK_FULL);
                return FALSE;
            }
            firstWrite = size;
            const auto real = bench::RealFunction<decltype(&::WriteFile)>(kKernel32, "WriteFile");
            return real(file, data, size, written, overlapped);
        });
    EXPECT_FALSE(Download(L"body/3000000"));
    ExpectFailure(L"Could not write the downloaded data to disk.");
    EXPECT_TRUE(SavedBytes() == bench::PatternBytes(firstWrite));
    EXPECT_EQ(snapshot().bytesReceived, firstWrite);
}

}  // namespace
