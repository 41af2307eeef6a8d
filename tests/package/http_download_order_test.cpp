#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "package/download_fixture.h"

namespace {

// What one download asked of the system, in order. Closing calls stand with what they close, header
// queries with what they ask for.
struct CallRecord {
    std::vector<std::string> calls;
    std::map<void*, std::string> openHandles;
    std::string failingCall;  // As it stands in `calls`.
    std::function<void()> atEachCall = [] {
    };
};

CallRecord* record = nullptr;

// What a handle is called that this function gives.
std::string HandleName(const std::string& function) {
    const std::map<std::string, std::string> names = {{"WinHttpOpen", "session"},
                                                      {"WinHttpConnect", "connection"},
                                                      {"WinHttpOpenRequest", "request"},
                                                      {"CreateFileW", "file"}};
    const auto found = names.find(function);
    return found == names.end() ? "" : found->second;
}

// How a call stands in the record.
template <class... Arguments>
std::string CallName(const std::string& function, Arguments...) {
    return function;
}

std::string CallName(const std::string&, HINTERNET, DWORD what, LPCWSTR, LPVOID, LPDWORD, LPDWORD) {
    return what == WINHTTP_QUERY_CONTENT_LENGTH ? "query length" : "query status";
}

// Empty when somebody else closes a handle.
std::string CallName(const std::string&, HANDLE closed) {
    const auto handle = record->openHandles.extract(closed);
    return handle ? "close " + handle.mapped() : "";
}

// A function's name as a template argument, so that each function has a hook of its own.
template <size_t kSize>
struct FunctionName {
    // A name is written where a FunctionName is wanted, so the constructor must convert.
    constexpr FunctionName(const char (&name)[kSize]) {
        std::copy_n(name, kSize, text);
    }

    char text[kSize]{};
};

template <const wchar_t* kDll, FunctionName kName, class Function>
class RecordedFunction;

template <const wchar_t* kDll, FunctionName kName, class Result, class... Arguments>
class RecordedFunction<kDll, kName, Result (*)(Arguments...)> {
    struct Forward {
        Result operator()(Arguments... arguments) const {
            const auto real = bench::RealFunction<Result (*)(Arguments...)>(kDll, kName.text);
            const std::string call = CallName(kName.text, arguments...);
            if (call.empty()) {
                return real(arguments...);
            }
            record->calls.push_back(call);
            record->atEachCall();
            if (call == record->failingCall) {
                return Failure();
            }
            const Result result = real(arguments...);
            if constexpr (std::is_pointer_v<Result>) {
                record->openHandles[result] = HandleName(kName.text);
            }
            return result;
        }

        static Result Failure() {
            if constexpr (std::is_pointer_v<Result>) {
                return kDll == kKernel32 ? INVALID_HANDLE_VALUE : nullptr;
            } else {
                return FALSE;
            }
        }
    };

    bench::CallHook<Result (*)(Arguments...), Forward> hook_{kDll, kName.text, Forward{}};
};

using RecordedFunctions = std::tuple<
    RecordedFunction<kWinHttp, "WinHttpOpen", decltype(&::WinHttpOpen)>,
    RecordedFunction<kWinHttp, "WinHttpSetTimeouts", decltype(&::WinHttpSetTimeouts)>,
    RecordedFunction<kWinHttp, "WinHttpSetOption", decltype(&::WinHttpSetOption)>,
    RecordedFunction<kWinHttp, "WinHttpConnect", decltype(&::WinHttpConnect)>,
    RecordedFunction<kWinHttp, "WinHttpOpenRequest", decltype(&::WinHttpOpenRequest)>,
    RecordedFunction<kWinHttp, "WinHttpSendRequest", decltype(&::WinHttpSendRequest)>,
    RecordedFunction<kWinHttp, "WinHttpReceiveResponse", decltype(&::WinHttpReceiveResponse)>,
    RecordedFunction<kWinHttp, "WinHttpQueryHeaders", decltype(&::WinHttpQueryHeaders)>,
    RecordedFunction<kWinHttp, "WinHttpQueryDataAvailable", decltype(&::WinHttpQueryDataAvailable)>,
    RecordedFunction<kWinHttp, "WinHttpReadData", decltype(&::WinHttpReadData)>,
    RecordedFunction<kWinHttp, "WinHttpCloseHandle", decltype(&::WinHttpCloseHandle)>,
    RecordedFunction<kKernel32, "CreateFileW", decltype(&::CreateFileW)>,
    RecordedFunction<kKernel32, "WriteFile", decltype(&::WriteFile)>,
    RecordedFunction<kKernel32, "CloseHandle", decltype(&::CloseHandle)>,
    RecordedFunction<kKernel32, "DeleteFileW", decltype(&::DeleteFileW)>>;

// The order of a download's calls, however it ends.
class HttpDownloadOrder : public DownloadTest {
protected:
    HttpDownloadOrder() {
        record = &record_;
    }
    ~HttpDownloadOrder() override {
        record = nullptr;
    }

    // The calls of a download in which `failingCall` fails, of a body that arrives as one piece and
    // in no time, or how often it is read would depend on the machine's speed.
    std::vector<std::string> CallsOf(std::wstring_view behavior,
                                     const std::string& failingCall = "") {
        record_.calls.clear();
        record_.openHandles.clear();
        record_.failingCall = failingCall;
        const auto clockHook = bench::HookCall<decltype(&::QueryPerformanceCounter)>(
            kKernel32, "QueryPerformanceCounter", [](LARGE_INTEGER* now) {
                now->QuadPart = 1000000;
                return TRUE;
            });
        const RecordedFunctions functions;
        Download(behavior);
        return record_.calls;
    }

    CallRecord record_;
};

const std::vector<std::string> kSuccessfulCalls = {
    "WinHttpOpen",
    "WinHttpSetTimeouts",
    "WinHttpSetOption",
    "WinHttpConnect",
    "WinHttpOpenRequest",
    "WinHttpSendRequest",
    "WinHttpReceiveResponse",
    "query status",
    "query length",
    "CreateFileW",
    "WinHttpQueryDataAvailable",
    "WinHttpReadData",
    "WinHttpQueryDataAvailable",
    "WinHttpReadData",
    "WriteFile",
    "close file",
    "close request",
    "close connection",
    "close session",
};

// The calls up to and including the first of that name, then those that follow a failure there.
std::vector<std::string> SuccessfulCallsUpTo(const std::string& call,
                                             const std::vector<std::string>& closings) {
    auto end = std::find(kSuccessfulCalls.begin(), kSuccessfulCalls.end(), call);
    std::vector<std::string> calls(kSuccessfulCalls.begin(), end + 1);
    calls.insert(calls.end(), closings.begin(), closings.end());
    return calls;
}

TEST_F(HttpDownloadOrder, IsThatOfTheStepsAndClosesWhatWasOpenedLastFirst) {
    EXPECT_EQ(CallsOf(L"body/1000"), kSuccessfulCalls);
}

TEST_F(HttpDownloadOrder, ClosesAfterAFailureJustWhatIsOpen) {
    struct Row {
        std::string failingCall;
        std::vector<std::string> closings;
    };
    const Row rows[] = {
        {"WinHttpOpen", {}},
        {"WinHttpConnect", {"close session"}},
        {"WinHttpOpenRequest", {"close connection", "close session"}},
        {"WinHttpSendRequest", {"close request", "close connection", "close session"}},
        {"WinHttpReceiveResponse", {"close request", "close connection", "close session"}},
        {"query status", {"close request", "close connection", "close session"}},
        {"CreateFileW", {"close request", "close connection", "close session"}},
        {"WinHttpQueryDataAvailable",
         {"close file", "close request", "close connection", "close session"}},
        {"WinHttpReadData", {"close file", "close request", "close connection", "close session"}},
        {"WriteFile", {"close file", "close request", "close connection", "close session"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.failingCall);
        EXPECT_EQ(CallsOf(L"body/1000", row.failingCall),
                  SuccessfulCallsUpTo(row.failingCall, row.closings));
        EXPECT_TRUE(jobProgress.failed);
        ClearForJobStart(JobKind::Repair);
    }
}

TEST_F(HttpDownloadOrder, ClosesWithoutABodyAfterABadStatus) {
    EXPECT_EQ(CallsOf(L"status/404"),
              SuccessfulCallsUpTo("query status",
                                  {"close request", "close connection", "close session"}));
}

TEST_F(HttpDownloadOrder, GoesOnWithoutLimitsRedirectPolicyOrLength) {
    for (const char* const call : {"WinHttpSetTimeouts", "WinHttpSetOption", "query length"}) {
        EXPECT_EQ(CallsOf(L"body/1000", call), kSuccessfulCalls) << call;
    }
}

TEST_F(HttpDownloadOrder, ClosesEverythingBeforeAStopDeletesTheFile) {
    jobProgress.cancelRequested = true;
    EXPECT_EQ(CallsOf(L"body/1000"),
              SuccessfulCallsUpTo("CreateFileW", {"close file", "close request", "close connection",
                                                  "close session", "DeleteFileW"}));
}

TEST_F(HttpDownloadOrder, IsThatOfCallsWithoutTheLock) {
    record_.atEachCall = [&] {
        // From a thread of its own, for a thread must not try a lock that it holds.
        EXPECT_TRUE(std::async(std::launch::async,
                               [] {
                                   const std::unique_lock lock(jobProgress.lock, std::try_to_lock);
                                   return lock.owns_lock();
                               })
                        .get())
            << record_.calls.back();
    };
    EXPECT_EQ(CallsOf(L"body/1000"), kSuccessfulCalls);
    jobProgress.cancelRequested = true;
    EXPECT_EQ(CallsOf(L"body/1000").back(), "DeleteFileW");
}

}  // namespace
