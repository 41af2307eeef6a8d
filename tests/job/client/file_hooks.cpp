#include "job/client/file_hooks.h"

#include <gtest/gtest.h>

#include <utility>

namespace bench {
namespace {

CopyHook::Handler copyHandler;
OpenHook::Handler openHandler;
LookHook::Handler lookHandler;
ReadHook::Handler readHandler;
ListingHook::Handler listingHandler;

decltype(&::CopyFileW) originalCopy;
decltype(&::CreateFileW) originalOpen;
decltype(&::GetFileAttributesExW) originalLook;
decltype(&::ReadFile) originalRead;
decltype(&::FindFirstFileExW) originalFindFirst;
decltype(&::FindNextFileW) originalFindNext;

BOOL WINAPI CopyReplacement(LPCWSTR source, LPCWSTR target, BOOL failIfExists) {
    const DWORD error = copyHandler(source, target);
    if (error != ERROR_SUCCESS) {
        ::SetLastError(error);
        return FALSE;
    }
    return originalCopy(source, target, failIfExists);
}

HANDLE WINAPI OpenReplacement(LPCWSTR path, DWORD access, DWORD shareMode,
                              LPSECURITY_ATTRIBUTES security, DWORD disposition, DWORD flags,
                              HANDLE model) {
    const DWORD error = openHandler(path);
    if (error != ERROR_SUCCESS) {
        ::SetLastError(error);
        return INVALID_HANDLE_VALUE;
    }
    return originalOpen(path, access, shareMode, security, disposition, flags, model);
}

BOOL WINAPI LookReplacement(LPCWSTR path, GET_FILEEX_INFO_LEVELS level, LPVOID facts) {
    const DWORD error = lookHandler(path);
    if (error != ERROR_SUCCESS) {
        ::SetLastError(error);
        return FALSE;
    }
    return originalLook(path, level, facts);
}

BOOL WINAPI ReadReplacement(HANDLE file, LPVOID buffer, DWORD byteCount, LPDWORD bytesRead,
                            LPOVERLAPPED overlapped) {
    const DWORD error = readHandler(file, byteCount);
    if (error != ERROR_SUCCESS) {
        *bytesRead = 0;
        ::SetLastError(error);
        return FALSE;
    }
    return originalRead(file, buffer, byteCount, bytesRead, overlapped);
}

HANDLE WINAPI FindFirstReplacement(LPCWSTR pattern, FINDEX_INFO_LEVELS level, LPVOID entry,
                                   FINDEX_SEARCH_OPS operation, LPVOID filter, DWORD flags) {
    const HANDLE search = originalFindFirst(pattern, level, entry, operation, filter, flags);
    if (search != INVALID_HANDLE_VALUE) {
        listingHandler(*static_cast<WIN32_FIND_DATAW*>(entry));
    }
    return search;
}

BOOL WINAPI FindNextReplacement(HANDLE search, LPWIN32_FIND_DATAW entry) {
    if (!originalFindNext(search, entry)) {
        return FALSE;
    }
    const DWORD error = listingHandler(*entry);
    if (error != ERROR_SUCCESS) {
        ::SetLastError(error);
        return FALSE;
    }
    return TRUE;
}

template <typename Function>
void Remember(const ImportHook& hook, Function& original) {
    original = hook.Original<Function>();
    EXPECT_TRUE(hook.Installed());
}

template <typename Function>
ImportHook Install(const char* name, Function replacement) {
    return ImportHook(L"kernel32.dll", name, reinterpret_cast<void*>(replacement));
}

}  // namespace

CopyHook::CopyHook(Handler handler) : hook_(Install("CopyFileW", &CopyReplacement)) {
    copyHandler = std::move(handler);
    Remember(hook_, originalCopy);
}

OpenHook::OpenHook(Handler handler) : hook_(Install("CreateFileW", &OpenReplacement)) {
    openHandler = std::move(handler);
    Remember(hook_, originalOpen);
}

LookHook::LookHook(Handler handler) : hook_(Install("GetFileAttributesExW", &LookReplacement)) {
    lookHandler = std::move(handler);
    Remember(hook_, originalLook);
}

ReadHook::ReadHook(Handler handler) : hook_(Install("ReadFile", &ReadReplacement)) {
    readHandler = std::move(handler);
    Remember(hook_, originalRead);
}

ListingHook::ListingHook(Handler handler)
    : firstHook_(Install("FindFirstFileExW", &FindFirstReplacement)),
      nextHook_(Install("FindNextFileW", &FindNextReplacement)) {
    listingHandler = std::move(handler);
    Remember(firstHook_, originalFindFirst);
    Remember(nextHook_, originalFindNext);
}

}  // namespace bench
