#include "system/folder_size.h"

#include "common/files.h"
#include "common/folder_walk.h"
#include "common/paths.h"

uint64_t FolderSizeBytes(const std::filesystem::path& root) {
    uint64_t total = 0;
    // What cannot be listed counts as nothing.
    static_cast<void>(WalkTree(AsFolder(root), [&](const FolderEntry& entry) {
        if (!entry.IsFolder() || entry.isLink) {
            // Asked of the file, for the listing's figure lags behind with hard links. A folder
            // behind a link has no size.
            total += FileSize(entry.path).value_or(0);
        }
        return true;
    }));
    return total;
}
