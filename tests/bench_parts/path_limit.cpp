#include "bench_parts/path_limit.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

#include "bench_parts/named_call.h"
#include "common/windows_api.h"

namespace bench {
namespace {

constexpr wchar_t kKernel32[] = L"kernel32.dll";
constexpr size_t kPathLimit = 260;
constexpr size_t kNewFolderLimit = 248;

bool HasDotPart(std::wstring_view path) {
    return path.ends_with(L"\\.") || path.ends_with(L"\\..") ||
           path.find(L"\\.\\") != std::wstring_view::npos ||
           path.find(L"\\..\\") != std::wstring_view::npos;
}

// The error with which Windows refuses the path, else ERROR_SUCCESS.
DWORD RefusalOf(const wchar_t* path, size_t limit) {
    const std::wstring_view text(path);
    if (text.starts_with(L"\\\\?\\")) {
        const bool isLiteral = text.find(L'/') == std::wstring_view::npos && !HasDotPart(text);
        return isLiteral ? ERROR_SUCCESS : ERROR_INVALID_NAME;
    }
    // The length of the full path counts; without the terminator that the answer includes.
    const size_t length = ::GetFullPathNameW(path, 0, nullptr, nullptr);
    if (length <= limit) {
        return ERROR_SUCCESS;
    }
    return limit == kPathLimit ? ERROR_PATH_NOT_FOUND : ERROR_FILENAME_EXCED_RANGE;
}

template <class Argument>
DWORD RefusalOf(const Argument&, size_t) {
    return ERROR_SUCCESS;  // No path.
}

template <class Result>
Result FailedResult() {
    if constexpr (std::is_same_v<Result, HANDLE>) {
        return INVALID_HANDLE_VALUE;
    } else if constexpr (std::is_same_v<Result, DWORD>) {
        return INVALID_FILE_ATTRIBUTES;
    } else {
        return FALSE;
    }
}

template <size_t kLimit>
struct RefusePath {
    template <FunctionName kName, class Result, class... Arguments>
    static Result Call(Result(WINAPI* original)(Arguments...), Arguments... arguments) {
        DWORD error = ERROR_SUCCESS;
        ((error = error != ERROR_SUCCESS ? error : RefusalOf(arguments, kLimit)), ...);
        if (error != ERROR_SUCCESS) {
            ::SetLastError(error);
            return FailedResult<Result>();
        }
        return original(arguments...);
    }
};

template <FunctionName kName, size_t kLimit, class Function>
using LimitedCall = NamedCall<RefusePath<kLimit>, kKernel32, kName, Function>;

}  // namespace

struct PathLimit::Hooks {
    LimitedCall<"CreateFileW", kPathLimit, decltype(&::CreateFileW)> open;
    LimitedCall<"CreateDirectoryW", kNewFolderLimit, decltype(&::CreateDirectoryW)> createFolder;
    LimitedCall<"CopyFileW", kPathLimit, decltype(&::CopyFileW)> copy;
    LimitedCall<"MoveFileExW", kPathLimit, decltype(&::MoveFileExW)> move;
    LimitedCall<"DeleteFileW", kPathLimit, decltype(&::DeleteFileW)> deleteFile;
    LimitedCall<"RemoveDirectoryW", kPathLimit, decltype(&::RemoveDirectoryW)> removeFolder;
    LimitedCall<"FindFirstFileExW", kPathLimit, decltype(&::FindFirstFileExW)> list;
    LimitedCall<"GetFileAttributesW", kPathLimit, decltype(&::GetFileAttributesW)> attributes;
    LimitedCall<"GetFileAttributesExW", kPathLimit, decltype(&::GetFileAttributesExW)> facts;
    LimitedCall<"SetFileAttributesW", kPathLimit, decltype(&::SetFileAttributesW)> setAttributes;
};

PathLimit::PathLimit() : hooks_(std::make_unique<Hooks>()) {}

PathLimit::~PathLimit() = default;

}  // namespace bench
