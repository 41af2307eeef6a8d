#pragma once

#include <exception>
#include <string>
#include <utility>

#include "common/windows_api.h"

// A failed access to a folder, for the rare function that cannot report it in its result.
struct FileSystemError : std::exception {
    FileSystemError(std::wstring failedPath, DWORD win32Error)
        : path(std::move(failedPath)), error(win32Error) {}

    std::wstring path;
    DWORD error;  // A Win32 error code.
};

// Whether a call failed because its path does not exist: no such entry, parent folder, drive,
// server or share, or an invalid name.
[[nodiscard]] inline bool IsNotFoundError(DWORD error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
           error == ERROR_INVALID_NAME || error == ERROR_INVALID_DRIVE ||
           error == ERROR_BAD_PATHNAME || error == ERROR_BAD_NETPATH ||
           error == ERROR_BAD_NET_NAME ||
           error == ERROR_DIRECTORY;  // A parent is a file (Windows 11 24H2 and later).
}
