#include "single_fault/failing_calls.h"

#include <gtest/gtest.h>

#include <map>
#include <tuple>
#include <type_traits>
#include <utility>

#include "bench_parts/named_call.h"
#include "job/progress/job_progress.h"

namespace {

using bench::kAdvapi32;
using bench::kKernel32;

DWORD watchedThread = 0;
Fault fault;
std::vector<SystemCall> calls;

// Whether this call fails. `path` may be null.
bool Strikes(const char* function, const wchar_t* path) {
    // The record without the lock: only this thread writes it, and some calls are made under it.
    calls.push_back({function, path == nullptr ? L"" : path,
                     jobProgress.state.statusLine + jobProgress.state.detailLine});
    if (fault.number == 0 || calls.size() < fault.number) {
        return false;
    }
    const SystemCall& struck = calls[fault.number - 1];
    switch (fault.mode) {
        case FaultMode::Once:
            return calls.size() == fault.number;
        case FaultMode::FromThenOn:
            return true;
        case FaultMode::SamePath:
            return calls.back().function == struck.function && calls.back().path == struck.path;
    }
    return false;
}

// What the handles were opened for, closed ones included until their number comes again.
std::map<HANDLE, std::wstring> openedPaths;

template <typename First, typename... Others>
const wchar_t* PathAmong([[maybe_unused]] First first, Others...) {
    if constexpr (std::is_same_v<First, LPCWSTR>) {
        return first;
    } else if constexpr (std::is_same_v<First, HANDLE>) {
        const auto found = openedPaths.find(first);
        return found == openedPaths.end() ? nullptr : found->second.c_str();
    } else {
        return nullptr;
    }
}

template <bench::FunctionName kName, typename Result>
Result FailureValue([[maybe_unused]] DWORD error) {
    if constexpr (std::is_same_v<Result, HANDLE>) {
        return INVALID_HANDLE_VALUE;
    } else if constexpr (std::is_same_v<Result, LSTATUS>) {
        return static_cast<LSTATUS>(error);
    } else if constexpr (kName.Is("GetFileAttributesW")) {
        return INVALID_FILE_ATTRIBUTES;
    } else if constexpr (kName.Is("WaitForSingleObject")) {
        return WAIT_FAILED;
    } else {
        return Result{};
    }
}

struct FailCall {
    template <bench::FunctionName kName, typename Result, typename... Arguments>
    static Result Call(Result(WINAPI* original)(Arguments...), Arguments... arguments) {
        if (::GetCurrentThreadId() != watchedThread) {
            return original(arguments...);
        }
        const wchar_t* const path = PathAmong(arguments...);
        if (Strikes(kName.text, path)) {
            ::SetLastError(fault.error);
            return FailureValue<kName, Result>(fault.error);
        }
        const Result result = original(arguments...);
        if constexpr (std::is_same_v<Result, HANDLE>) {
            const DWORD error = ::GetLastError();
            openedPaths[result] = path;
            ::SetLastError(error);
        }
        return result;
    }
};

template <const wchar_t* kDll, bench::FunctionName kName, typename Function>
using FailingCall = bench::NamedCall<FailCall, kDll, kName, Function>;

using AllCalls = std::tuple<
    FailingCall<kKernel32, "CopyFileW", decltype(&::CopyFileW)>,
    FailingCall<kKernel32, "CreateDirectoryW", decltype(&::CreateDirectoryW)>,
    FailingCall<kKernel32, "CreateFileW", decltype(&::CreateFileW)>,
    FailingCall<kKernel32, "CreateProcessW", decltype(&::CreateProcessW)>,
    FailingCall<kKernel32, "DeleteFileW", decltype(&::DeleteFileW)>,
    FailingCall<kKernel32, "FindFirstFileExW", decltype(&::FindFirstFileExW)>,
    FailingCall<kKernel32, "FindNextFileW", decltype(&::FindNextFileW)>,
    FailingCall<kKernel32, "GetEnvironmentVariableW", decltype(&::GetEnvironmentVariableW)>,
    FailingCall<kKernel32, "GetExitCodeProcess", decltype(&::GetExitCodeProcess)>,
    FailingCall<kKernel32, "GetFileAttributesExW", decltype(&::GetFileAttributesExW)>,
    FailingCall<kKernel32, "GetFileAttributesW", decltype(&::GetFileAttributesW)>,
    FailingCall<kKernel32, "GetFileInformationByHandle", decltype(&::GetFileInformationByHandle)>,
    FailingCall<kKernel32, "GetFileInformationByHandleEx",
                decltype(&::GetFileInformationByHandleEx)>,
    FailingCall<kKernel32, "GetFileSizeEx", decltype(&::GetFileSizeEx)>,
    FailingCall<kKernel32, "GetFileTime", decltype(&::GetFileTime)>,
    FailingCall<kKernel32, "GetFinalPathNameByHandleW", decltype(&::GetFinalPathNameByHandleW)>,
    FailingCall<kKernel32, "GetFullPathNameW", decltype(&::GetFullPathNameW)>,
    FailingCall<kKernel32, "GetTempPathW", decltype(&::GetTempPathW)>,
    FailingCall<kKernel32, "GetVolumePathNameW", decltype(&::GetVolumePathNameW)>,
    FailingCall<kKernel32, "MoveFileExW", decltype(&::MoveFileExW)>,
    FailingCall<kKernel32, "ReadFile", decltype(&::ReadFile)>,
    FailingCall<kKernel32, "RemoveDirectoryW", decltype(&::RemoveDirectoryW)>,
    FailingCall<kKernel32, "SearchPathW", decltype(&::SearchPathW)>,
    FailingCall<kKernel32, "SetFileAttributesW", decltype(&::SetFileAttributesW)>,
    FailingCall<kKernel32, "SetFileInformationByHandle", decltype(&::SetFileInformationByHandle)>,
    FailingCall<kKernel32, "SetFileTime", decltype(&::SetFileTime)>,
    FailingCall<kKernel32, "WaitForSingleObject", decltype(&::WaitForSingleObject)>,
    FailingCall<kKernel32, "WriteFile", decltype(&::WriteFile)>,
    FailingCall<kAdvapi32, "RegCreateKeyExW", decltype(&::RegCreateKeyExW)>,
    FailingCall<kAdvapi32, "RegSetValueExW", decltype(&::RegSetValueExW)>>;

}  // namespace

std::vector<SystemCall> CallsDuring(const std::function<void()>& work, const Fault& plannedFault) {
    openedPaths.clear();
    calls.clear();
    fault = plannedFault;
    const AllCalls allCalls;
    const auto expectInstalled = [](const auto& call) {
        EXPECT_TRUE(call.Installed()) << call.Name();
    };
    std::apply([&](const auto&... call) { (expectInstalled(call), ...); }, allCalls);
    watchedThread = ::GetCurrentThreadId();
    work();
    watchedThread = 0;
    return calls;
}

Uncounted::Uncounted() : former_(std::exchange(watchedThread, 0)) {}

Uncounted::~Uncounted() {
    watchedThread = former_;
}
