// What a download asks of the system, which of its calls may fail, and the moments of publication.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "package/download_fixture.h"
#include "package/failing_functions.h"

namespace {

using bench::DownloadTest;
using bench::kKernel32;
using bench::kWinHttp;

class HttpDownloadCalls : public DownloadTest {};

TEST_F(HttpDownloadCalls, UseTheSystemsProxyThirtySecondsAndEveryRedirect) {
    int calls = 0;
    const auto open = bench::WatchCall<decltype(&::WinHttpOpen)>(
        kWinHttp, "WinHttpOpen", [&](auto, DWORD accessType, LPCWSTR proxy, LPCWSTR, DWORD flags) {
            ++calls;
            EXPECT_EQ(accessType, 4u);
            EXPECT_EQ(proxy, nullptr);
            EXPECT_EQ(flags, 0u);
        });
    const auto timeouts = bench::WatchCall<decltype(&::WinHttpSetTimeouts)>(
        kWinHttp, "WinHttpSetTimeouts", [&](auto, auto... milliseconds) {
            ++calls;
            EXPECT_THAT((std::vector{milliseconds...}),
                        testing::ElementsAre(30000, 30000, 30000, 30000));
        });
    const auto redirects = bench::WatchCall<decltype(&::WinHttpSetOption)>(
        kWinHttp, "WinHttpSetOption", [&](auto, DWORD which, LPVOID value, DWORD bytes) {
            ++calls;
            EXPECT_EQ(which, 88u);
            ASSERT_EQ(bytes, 4u);
            EXPECT_EQ(*static_cast<DWORD*>(value), 2u);
        });
    EXPECT_TRUE(Download(L"body/10"));
    EXPECT_EQ(calls, 3);
}

TEST_F(HttpDownloadCalls, AskForHttpsWhereTheUrlDoes) {
    std::vector<std::pair<INTERNET_PORT, DWORD>> asked;
    const auto connect = bench::WatchCall<decltype(&::WinHttpConnect)>(
        kWinHttp, "WinHttpConnect",
        [&](auto, auto, INTERNET_PORT port, auto) { asked.emplace_back(port, 0); });
    const auto request = bench::HookCall<decltype(&::WinHttpOpenRequest)>(
        kWinHttp, "WinHttpOpenRequest", [&](auto... values) -> HINTERNET {
            asked.back().second = std::get<6>(std::tuple(values...));
            return nullptr;
        });
    for (const wchar_t* const url :
         {L"https://localhost/p?q", L"https://localhost:81/p?q", L"http://localhost/p?q"}) {
        EXPECT_FALSE(DownloadPackage(url, archive_));
    }
    EXPECT_THAT(asked, testing::ElementsAre(std::pair(443, 0x800000), std::pair(81, 0x800000),
                                            std::pair(80, 0)));
}

template <bench::FunctionName kName, class Function>
using WinHttpFunction = bench::FailingFunction<kWinHttp, kName, Function>;
template <bench::FunctionName kName, class Function>
using FileFunction = bench::FailingFunction<kKernel32, kName, Function>;

TEST_F(HttpDownloadCalls, CloseEverythingAndContinueOnlyWithoutTimeoutsOrRedirectPolicy) {
    constexpr wchar_t kNoResponse[] = L"The server did not respond to the download request.";
    constexpr wchar_t kBroken[] = L"The download stopped unexpectedly.";
    struct Row {
        const char* failing;
        const wchar_t* message;  // Empty when the download continues.
        bool isSaved;
    };
    const Row rows[] = {
        {"", L"", true},
        {"WinHttpCrackUrl", L"The package URL is not valid.", false},
        {"WinHttpOpen", L"Could not start the Windows HTTP downloader.", false},
        {"WinHttpSetTimeouts", L"", true},
        {"WinHttpSetOption", L"", true},
        {"WinHttpConnect", L"Could not connect to the download host.", false},
        {"WinHttpOpenRequest", L"Could not create the download request.", false},
        {"WinHttpSendRequest", kNoResponse, false},
        {"WinHttpReceiveResponse", kNoResponse, false},
        {"WinHttpQueryHeaders", L"The server returned HTTP 0.", false},
        {"WinHttpQueryDataAvailable", kBroken, true},
        {"WinHttpReadData", kBroken, true},
        {"WriteFile", L"Could not write the downloaded data to disk.", true},
    };
    const std::tuple<
        WinHttpFunction<"WinHttpCrackUrl", decltype(&::WinHttpCrackUrl)>,
        WinHttpFunction<"WinHttpOpen", decltype(&::WinHttpOpen)>,
        WinHttpFunction<"WinHttpSetTimeouts", decltype(&::WinHttpSetTimeouts)>,
        WinHttpFunction<"WinHttpSetOption", decltype(&::WinHttpSetOption)>,
        WinHttpFunction<"WinHttpConnect", decltype(&::WinHttpConnect)>,
        WinHttpFunction<"WinHttpOpenRequest", decltype(&::WinHttpOpenRequest)>,
        WinHttpFunction<"WinHttpSendRequest", decltype(&::WinHttpSendRequest)>,
        WinHttpFunction<"WinHttpReceiveResponse", decltype(&::WinHttpReceiveResponse)>,
        WinHttpFunction<"WinHttpQueryHeaders", decltype(&::WinHttpQueryHeaders)>,
        WinHttpFunction<"WinHttpQueryDataAvailable", decltype(&::WinHttpQueryDataAvailable)>,
        WinHttpFunction<"WinHttpReadData", decltype(&::WinHttpReadData)>,
        WinHttpFunction<"WinHttpCloseHandle", decltype(&::WinHttpCloseHandle)>,
        FileFunction<"WriteFile", decltype(&::WriteFile)>>
        functions;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.failing);
        ClearForJobStart(JobKind::Repair);
        const std::wstring url = server_.Url(L"body/1000");
        bench::failingFunction = row.failing;
        EXPECT_EQ(DownloadPackage(url, archive_), row.message[0] == L'\0');
        bench::failingFunction = {};
        row.message[0] == L'\0' ? ExpectNoFailure() : ExpectFailure(row.message);
        EXPECT_EQ(bench::openHandles, 0);
        EXPECT_EQ(IsSaved(), row.isSaved);
        std::filesystem::remove(archive_);  // Fails while it is open.
    }
}

TEST_F(HttpDownloadCalls, TakeTheNumberAtTheBeginningOfTheLengthsText) {
    std::wstring length;
    const auto hook = bench::HookCall<decltype(&::WinHttpQueryHeaders)>(
        kWinHttp, "WinHttpQueryHeaders",
        [&](HINTERNET request, DWORD what, LPCWSTR name, LPVOID buffer, auto... more) -> BOOL {
            if (what == WINHTTP_QUERY_CONTENT_LENGTH) {
                length.copy(static_cast<wchar_t*>(buffer), length.size());
                return TRUE;
            }
            return bench::RealFunction<decltype(&::WinHttpQueryHeaders)>(
                kWinHttp, "WinHttpQueryHeaders")(request, what, name, buffer, more...);
        });
    constexpr uint64_t kGreatest = std::numeric_limits<uint64_t>::max();
    const std::pair<const wchar_t*, uint64_t> rows[] = {
        {L"", 0},           {L"many", 0},
        {L"0", 0},          {L" 20", 20},
        {L"20 bytes", 20},  {L"20, 20", 20},
        {L"7", 7},          {L"12345678901", 12345678901},
        {L"-1", kGreatest}, {L"9223372036854775807", kGreatest / 2},
    };
    for (const auto& [text, bytesTotal] : rows) {
        length = text;
        EXPECT_TRUE(Download(L"body/10")) << text;
        EXPECT_EQ(snapshot().bytesTotal, bytesTotal) << text;
        EXPECT_EQ(snapshot().bytesReceived, 10u) << text;
    }
}

// Bytes that a read is to give, and how long it is to take by a simulated clock.
struct Piece {
    DWORD bytes;
    double seconds;
};

TEST_F(HttpDownloadCalls, PublishTheStartAndTheSpeedSinceTheLastPublication) {
    UpdateJobState([](JobState& state) {
        state.bytesReceived = 7;
        state.bytesPerSecond = 7.0;
        state.detailLine = L"Preparing CDN package...";
    });
    const std::vector<Piece> pieces = {{1000, 0.2}, {2000, 0.2}, {500, 0.3},
                                       {300, 0.5},  {50, 0.1},   {0, 0.0}};
    std::vector<JobState> states;  // Before each read and at the end.
    LONGLONG clock = 1000000;
    LARGE_INTEGER frequency{};
    ::QueryPerformanceFrequency(&frequency);
    const auto clockHook = bench::HookCall<decltype(&::QueryPerformanceCounter)>(
        kKernel32, "QueryPerformanceCounter", [&](LARGE_INTEGER* now) {
            now->QuadPart = clock;
            return TRUE;
        });
    const auto availableHook = bench::HookCall<decltype(&::WinHttpQueryDataAvailable)>(
        kWinHttp, "WinHttpQueryDataAvailable", [&](HINTERNET, LPDWORD bytesAvailable) {
            *bytesAvailable = pieces.at(states.size()).bytes;
            return TRUE;
        });
    const auto readHook = bench::HookCall<decltype(&::WinHttpReadData)>(
        kWinHttp, "WinHttpReadData", [&](HINTERNET, LPVOID, DWORD, LPDWORD bytesRead) {
            const Piece& piece = pieces.at(states.size());
            *bytesRead = piece.bytes;
            clock += static_cast<LONGLONG>(piece.seconds * static_cast<double>(frequency.QuadPart));
            states.push_back(snapshot());
            return TRUE;
        });
    EXPECT_TRUE(Download(L"body/0"));
    states.push_back(snapshot());

    EXPECT_EQ(states[0].stage, JobStage::Downloading);
    EXPECT_EQ(states[0].bytesTotal, 0u);
    EXPECT_EQ(states[0].statusLine, L"Downloading client package...");
    EXPECT_EQ(states[0].detailLine, L"");
    std::vector<uint64_t> received;
    std::vector<double> speeds;
    for (const JobState& state : states) {
        received.push_back(state.bytesReceived);
        speeds.push_back(state.bytesPerSecond);
    }
    // After 0.0, 0.2, 0.4, 0.7, 1.2 and 1.3 s, and at the end.
    EXPECT_THAT(received, testing::ElementsAre(0u, 0u, 3000u, 3000u, 3800u, 3800u, 3850u));
    EXPECT_THAT(speeds,
                testing::Pointwise(testing::DoubleNear(0.1),
                                   {0.0, 0.0, 3000 / 0.4, 3000 / 0.4, 800 / 0.8, 800 / 0.8, 0.0}));
}

}  // namespace
