#include "system/folder_size.h"

#include "common/files.h"
#include "common/folder_walk.h"

uint64_t FolderSizeBytes(const std::filesystem::path& root) {
    if (root.empty()) {
        return 0;  // A walk would take the current folder for it.
    }
    uint64_t total = 0;
    WalkTree(root, [&](const FolderEntry& entry) {
        if (!entry.IsFolder() || entry.isLink) {
            // Asked of the file, for the listing's figure lags behind with hard links. A folder
            // behind a link has no size.
            total += FileSize(entry.path).value_or(0);
        }
        return true;
    });
    return total;
}
