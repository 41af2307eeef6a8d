#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "uninstaller/uninstall_guard.h"

// Removing an installed game. Nothing in here asks or judges: that comes first, see
// uninstall_guard.h and uninstall_run.h.

// What goes with a client folder: its files, and their size in bytes.
struct ClientContent {
    uint64_t files = 0;
    uint64_t bytes = 0;
};
[[nodiscard]] ClientContent MeasureClient(const std::filesystem::path& folder);

struct RemovalResult {
    // Full paths of what could not be removed, a folder with content by what is in it.
    std::vector<std::filesystem::path> left;
    bool entryLeft = false;  // The entry in the list of installed programs is still there.
    // The uninstaller and what it asks for are still there, so that it can be started again.
    bool canBeRepeated = false;
    bool rightsAreMissing = false;  // At least one of `left` must not be deleted by this account.
};

// Removes the content of the client folder and the folder itself, the shortcut on the Desktop when
// it leads into that folder, and the entry in the list of installed programs. Works on the very
// paths that were approved and resolves none of them again.
//
// Links go, what they lead to stays. The uninstaller and the startup program go last, and only
// after everything else: as long as something stays, they stay too, with shortcut and entry, for a
// second attempt. What appears in the folder after that stays and is named. Blocks until done. The
// thread has COM initialized.
[[nodiscard]] RemovalResult RemoveGame(const ApprovedClient& client);
