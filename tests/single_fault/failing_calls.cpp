#include "single_fault/failing_calls.h"

#include <map>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

#include "bench_parts/named_call.h"
#include "job/progress/job_progress.h"

namespace {

constexpr wchar_t kAdvapi[] = L"advapi32.dll";
constexpr wchar_t kKernel[] = L"kernel32.dll";

DWORD watchedThread = 0;
size_t callCount = 0;
std::vector<SystemCall>* notedCalls = nullptr;
const Fault* plannedFault = nullptr;
SystemCall struckCall{};
bool hasStruck = false;

bool IsSamePath(const wchar_t* path) {
    return path != nullptr && !struckCall.path.empty() && struckCall.path == path;
}

// Whether this call fails. `path` may be null.
bool Strikes(const char* function, const wchar_t* path) {
    ++callCount;
    if (notedCalls != nullptr) {
        // Without the lock: only this thread writes the record, and some calls are made under it.
        notedCalls->push_back({function, path == nullptr ? std::wstring() : std::wstring(path),
                               jobProgress.state.detailLine});
    }
    if (plannedFault == nullptr || callCount < plannedFault->number) {
        return false;
    }
    if (callCount == plannedFault->number) {
        hasStruck = true;
        struckCall = {function, path == nullptr ? std::wstring() : std::wstring(path), {}};
        return true;
    }
    switch (plannedFault->mode) {
        case FaultMode::Once:
            return false;
        case FaultMode::FromThenOn:
            return true;
        case FaultMode::SamePath:
            return std::string_view(function) == struckCall.function && IsSamePath(path);
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
            ::SetLastError(plannedFault->error);
            return FailureValue<kName, Result>(plannedFault->error);
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
    FailingCall<kKernel, "CopyFileW", decltype(&::CopyFileW)>,
    FailingCall<kKernel, "CreateDirectoryW", decltype(&::CreateDirectoryW)>,
    FailingCall<kKernel, "CreateFileW", decltype(&::CreateFileW)>,
    FailingCall<kKernel, "CreateProcessW", decltype(&::CreateProcessW)>,
    FailingCall<kKernel, "DeleteFileW", decltype(&::DeleteFileW)>,
    FailingCall<kKernel, "FindFirstFileExW", decltype(&::FindFirstFileExW)>,
    FailingCall<kKernel, "FindNextFileW", decltype(&::FindNextFileW)>,
    FailingCall<kKernel, "GetEnvironmentVariableW", decltype(&::GetEnvironmentVariableW)>,
    FailingCall<kKernel, "GetExitCodeProcess", decltype(&::GetExitCodeProcess)>,
    FailingCall<kKernel, "GetFileAttributesExW", decltype(&::GetFileAttributesExW)>,
    FailingCall<kKernel, "GetFileAttributesW", decltype(&::GetFileAttributesW)>,
    FailingCall<kKernel, "GetFileInformationByHandle", decltype(&::GetFileInformationByHandle)>,
    FailingCall<kKernel, "GetFileInformationByHandleEx", decltype(&::GetFileInformationByHandleEx)>,
    FailingCall<kKernel, "GetFileSizeEx", decltype(&::GetFileSizeEx)>,
    FailingCall<kKernel, "GetFileTime", decltype(&::GetFileTime)>,
    FailingCall<kKernel, "GetFinalPathNameByHandleW", decltype(&::GetFinalPathNameByHandleW)>,
    FailingCall<kKernel, "GetFullPathNameW", decltype(&::GetFullPathNameW)>,
    FailingCall<kKernel, "GetTempPathW", decltype(&::GetTempPathW)>,
    FailingCall<kKernel, "GetVolumePathNameW", decltype(&::GetVolumePathNameW)>,
    FailingCall<kKernel, "MoveFileExW", decltype(&::MoveFileExW)>,
    FailingCall<kKernel, "ReadFile", decltype(&::ReadFile)>,
    FailingCall<kKernel, "RemoveDirectoryW", decltype(&::RemoveDirectoryW)>,
    FailingCall<kKernel, "SearchPathW", decltype(&::SearchPathW)>,
    FailingCall<kKernel, "SetFileAttributesW", decltype(&::SetFileAttributesW)>,
    FailingCall<kKernel, "SetFileInformationByHandle", decltype(&::SetFileInformationByHandle)>,
    FailingCall<kKernel, "SetFileTime", decltype(&::SetFileTime)>,
    FailingCall<kKernel, "WaitForSingleObject", decltype(&::WaitForSingleObject)>,
    FailingCall<kKernel, "WriteFile", decltype(&::WriteFile)>,
    FailingCall<kAdvapi, "RegCreateKeyExW", decltype(&::RegCreateKeyExW)>,
    FailingCall<kAdvapi, "RegSetValueExW", decltype(&::RegSetValueExW)>>;

std::unique_ptr<AllCalls> allCalls;

// Watches this thread during the work, whatever leaves it.
void Watch(const std::function<void()>& work) {
    struct EndOfWatch {
        ~EndOfWatch() {
            watchedThread = 0;
        }
    };
    openedPaths.clear();
    callCount = 0;
    hasStruck = false;
    struckCall = {};
    const EndOfWatch end;
    watchedThread = ::GetCurrentThreadId();
    work();
}

}  // namespace

FailingCalls::FailingCalls() {
    allCalls = std::make_unique<AllCalls>();
    std::apply(
        [this](const auto&... calls) {
            const auto note = [this](const auto& call) {
                if (!call.Installed()) {
                    missing_.emplace_back(call.Name());
                }
            };
            (note(calls), ...);
        },
        *allCalls);
}

FailingCalls::~FailingCalls() {
    allCalls.reset();
}

std::vector<SystemCall> FailingCalls::NoteDuring(const std::function<void()>& work) {
    std::vector<SystemCall> calls;
    notedCalls = &calls;
    Watch(work);
    notedCalls = nullptr;
    return calls;
}

bool FailingCalls::FailDuring(const Fault& fault, const std::function<void()>& work) {
    plannedFault = &fault;
    Watch(work);
    plannedFault = nullptr;
    return hasStruck;
}

Uncounted::Uncounted() : former_(std::exchange(watchedThread, 0)) {}

Uncounted::~Uncounted() {
    watchedThread = former_;
}
