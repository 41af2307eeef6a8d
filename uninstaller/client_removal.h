#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "uninstaller/uninstall_guard.h"

// Removes an installed game. The checks and the question come first: see uninstall_guard.h and
// uninstall_run.h.

// The content of a client folder: the number of its files and their size in bytes.
struct ClientContent {
    uint64_t files = 0;
    uint64_t bytes = 0;
};
[[nodiscard]] ClientContent MeasureClient(const std::wstring& folder);

struct RemovalResult {
    // Full paths of what could not be removed; for a folder with content, the paths of that.
    std::vector<std::wstring> remaining;
    bool entryRemains = false;  // The entry in the list of installed programs still exists.
    // The uninstaller and everything it needs still exist, so it can be started again.
    bool canBeRepeated = false;
    bool isAccessDenied = false;  // This account may not delete at least one of `remaining`.
};

// Removes the client folder with its content, the Desktop shortcut if it points into that folder,
// and the entry in the list of installed programs. Uses the approved paths without resolving them
// again.
//
// Links are removed, their targets are kept. The uninstaller and the startup program come last: if
// anything else remains, they remain too, with the shortcut and the entry, for a second attempt.
// Files that appear in the folder after that are kept and reported. Blocks until done. Requires COM
// on the calling thread.
[[nodiscard]] RemovalResult RemoveGame(const ApprovedClient& client);
