#include "system/folder_size.h"

#include "common/files.h"
#include "common/folder_walk.h"
#include "common/paths.h"

uint64_t FolderSizeBytes(const std::wstring& root) {
    uint64_t total = 0;
    // Folders that cannot be listed are skipped.
    static_cast<void>(WalkTree(AsFolder(root), [&](const FolderEntry& entry) {
        if (!entry.IsFolder() || entry.isLink) {
            // Queried per file: directory entries can hold stale sizes for hard links. None for a
            // folder link.
            total += FileSize(entry.path).value_or(0);
        }
        return true;
    }));
    return total;
}
