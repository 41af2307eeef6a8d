#pragma once

#include <string>
#include <utility>

#include "bench_parts/call_hook.h"
#include "common/windows_api.h"

// HookCall for the file functions that tests watch or fail most. The handler runs before the call;
// if it returns anything but ERROR_SUCCESS, the call fails with that error.

namespace bench {

// True for ERROR_SUCCESS, else sets the last error.
inline bool IsAllowed(DWORD error) {
    if (error != ERROR_SUCCESS) {
        ::SetLastError(error);
    }
    return error == ERROR_SUCCESS;
}

// CopyFileW; `handler` is called with source and target.
template <class Handler>
[[nodiscard]] auto HookCopy(Handler handler) {
    using Function = decltype(&::CopyFileW);
    return HookCall<Function>(
        kKernel32, "CopyFileW", [=](LPCWSTR source, LPCWSTR target, BOOL failIfExists) -> BOOL {
            return IsAllowed(handler(std::wstring(source), std::wstring(target))) &&
                   RealFunction<Function>(kKernel32, "CopyFileW")(source, target, failIfExists);
        });
}

// CreateFileW; `handler` is called with the path.
template <class Handler>
[[nodiscard]] auto HookOpen(Handler handler) {
    using Function = decltype(&::CreateFileW);
    return HookCall<Function>(
        kKernel32, "CreateFileW", [=](LPCWSTR path, auto... others) -> HANDLE {
            return IsAllowed(handler(std::wstring(path)))
                       ? RealFunction<Function>(kKernel32, "CreateFileW")(path, others...)
                       : INVALID_HANDLE_VALUE;
        });
}

// GetFileAttributesExW; `handler` is called with the path.
template <class Handler>
[[nodiscard]] auto HookAttributes(Handler handler) {
    using Function = decltype(&::GetFileAttributesExW);
    return HookCall<Function>(
        kKernel32, "GetFileAttributesExW", [=](LPCWSTR path, auto... others) -> BOOL {
            return IsAllowed(handler(std::wstring(path))) &&
                   RealFunction<Function>(kKernel32, "GetFileAttributesExW")(path, others...);
        });
}

// ReadFile; `handler` is called with the count of bytes and may make it smaller.
template <class Handler>
[[nodiscard]] auto HookRead(Handler handler) {
    using Function = decltype(&::ReadFile);
    return HookCall<Function>(kKernel32, "ReadFile",
                              [=](HANDLE file, LPVOID buffer, DWORD byteCount, LPDWORD bytesRead,
                                  LPOVERLAPPED overlapped) -> BOOL {
                                  *bytesRead = 0;
                                  return IsAllowed(handler(byteCount)) &&
                                         RealFunction<Function>(kKernel32, "ReadFile")(
                                             file, buffer, byteCount, bytesRead, overlapped);
                              });
}

// FindFirstFileExW and FindNextFileW. Here the handler runs after the call, for each entry found,
// which it may change; its error counts for FindNextFileW only.
template <class Handler>
class ListingHook {
    static auto HookFirst(Handler handler) {
        using Function = decltype(&::FindFirstFileExW);
        return HookCall<Function>(
            kKernel32, "FindFirstFileExW",
            [=](LPCWSTR pattern, FINDEX_INFO_LEVELS level, LPVOID entry, auto... others) -> HANDLE {
                const HANDLE search = RealFunction<Function>(kKernel32, "FindFirstFileExW")(
                    pattern, level, entry, others...);
                if (search != INVALID_HANDLE_VALUE) {
                    handler(*static_cast<WIN32_FIND_DATAW*>(entry));
                }
                return search;
            });
    }
    static auto HookNext(Handler handler) {
        using Function = decltype(&::FindNextFileW);
        return HookCall<Function>(
            kKernel32, "FindNextFileW", [=](HANDLE search, LPWIN32_FIND_DATAW entry) -> BOOL {
                return RealFunction<Function>(kKernel32, "FindNextFileW")(search, entry) &&
                       IsAllowed(handler(*entry));
            });
    }

    decltype(HookFirst(std::declval<Handler>())) first_;
    decltype(HookNext(std::declval<Handler>())) next_;

public:
    explicit ListingHook(Handler handler) : first_(HookFirst(handler)), next_(HookNext(handler)) {}
};

}  // namespace bench
