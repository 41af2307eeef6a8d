#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "package/download_fixture.h"
#include "ui/progress_bar.h"

namespace {

// What the download asks of the system where no server and no file can tell: limits, sizes, the
// moments of publication.
class HttpDownloadCalls : public DownloadTest {
protected:
    // Bytes that a read is to give, and how long it is to take.
    struct Piece {
        DWORD bytes;
        double seconds;
    };

    // Downloads from a body of such pieces by a clock of its own. The result is what was published
    // before each read and, last, at the end.
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

    // Downloads ten bytes that are announced with this text.
    bool DownloadWithLength(const std::wstring& length) {
        const auto hook = bench::HookCall<decltype(&::WinHttpQueryHeaders)>(
            kWinHttp, "WinHttpQueryHeaders",
            [&](HINTERNET request, DWORD what, LPCWSTR name, LPVOID buffer, LPDWORD bytes,
                LPDWORD index) {
                if (what == WINHTTP_QUERY_CONTENT_LENGTH) {
                    EXPECT_EQ(*bytes, 128u);
                    length.copy(static_cast<wchar_t*>(buffer), length.size());
                    return TRUE;
                }
                EXPECT_EQ(what, 0x20000013u);
                return bench::RealFunction<decltype(&::WinHttpQueryHeaders)>(
                    kWinHttp, "WinHttpQueryHeaders")(request, what, name, buffer, bytes, index);
            });
        return Download(L"body/10");
    }

    // The sizes of the writes of a download of such pieces.
    std::vector<DWORD> WritesDuring(const std::vector<Piece>& pieces) {
        std::vector<DWORD> sizes;
        const auto hook = bench::HookCall<decltype(&::WriteFile)>(
            kKernel32, "WriteFile",
            [&](HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) {
                sizes.push_back(size);
                const auto real =
                    bench::RealFunction<decltype(&::WriteFile)>(kKernel32, "WriteFile");
                return real(file, data, size, written, overlapped);
            });
        StatesDuring(pieces);
        return sizes;
    }
};

TEST_F(HttpDownloadCalls, OpenASynchronousSessionWithAutomaticProxyAndLimits) {
    HINTERNET session = nullptr;
    const auto openHook = bench::HookCall<decltype(&::WinHttpOpen)>(
        kWinHttp, "WinHttpOpen",
        [&](LPCWSTR agent, DWORD access, LPCWSTR proxy, LPCWSTR bypass, DWORD flags) {
            EXPECT_STREQ(agent, L"KrvBrennickRepair/1.0");
            EXPECT_EQ(access, 4u);
            EXPECT_EQ(proxy, nullptr);
            EXPECT_EQ(bypass, nullptr);
            EXPECT_EQ(flags, 0u);
            session = bench::RealFunction<decltype(&::WinHttpOpen)>(kWinHttp, "WinHttpOpen")(
                agent, access, proxy, bypass, flags);
            return session;
        });
    int limits = 0;
    const auto timeoutHook = bench::HookCall<decltype(&::WinHttpSetTimeouts)>(
        kWinHttp, "WinHttpSetTimeouts",
        [&](HINTERNET handle, int resolve, int connect, int send, int receive) {
            ++limits;
            EXPECT_EQ(handle, session);
            EXPECT_EQ(resolve, 30000);
            EXPECT_EQ(connect, 30000);
            EXPECT_EQ(send, 30000);
            EXPECT_EQ(receive, 30000);
            return TRUE;
        });
    int options = 0;
    const auto optionHook = bench::HookCall<decltype(&::WinHttpSetOption)>(
        kWinHttp, "WinHttpSetOption",
        [&](HINTERNET handle, DWORD option, LPVOID value, DWORD bytes) {
            ++options;
            EXPECT_EQ(handle, session);
            EXPECT_EQ(option, 88u);
            EXPECT_EQ(bytes, 4u);
            EXPECT_EQ(*static_cast<DWORD*>(value), 2u);
            return FALSE;  // It does not matter.
        });
    EXPECT_TRUE(Download(L"body/10"));
    EXPECT_EQ(limits, 1);
    EXPECT_EQ(options, 1);
}

TEST_F(HttpDownloadCalls, AskForHttpsOnlyWhereTheUrlDoes) {
    std::vector<DWORD> flagsSeen;
    std::vector<INTERNET_PORT> ports;
    const auto connectHook = bench::HookCall<decltype(&::WinHttpConnect)>(
        kWinHttp, "WinHttpConnect",
        [&](HINTERNET session, LPCWSTR host, INTERNET_PORT port, DWORD reserved) {
            ports.push_back(port);
            return bench::RealFunction<decltype(&::WinHttpConnect)>(kWinHttp, "WinHttpConnect")(
                session, host, port, reserved);
        });
    const auto requestHook = bench::HookCall<decltype(&::WinHttpOpenRequest)>(
        kWinHttp, "WinHttpOpenRequest",
        [&](HINTERNET, LPCWSTR verb, LPCWSTR objectName, LPCWSTR version, LPCWSTR referrer,
            LPCWSTR* acceptTypes, DWORD flags) -> HINTERNET {
            EXPECT_STREQ(verb, L"GET");
            EXPECT_STREQ(objectName, L"/p?q");
            EXPECT_EQ(version, nullptr);
            EXPECT_EQ(referrer, nullptr);
            EXPECT_EQ(acceptTypes, nullptr);
            flagsSeen.push_back(flags);
            return nullptr;
        });
    for (const wchar_t* const url :
         {L"http://localhost/p?q", L"https://localhost/p?q", L"https://localhost:81/p?q"}) {
        EXPECT_FALSE(DownloadPackage(url, archive_));
    }
    EXPECT_THAT(flagsSeen, testing::ElementsAre(0u, 0x00800000u, 0x00800000u));
    EXPECT_THAT(ports, testing::ElementsAre(80, 443, 81));
}

TEST_F(HttpDownloadCalls, SplitTheUrlWithoutChangingIt) {
    int splits = 0;
    const auto hook = bench::HookCall<decltype(&::WinHttpCrackUrl)>(
        kWinHttp, "WinHttpCrackUrl",
        [&](LPCWSTR url, DWORD length, DWORD flags, LPURL_COMPONENTS parts) {
            ++splits;
            EXPECT_EQ(flags, 0u);
            return bench::RealFunction<decltype(&::WinHttpCrackUrl)>(kWinHttp, "WinHttpCrackUrl")(
                url, length, flags, parts);
        });
    EXPECT_TRUE(Download(L"body/10"));
    EXPECT_EQ(splits, 1);
}

TEST_F(HttpDownloadCalls, AskForTheLengthAsText) {
    EXPECT_TRUE(DownloadWithLength(L"12345678901"));
    EXPECT_EQ(snapshot().bytesTotal, 12345678901u);
}

TEST_F(HttpDownloadCalls, TakeOddLengthsWithoutAnAbsurdPercentage) {
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
        {L"-1", kGreatest, kGreatest, 0.0, 0.001},
        {L"9223372036854775807", kGreatest / 2, kGreatest / 2, 0.0, 0.001},
        // What is left of a number that is too large differs from one C library to the next.
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

TEST_F(HttpDownloadCalls, CreateTheFileForThemselvesAlone) {
    int creations = 0;
    const auto hook = bench::HookCall<decltype(&::CreateFileW)>(
        kKernel32, "CreateFileW",
        [&](LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
            DWORD disposition, DWORD attributes, HANDLE model) {
            ++creations;
            EXPECT_EQ(name, archive_);
            EXPECT_EQ(access, static_cast<DWORD>(GENERIC_WRITE));
            EXPECT_EQ(share, 0u);
            EXPECT_EQ(security, nullptr);
            EXPECT_EQ(disposition, static_cast<DWORD>(CREATE_ALWAYS));
            EXPECT_EQ(attributes, static_cast<DWORD>(FILE_ATTRIBUTE_NORMAL));
            return bench::RealFunction<decltype(&::CreateFileW)>(kKernel32, "CreateFileW")(
                name, access, share, security, disposition, attributes, model);
        });
    EXPECT_TRUE(Download(L"body/10"));
    EXPECT_EQ(creations, 1);
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

TEST_F(HttpDownloadCalls, WriteBlocksOfOneMebibyteOnAFastLine) {
    EXPECT_THAT(WritesDuring(std::vector<Piece>(9, {kMebibyte / 4, 0.001})),
                testing::ElementsAre(kMebibyte, kMebibyte, kMebibyte / 4));
}

TEST_F(HttpDownloadCalls, WriteWhatAQuarterOfASecondBringsOnASlowLine) {
    EXPECT_THAT(WritesDuring({{100, 0.1}, {100, 0.1}, {100, 0.1}, {1, 1.0}, {7, 0.3}, {50, 0.2}}),
                testing::ElementsAre(300, 1, 7, 50));
}

TEST_F(HttpDownloadCalls, FollowThePublicationOfTheStart) {
    UpdateJobState([](JobState& state) {
        state.bytesReceived = 7;
        state.bytesPerSecond = 7.0;
        state.detailLine = L"Preparing CDN package...";
    });
    const std::vector<JobState> states = StatesDuring({});
    EXPECT_EQ(states[0].stage, JobStage::Downloading);
    EXPECT_EQ(states[0].bytesTotal, 0u);
    EXPECT_EQ(states[0].bytesReceived, 0u);
    EXPECT_EQ(states[0].bytesPerSecond, 0.0);
    EXPECT_EQ(states[0].statusLine, L"Downloading client package...");
    EXPECT_EQ(states[0].detailLine, L"");
}

TEST_F(HttpDownloadCalls, PublishTheSpeedOfTheTimeSinceTheLastPublication) {
    const std::vector<JobState> states =
        StatesDuring({{1000, 0.2}, {2000, 0.2}, {500, 0.3}, {300, 0.5}, {50, 0.1}});
    ASSERT_EQ(states.size(), 7u);
    EXPECT_EQ(states[1].bytesReceived, 0u);  // 0.2 s
    EXPECT_EQ(states[1].bytesPerSecond, 0.0);
    EXPECT_EQ(states[2].bytesReceived, 3000u);  // 0.4 s
    EXPECT_NEAR(states[2].bytesPerSecond, 3000 / 0.4, 0.1);
    EXPECT_EQ(states[3].bytesReceived, 3000u);  // 0.3 s since
    EXPECT_NEAR(states[3].bytesPerSecond, 3000 / 0.4, 0.1);
    EXPECT_EQ(states[4].bytesReceived, 3800u);  // 0.8 s since
    EXPECT_NEAR(states[4].bytesPerSecond, 800 / 0.8, 0.1);
    EXPECT_EQ(states[5].bytesReceived, 3800u);
    EXPECT_EQ(states[6].bytesReceived, 3850u);  // The end
    EXPECT_EQ(states[6].bytesPerSecond, 0.0);
}

TEST(DownloadBlockTest, IsCompleteWhenFullOrAfterAQuarterOfASecond) {
    using std::chrono::nanoseconds;
    EXPECT_FALSE(IsBlockComplete(0, nanoseconds(0)));
    EXPECT_FALSE(IsBlockComplete(0x0FFFFF, nanoseconds(249999999)));
    EXPECT_TRUE(IsBlockComplete(0x100000, nanoseconds(0)));
    EXPECT_TRUE(IsBlockComplete(1, nanoseconds(250000000)));
    EXPECT_TRUE(IsBlockComplete(1, std::chrono::hours(1)));
}

TEST(DownloadBlockTest, TakesWhatIsAvailableAndFits) {
    struct Row {
        uint32_t bytes;
        uint32_t bytesAvailable;
        uint32_t nextRead;
    };
    const Row rows[] = {
        {0, 8192, 8192},
        {0, 1, 1},
        {0, 0, 1},
        {0, 0x100000, 0x100000},
        {0, 0x100001, 0x100000},
        {5000, 0, 1},
        {0x0FFFFF, 1, 1},
        {0x0FFFFF, 2, 1},
        {0x0FFFFF, 0, 1},
        {0x0FE000, 8193, 8192},
        {1, 0xFFFFFFFF, 0x0FFFFF},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(NextReadBytes(row.bytes, row.bytesAvailable), row.nextRead)
            << row.bytes << ", " << row.bytesAvailable;
    }
}

TEST(DownloadPaceTest, IsDueFromThirtyFiveHundredthsOfASecondOn) {
    using std::chrono::nanoseconds;
    struct Row {
        long long elapsedNs;
        bool due;
    };
    const Row rows[] = {
        {0, false}, {349999999, false}, {350000000, true}, {350000001, true}, {9000000000, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.elapsedNs);
        const DownloadPace::Clock::time_point start(std::chrono::hours(5));
        DownloadPace pace(start);
        const auto speed = pace.Add(700, start + nanoseconds(row.elapsedNs));
        ASSERT_EQ(speed.has_value(), row.due);
        if (row.due) {
            EXPECT_DOUBLE_EQ(*speed, 700.0 / (static_cast<double>(row.elapsedNs) / 1e9));
        }
    }
}

TEST(DownloadPaceTest, BeginsAfreshAfterEachPublication) {
    using std::chrono::milliseconds;
    const DownloadPace::Clock::time_point start{};
    DownloadPace pace(start);
    EXPECT_FALSE(pace.Add(100, start + milliseconds(300)));
    EXPECT_EQ(pace.Add(300, start + milliseconds(500)), 800.0);
    EXPECT_FALSE(pace.Add(50, start + milliseconds(840)));
    EXPECT_EQ(pace.Add(50, start + milliseconds(1000)), 200.0);
    EXPECT_EQ(pace.Add(0, start + milliseconds(2000)), 0.0);
}

}  // namespace
