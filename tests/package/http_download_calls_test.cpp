// The system calls of a download: their order and arguments, the sizes of reads and writes, and the
// moments of publication.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <limits>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "package/call_record.h"
#include "package/download_fixture.h"
#include "ui/progress_bar.h"

namespace {

using bench::DownloadTest;
using bench::kKernel32;
using bench::kMebibyte;
using bench::kWinHttp;
using bench::ReadRealData;

using testing::ElementsAre;

template <bench::FunctionName kName, class Function>
using WinHttpFunction = bench::RecordedFunction<kWinHttp, kName, Function>;
template <bench::FunctionName kName, class Function>
using FileFunction = bench::RecordedFunction<kKernel32, kName, Function>;

using DownloadFunctions = bench::RecordedFunctions<
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
    FileFunction<"CreateFileW", decltype(&::CreateFileW)>,
    FileFunction<"WriteFile", decltype(&::WriteFile)>,
    FileFunction<"CloseHandle", decltype(&::CloseHandle)>,
    FileFunction<"DeleteFileW", decltype(&::DeleteFileW)>>;

// Stops the clock, so that the number of reads does not depend on the machine's speed.
auto FreezeClock() {
    return bench::HookCall<decltype(&::QueryPerformanceCounter)>(
        kKernel32, "QueryPerformanceCounter", [](LARGE_INTEGER* now) {
            now->QuadPart = 1000000;
            return TRUE;
        });
}

class HttpDownloadCalls : public DownloadTest {
protected:
    std::vector<std::string> CallsOf(const std::wstring& url, const std::string& failingCall = "") {
        record_.calls.clear();
        record_.failingCall = failingCall;
        record_.resultNames = {{"WinHttpOpen", "session"},
                               {"WinHttpConnect", "connection"},
                               {"WinHttpOpenRequest", "request"},
                               {"CreateFileW", "file"}};
        const auto clock = FreezeClock();
        const DownloadFunctions functions(record_);
        static_cast<void>(DownloadPackage(url, archive_));
        return record_.calls;
    }

    // Those of a download of 1,000 bytes that arrive as one piece.
    std::vector<std::string> SuccessfulCalls() const {
        const std::string port = std::to_string(server_.HttpPort());
        const std::string objectName = server_.ObjectName("body/1000");
        const std::string file = bench::CallRecord::Utf8(archive_);
        return {
            "WinHttpCrackUrl(http://127.0.0.1:" + port + objectName + ", 0, 0, *)",
            "WinHttpOpen(KrvBrennickRepair/1.0, 4, null, null, 0)",
            "WinHttpSetTimeouts(session, 30000, 30000, 30000, 30000)",
            "WinHttpSetOption(session, 88, *, 4)",
            "WinHttpConnect(session, 127.0.0.1, " + port + ", 0)",
            "WinHttpOpenRequest(connection, GET, " + objectName + ", null, null, null, 0)",
            "WinHttpSendRequest(request, null, 0, null, 0, 0, 0)",
            "WinHttpReceiveResponse(request, null)",
            "WinHttpQueryHeaders(request, 536870931, null, *, &4, null)",
            "WinHttpQueryHeaders(request, 5, null, *, &128, null)",
            "CreateFileW(" + file + ", 1073741824, 0, null, 2, 128, null)",
            "WinHttpQueryDataAvailable(request, &0)",
            "WinHttpReadData(request, *, 1000, &0)",
            "WinHttpQueryDataAvailable(request, &0)",
            "WinHttpReadData(request, *, 1, &0)",
            "WriteFile(file, *, 1000, &0, null)",
            "CloseHandle(file)",
            "WinHttpCloseHandle(request)",
            "WinHttpCloseHandle(connection)",
            "WinHttpCloseHandle(session)",
        };
    }

    // The calls up to the first that begins with `last`, then those that close `closed` handles.
    std::vector<std::string> CallsUpTo(const std::string& last, size_t closed) const {
        std::vector<std::string> calls = SuccessfulCalls();
        const std::vector<std::string> closings(calls.end() - static_cast<ptrdiff_t>(closed),
                                                calls.end());
        const auto failing = std::find_if(calls.begin(), calls.end(),
                                          [&](const auto& call) { return call.starts_with(last); });
        calls.erase(failing + 1, calls.end());
        calls.insert(calls.end(), closings.begin(), closings.end());
        return calls;
    }

    bench::CallRecord record_;
};

TEST_F(HttpDownloadCalls, AreThePrescribedOnesWithoutTheLock) {
    record_.atEachCall = [&] {
        // On another thread: a thread must not try a lock that it holds.
        EXPECT_TRUE(std::async(std::launch::async,
                               [] {
                                   const std::unique_lock lock(jobProgress.lock, std::try_to_lock);
                                   return lock.owns_lock();
                               })
                        .get())
            << record_.calls.back();
    };
    EXPECT_EQ(CallsOf(server_.Url(L"body/1000")), SuccessfulCalls());
    ExpectNoFailure();
}

TEST_F(HttpDownloadCalls, AskForHttpsWhereTheUrlDoes) {
    for (const auto& [url, port] : {std::pair(L"https://localhost/p?q", "443"),
                                    std::pair(L"https://localhost:81/p?q", "81")}) {
        EXPECT_THAT(CallsOf(url, "WinHttpSendRequest"),
                    testing::IsSupersetOf(
                        {"WinHttpConnect(session, localhost, " + std::string(port) + ", 0)",
                         std::string("WinHttpOpenRequest(connection, GET, /p?q, null, null, null, "
                                     "8388608)")}));
    }
}

TEST_F(HttpDownloadCalls, CloseWhatIsOpenAfterAFailure) {
    constexpr wchar_t kNoResponse[] = L"The server did not respond to the download request.";
    constexpr wchar_t kBroken[] = L"The download stopped unexpectedly.";
    struct Row {
        std::string failingCall;
        const wchar_t* message;
        size_t closedHandles;
    };
    const Row rows[] = {
        {"WinHttpCrackUrl", L"The package URL is not valid.", 0},
        {"WinHttpOpen(", L"Could not start the Windows HTTP downloader.", 0},
        {"WinHttpConnect", L"Could not connect to the download host.", 1},
        {"WinHttpOpenRequest", L"Could not create the download request.", 2},
        {"WinHttpSendRequest", kNoResponse, 3},
        {"WinHttpReceiveResponse", kNoResponse, 3},
        {"WinHttpQueryHeaders(request, 536870931,", L"The server returned HTTP 0.", 3},
        {"CreateFileW", L"Could not create the temporary download file.", 3},
        {"WinHttpQueryDataAvailable", kBroken, 4},
        {"WinHttpReadData", kBroken, 4},
        {"WriteFile", L"Could not write the downloaded data to disk.", 4},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.failingCall);
        std::filesystem::remove(archive_);
        ClearForJobStart(JobKind::Repair);
        EXPECT_EQ(CallsOf(server_.Url(L"body/1000"), row.failingCall),
                  CallsUpTo(row.failingCall, row.closedHandles));
        ExpectFailure(row.message);
        EXPECT_EQ(IsSaved(), row.closedHandles == 4);
        EXPECT_EQ(snapshot().bytesReceived, 0u);
    }
}

TEST_F(HttpDownloadCalls, ContinueWithoutTimeoutsRedirectPolicyOrLength) {
    for (const char* const call :
         {"WinHttpSetTimeouts", "WinHttpSetOption", "WinHttpQueryHeaders(request, 5,"}) {
        EXPECT_EQ(CallsOf(server_.Url(L"body/1000"), call), SuccessfulCalls()) << call;
        ExpectNoFailure();
    }
    EXPECT_EQ(snapshot().bytesTotal, 0u);
}

TEST_F(HttpDownloadCalls, ReadNothingAfterAStopAndDeleteTheClosedFile) {
    jobProgress.cancelRequested = true;
    std::vector<std::string> expected = CallsUpTo("CreateFileW", 4);
    expected.push_back("DeleteFileW(" + bench::CallRecord::Utf8(archive_) + ")");
    EXPECT_EQ(CallsOf(server_.Url(L"body/1000")), expected);
    ExpectNoFailure();
    EXPECT_FALSE(IsSaved());
}

TEST_F(HttpDownloadCalls, ReadWhatHasArrivedIntoOneZeroedBufferOfOneMebibyte) {
    DWORD bytesAvailable = 0;
    const auto availableHook = bench::HookCall<decltype(&::WinHttpQueryDataAvailable)>(
        kWinHttp, "WinHttpQueryDataAvailable", [&](HINTERNET request, LPDWORD bytes) {
            const auto real = bench::RealFunction<decltype(&::WinHttpQueryDataAvailable)>(
                kWinHttp, "WinHttpQueryDataAvailable");
            const BOOL success = real(request, bytes);
            bytesAvailable = *bytes;
            return success;
        });
    const char* start = nullptr;
    bool isZeroed = false;
    const auto readHook = bench::HookCall<decltype(&::WinHttpReadData)>(
        kWinHttp, "WinHttpReadData",
        [&](HINTERNET request, LPVOID buffer, DWORD size, LPDWORD bytesRead) {
            const char* const place = static_cast<const char*>(buffer);
            if (start == nullptr) {
                start = place;
                const std::string_view bytes(start, kMebibyte);
                isZeroed = bytes.find_first_not_of('\0') == std::string_view::npos;
            }
            EXPECT_GE(place, start);
            EXPECT_LE(place + size, start + kMebibyte);
            EXPECT_GE(size, 1u);
            EXPECT_LE(size, std::max(bytesAvailable, DWORD{1}));
            return ReadRealData(request, buffer, size, bytesRead);
        });
    EXPECT_TRUE(Download(L"body/3000000"));
    EXPECT_TRUE(isZeroed);
}

// Downloads with announced sizes of all kinds.
class AnnouncedSize : public DownloadTest {
protected:
    // Downloads ten bytes that are announced with this text.
    bool DownloadWithLength(const std::wstring& length) {
        const auto hook = bench::HookCall<decltype(&::WinHttpQueryHeaders)>(
            kWinHttp, "WinHttpQueryHeaders",
            [&](HINTERNET request, DWORD what, LPCWSTR name, LPVOID buffer, LPDWORD bytes,
                LPDWORD index) {
                if (what == WINHTTP_QUERY_CONTENT_LENGTH) {
                    length.copy(static_cast<wchar_t*>(buffer), length.size());
                    return TRUE;
                }
                return bench::RealFunction<decltype(&::WinHttpQueryHeaders)>(
                    kWinHttp, "WinHttpQueryHeaders")(request, what, name, buffer, bytes, index);
            });
        return Download(L"body/10");
    }
};

TEST_F(AnnouncedSize, LeadsToNoAbsurdPercentage) {
    struct Row {
        std::wstring length;
        uint64_t leastTotal;
        uint64_t greatestTotal;
        double leastPercent;
        double greatestPercent;
    };
    constexpr uint64_t kGreatest = std::numeric_limits<uint64_t>::max();
    const Row rows[] = {
        {L"", 0, 0, 0.0, 0.0},
        {L"many", 0, 0, 0.0, 0.0},
        {L"0", 0, 0, 0.0, 0.0},
        {L" 20", 20, 20, 50.0, 50.0},
        {L"20 bytes", 20, 20, 50.0, 50.0},
        {L"20, 20", 20, 20, 50.0, 50.0},
        {L"7", 7, 7, 100.0, 100.0},
        {L"12345678901", 12345678901, 12345678901, 0.0, 0.001},
        {L"-1", kGreatest, kGreatest, 0.0, 0.001},
        {L"9223372036854775807", kGreatest / 2, kGreatest / 2, 0.0, 0.001},
        // C libraries differ in what they make of a number that is too large.
        {std::wstring(60, L'9'), 0, kGreatest, 0.0, 100.0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.length));
        EXPECT_TRUE(DownloadWithLength(row.length));
        const JobState state = snapshot();
        EXPECT_EQ(state.bytesReceived, 10u);
        EXPECT_GE(state.bytesTotal, row.leastTotal);
        EXPECT_LE(state.bytesTotal, row.greatestTotal);
        EXPECT_GE(ProgressPercent(state), row.leastPercent);
        EXPECT_LE(ProgressPercent(state), row.greatestPercent);
    }
}

// Downloads by a simulated clock.
class DownloadTiming : public DownloadTest {
protected:
    // Bytes that a read is to give, and how long it is to take.
    struct Piece {
        DWORD bytes;
        double seconds;
    };

    // The result is what was published before each read and, last, at the end.
    std::vector<JobState> StatesDuring(const std::vector<Piece>& pieces) {
        std::vector<JobState> states;
        LONGLONG clock = 1000000;
        LARGE_INTEGER frequency{};
        ::QueryPerformanceFrequency(&frequency);
        const auto clockHook = bench::HookCall<decltype(&::QueryPerformanceCounter)>(
            kKernel32, "QueryPerformanceCounter", [&](LARGE_INTEGER* now) {
                now->QuadPart = clock;
                return TRUE;
            });
        const auto bytesOfNextPiece = [&] {
            return states.size() == pieces.size() ? 0 : pieces[states.size()].bytes;
        };
        const auto availableHook = bench::HookCall<decltype(&::WinHttpQueryDataAvailable)>(
            kWinHttp, "WinHttpQueryDataAvailable", [&](HINTERNET, LPDWORD bytesAvailable) {
                *bytesAvailable = bytesOfNextPiece();
                return TRUE;
            });
        const auto readHook = bench::HookCall<decltype(&::WinHttpReadData)>(
            kWinHttp, "WinHttpReadData", [&](HINTERNET, LPVOID, DWORD, LPDWORD bytesRead) {
                *bytesRead = bytesOfNextPiece();
                if (*bytesRead != 0) {
                    clock += static_cast<LONGLONG>(pieces[states.size()].seconds *
                                                   static_cast<double>(frequency.QuadPart));
                }
                states.push_back(snapshot());
                return TRUE;
            });
        EXPECT_TRUE(Download(L"body/0"));
        states.push_back(snapshot());
        return states;
    }

    // The sizes of the writes of a download of such pieces.
    std::vector<DWORD> WritesDuring(const std::vector<Piece>& pieces) {
        std::vector<DWORD> sizes;
        const auto hook =
            bench::HookCall<decltype(&::WriteFile)>(kKernel32, "WriteFile", [&](auto... values) {
                sizes.push_back(std::get<2>(std::tuple(values...)));
                return bench::RealFunction<decltype(&::WriteFile)>(kKernel32,
                                                                   "WriteFile")(values...);
            });
        StatesDuring(pieces);
        return sizes;
    }
};

TEST_F(DownloadTiming, WritesOneMebibyteOrWhatAQuarterOfASecondBrings) {
    EXPECT_THAT(WritesDuring(std::vector<Piece>(9, {kMebibyte / 4, 0.001})),
                ElementsAre(kMebibyte, kMebibyte, kMebibyte / 4));
    EXPECT_THAT(WritesDuring({{100, 0.1}, {100, 0.1}, {100, 0.1}, {1, 1.0}, {7, 0.3}, {50, 0.2}}),
                ElementsAre(300, 1, 7, 50));
}

TEST_F(DownloadTiming, PublishesTheStartAndTheSpeedSinceTheLastPublication) {
    UpdateJobState([](JobState& state) {
        state.bytesReceived = 7;
        state.bytesPerSecond = 7.0;
        state.detailLine = L"Preparing CDN package...";
    });
    const std::vector<JobState> states =
        StatesDuring({{1000, 0.2}, {2000, 0.2}, {500, 0.3}, {300, 0.5}, {50, 0.1}});
    ASSERT_EQ(states.size(), 7u);
    EXPECT_EQ(states[0].stage, JobStage::Downloading);
    EXPECT_EQ(states[0].bytesTotal, 0u);
    EXPECT_EQ(states[0].statusLine, L"Downloading client package...");
    EXPECT_EQ(states[0].detailLine, L"");
    struct Row {
        uint64_t bytesReceived;
        double bytesPerSecond;
    };
    const Row rows[] = {
        {0, 0.0},           {0, 0.0},     // After 0.2 s.
        {3000, 3000 / 0.4},               // After 0.4 s.
        {3000, 3000 / 0.4},               // 0.3 s later.
        {3800, 800 / 0.8},                // 0.8 s later.
        {3800, 800 / 0.8},  {3850, 0.0},  // The end.
    };
    for (size_t i = 0; i < states.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(states[i].bytesReceived, rows[i].bytesReceived);
        EXPECT_NEAR(states[i].bytesPerSecond, rows[i].bytesPerSecond, 0.1);
    }
}

}  // namespace
