#pragma once

#include "common/windows_api.h"

// Whether a call that looked for a path failed because nothing is there: no entry, no folder above
// it, no such drive, server or share, or a name that no entry can have.
[[nodiscard]] inline bool IsNotFoundError(DWORD error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
           error == ERROR_INVALID_NAME || error == ERROR_INVALID_DRIVE ||
           error == ERROR_BAD_PATHNAME || error == ERROR_BAD_NETPATH ||
           error == ERROR_BAD_NET_NAME ||
           error == ERROR_DIRECTORY;  // Below a file, since Windows 11 24H2.
}
