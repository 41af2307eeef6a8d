#include <gtest/gtest.h>

#include <future>
#include <string>

#include "package/download_fixture.h"

namespace {

// How a download ends when the user wants the job to stop: no file and not a word.
class HttpDownloadStop : public DownloadTest {
protected:
    void ExpectStoppedSilently(uint64_t bytesReceived) const {
        EXPECT_FALSE(IsSaved());
        ExpectNoFailure();
        const JobState state = snapshot();
        EXPECT_EQ(state.bytesReceived, bytesReceived);
        EXPECT_EQ(state.bytesPerSecond, 0.0);
        EXPECT_EQ(state.statusLine, L"Downloading client package...");
        EXPECT_EQ(state.detailLine, L"");
    }
};

TEST_F(HttpDownloadStop, ReadsNothingWhenStoppedBeforehand) {
    jobProgress.cancelRequested = true;
    int reads = 0;
    const auto hook = bench::HookCall<decltype(&::WinHttpReadData)>(
        kWinHttp, "WinHttpReadData",
        [&](HINTERNET request, LPVOID buffer, DWORD size, LPDWORD bytesRead) {
            ++reads;
            return ReadRealData(request, buffer, size, bytesRead);
        });
    EXPECT_FALSE(Download(L"body/1000"));
    EXPECT_EQ(reads, 0);
    EXPECT_EQ(server_.RequestLog().size(), 1u);
    ExpectStoppedSilently(0);
}

TEST_F(HttpDownloadStop, EndsAfterTheReadDuringWhichItIsAskedFor) {
    DWORD allRead = 0;
    const auto hook = bench::HookCall<decltype(&::WinHttpReadData)>(
        kWinHttp, "WinHttpReadData",
        [&](HINTERNET request, LPVOID buffer, DWORD size, LPDWORD bytesRead) {
            requestCancel();
            const BOOL success = ReadRealData(request, buffer, size, bytesRead);
            allRead += *bytesRead;
            return success;
        });
    EXPECT_FALSE(Download(L"body/5000000"));
    EXPECT_GT(allRead, 0u);
    EXPECT_LE(allRead, kMebibyte);
    ExpectStoppedSilently(allRead);
}

TEST_F(HttpDownloadStop, ComesFromAnotherThreadInTheMiddleOfTheBody) {
    auto download =
        std::async(std::launch::async, [&] { return Download(L"stall/3000000/1500000"); });
    EXPECT_TRUE(WaitForFileSize(1));
    requestCancel();
    server_.ReleaseWaits();
    EXPECT_FALSE(download.get());
    const uint64_t received = snapshot().bytesReceived;
    EXPECT_GE(received, 1u);
    EXPECT_LT(received, 3000000u);
    ExpectStoppedSilently(received);
}

TEST_F(HttpDownloadStop, IsSeenBetweenTheBytesOfADrip) {
    // A read that waited for the whole body would take a minute.
    auto download = std::async(std::launch::async, [&] { return Download(L"drip/200/1/300"); });
    EXPECT_TRUE(WaitForFileSize(1));
    requestCancel();
    EXPECT_EQ(download.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_FALSE(download.get());
    ExpectStoppedSilently(snapshot().bytesReceived);
}

TEST_F(HttpDownloadStop, CountsAlsoAfterTheLastByte) {
    const auto hook = bench::HookCall<decltype(&::WinHttpReadData)>(
        kWinHttp, "WinHttpReadData",
        [](HINTERNET request, LPVOID buffer, DWORD size, LPDWORD bytesRead) {
            const BOOL success = ReadRealData(request, buffer, size, bytesRead);
            if (*bytesRead == 0) {
                requestCancel();
            }
            return success;
        });
    EXPECT_FALSE(Download(L"body/1000"));
    ExpectStoppedSilently(1000);
}

TEST_F(HttpDownloadStop, DeletesAlsoAnEmptyPackage) {
    const auto hook = bench::HookCall<decltype(&::WinHttpReadData)>(
        kWinHttp, "WinHttpReadData",
        [](HINTERNET request, LPVOID buffer, DWORD size, LPDWORD bytesRead) {
            requestCancel();
            return ReadRealData(request, buffer, size, bytesRead);
        });
    EXPECT_FALSE(Download(L"body/0"));
    ExpectStoppedSilently(0);
}

TEST_F(HttpDownloadStop, DeletesTheFileAlsoAfterAReportedFailure) {
    const auto hook = bench::HookCall<decltype(&::WinHttpReadData)>(
        kWinHttp, "WinHttpReadData", [](HINTERNET, LPVOID, DWORD, LPDWORD) {
            requestCancel();
            return FALSE;
        });
    EXPECT_FALSE(Download(L"body/1000"));
    EXPECT_FALSE(IsSaved());
    ExpectFailure(L"The download stopped unexpectedly.");
}

TEST_F(HttpDownloadStop, LeavesAFailureBeforeTheBodyReported) {
    jobProgress.cancelRequested = true;
    bench::WriteFile(archive_, "older");
    EXPECT_FALSE(Download(L"status/404"));
    ExpectFailure(L"The server returned HTTP 404.");
    EXPECT_EQ(SavedBytes(), "older");
}

}  // namespace
