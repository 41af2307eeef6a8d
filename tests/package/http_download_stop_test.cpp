// A stop request ends a download silently and deletes the file.

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <utility>

#include "package/download_fixture.h"

namespace {

using bench::DownloadTest;
using bench::kWinHttp;
using bench::ReadRealData;

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

TEST_F(HttpDownloadStop, EndsBeforeTheNextRead) {
    enum class Moment { BeforeTheBody, FirstRead, ReadThatFindsTheEnd };
    const std::pair<const wchar_t*, Moment> rows[] = {
        {L"body/1000", Moment::BeforeTheBody},
        {L"body/5000000", Moment::FirstRead},
        {L"body/1000", Moment::ReadThatFindsTheEnd},
        {L"body/0", Moment::ReadThatFindsTheEnd},
    };
    for (const auto& [behavior, moment] : rows) {
        SCOPED_TRACE(testing::Message() << behavior << ", " << static_cast<int>(moment));
        ClearForJobStart(JobKind::Repair);
        jobProgress.cancelRequested = moment == Moment::BeforeTheBody;
        DWORD allRead = 0;
        int readsAfterTheStop = 0;
        const auto hook = bench::HookCall<decltype(&::WinHttpReadData)>(
            kWinHttp, "WinHttpReadData",
            [&, atTheEnd = moment == Moment::ReadThatFindsTheEnd](HINTERNET request, LPVOID buffer,
                                                                  DWORD size, LPDWORD bytesRead) {
                readsAfterTheStop += jobProgress.cancelRequested ? 1 : 0;
                const BOOL success = ReadRealData(request, buffer, size, bytesRead);
                allRead += *bytesRead;
                if (!atTheEnd || *bytesRead == 0) {
                    requestCancel();
                }
                return success;
            });
        EXPECT_FALSE(Download(behavior));
        EXPECT_EQ(readsAfterTheStop, 0);
        ExpectStoppedSilently(allRead);
    }
}

TEST_F(HttpDownloadStop, IsSeenBetweenTheBytesOfASlowServer) {
    // A read that waited for the whole body would take a minute.
    auto download = std::async(std::launch::async, [&] { return Download(L"drip/200/1/300"); });
    EXPECT_TRUE(WaitForFileSize(1));
    requestCancel();
    EXPECT_EQ(download.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_FALSE(download.get());
    EXPECT_LT(snapshot().bytesReceived, 200u);
    ExpectStoppedSilently(snapshot().bytesReceived);
}

TEST_F(HttpDownloadStop, LeavesAFailureReported) {
    {
        const auto hook = bench::HookCall<decltype(&::WinHttpReadData)>(
            kWinHttp, "WinHttpReadData", [](HINTERNET, LPVOID, DWORD, LPDWORD) {
                requestCancel();
                return FALSE;
            });
        EXPECT_FALSE(Download(L"body/1000"));
        EXPECT_FALSE(IsSaved());
        ExpectFailure(L"The download stopped unexpectedly.");
    }
    ClearForJobStart(JobKind::Repair);
    jobProgress.cancelRequested = true;
    bench::WriteFile(archive_, "older");
    EXPECT_FALSE(Download(L"status/404"));
    ExpectFailure(L"The server returned HTTP 404.");
    EXPECT_EQ(SavedBytes(), "older");
}

}  // namespace
