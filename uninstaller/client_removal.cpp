#include "uninstaller/client_removal.h"

#include <algorithm>
#include <optional>
#include <string>

#include "common/files.h"
#include "common/folder_walk.h"
#include "common/handles.h"
#include "common/paths.h"
#include "common/removal.h"
#include "config/tool_config.h"
#include "system/desktop_shortcut.h"
#include "system/folder_size.h"
#include "system/installed_programs_entry.h"
#include "system/known_folder.h"
#include "uninstaller/held_folder.h"

namespace {

using Paths = std::vector<std::wstring>;

// Whether one of `kept` is this entry or is inside it.
bool IsOrContainsKept(const std::wstring& entry, const Paths& kept) {
    return std::any_of(kept.begin(), kept.end(), [&](const std::wstring& path) {
        return IsAtOrBelowCanonicalPath(path, entry);
    });
}

// Lists the canonical `folder` while holding it, so that no link can replace it while its entries
// are removed by path. False, with nothing listed, when it cannot be held.
bool ListHeldFolder(const std::wstring& folder, const EntryVisitor& visit) {
    const KernelHandle held = HoldFolder(folder);
    if (held) {
        // Entries missed by a failed listing make the removal of `folder` fail.
        static_cast<void>(ListFolder(folder, visit));
    }
    return held != nullptr;
}

// Removes everything below `folder` except `kept` and the folders that contain them.
void RemoveAllExcept(const Paths& kept, const std::wstring& folder) {
    // AddEntriesExcept finds what remains.
    static_cast<void>(ListHeldFolder(folder, [&](const FolderEntry& entry) {
        if (!IsOrContainsKept(entry.path, kept)) {
            static_cast<void>(RemoveEntryOrTree(entry.path));
        } else if (entry.IsFolder() && !entry.isLink) {
            RemoveAllExcept(kept, entry.path);
        }
        return true;
    }));
}

// Adds everything below `folder` to `remaining`, except `kept` and the folders that contain them;
// such a folder is added if it cannot be listed.
void AddEntriesExcept(const Paths& kept, const std::wstring& folder, Paths& remaining) {
    const bool isListed = ListHeldFolder(folder, [&](const FolderEntry& entry) {
        // The paths of `kept` are canonical, so a link cannot be part of them.
        if (entry.isLink || !IsOrContainsKept(entry.path, kept)) {
            // A folder comes before its content and is replaced by it.
            if (!remaining.empty() && IsBelowCanonicalPath(entry.path, remaining.back())) {
                remaining.pop_back();
            }
            remaining.emplace_back(entry.path);
        }
        if (entry.IsFolder() && !entry.isLink) {
            AddEntriesExcept(kept, entry.path, remaining);
        }
        return true;
    });
    const bool isNamed = !remaining.empty() && remaining.back() == folder;
    if (!isListed && !isNamed && KindOf(folder) != EntryKind::Missing) {
        remaining.push_back(folder);
    }
}

// Removes a file or an empty folder by its canonical path, unless a link has replaced one of its
// parent folders. True when it does not exist any more.
bool RemoveInHeldFolder(const std::wstring& path) {
    const KernelHandle held = HoldFolder(ParentFolder(path));
    return held ? RemoveEntry(path) == ERROR_SUCCESS : KindOf(path) == EntryKind::Missing;
}

// Removes the canonical `folder`, which is empty except for the folders that contained `kept`.
// Files that have appeared since the removal began are not the game's: they are kept and returned.
Paths RemoveEmptied(const std::wstring& folder, const Paths& kept) {
    for (const std::wstring& path : kept) {
        std::wstring parent = ParentFolder(path);
        for (; IsBelowCanonicalPath(parent, folder); parent = ParentFolder(parent)) {
            // If this fails, removing `folder` fails too.
            static_cast<void>(RemoveInHeldFolder(parent));
        }
    }
    // By path, without holding it: at worst this removes another empty folder or a link.
    if (RemoveEntry(folder) == ERROR_SUCCESS) {
        return {};
    }
    Paths remaining;
    AddEntriesExcept({}, folder, remaining);
    return remaining.empty() ? Paths{folder} : remaining;
}

// Removes the client folder with its content and returns what remains. What a second attempt needs
// is removed last.
Paths RemoveClientFolder(const ApprovedClient& client) {
    const Paths kept{client.uninstaller, client.startupProgram};
    RemoveAllExcept(kept, client.folder);
    Paths remaining;
    AddEntriesExcept(kept, client.folder, remaining);
    if (!remaining.empty()) {
        return remaining;
    }
    for (const std::wstring& path : kept) {
        if (!RemoveInHeldFolder(path)) {
            return {path};
        }
    }
    return RemoveEmptied(client.folder, kept);
}

// Whether this account has no right to remove the entry. The removal's error is not enough:
// ERROR_ACCESS_DENIED can also mean a running program, which can still be opened with DELETE
// access, or a pending deletion, in which case the attributes cannot be read.
bool IsAccessDenied(const std::wstring& path) {
    const EntryKind kind = KindOf(path);
    const DWORD needed = kind == EntryKind::Folder ? DELETE | FILE_LIST_DIRECTORY : DELETE;
    const auto entry = AdoptHandle<KernelHandle>(::CreateFileW(
        SystemPath(path).Text(), needed, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT,
        nullptr));
    const DWORD error = entry ? ERROR_SUCCESS : ::GetLastError();
    return kind != EntryKind::Unreadable && error == ERROR_ACCESS_DENIED;
}

// The game's shortcut on the Desktop, if it points into the canonical `folder`.
std::optional<std::wstring> FindShortcutInto(const std::wstring& folder) {
    const std::wstring desktop = KnownFolder(FOLDERID_Desktop);
    if (desktop.empty()) {
        return std::nullopt;
    }
    const std::wstring shortcut = JoinPaths(desktop, ShortcutFileName(toolConfig));
    const std::optional<std::wstring> stored = ReadShortcutTarget(shortcut);
    const std::optional<std::wstring> target = stored ? WeaklyCanonical(*stored) : std::nullopt;
    const bool leadsThere = target && IsBelowCanonicalPath(*target, folder);
    return leadsThere ? std::optional(shortcut) : std::nullopt;
}

}  // namespace

ClientContent MeasureClient(const std::wstring& folder) {
    ClientContent content;
    content.bytes = FolderSizeBytes(folder);
    // For the question only; folders that cannot be listed are skipped.
    static_cast<void>(WalkTree(folder, [&](const FolderEntry& entry) {
        content.files += entry.IsFolder() ? 0 : 1;
        return true;
    }));
    return content;
}

RemovalResult RemoveGame(const ApprovedClient& client) {
    RemovalResult result;
    // Found first, while its target still exists and can be resolved.
    const std::optional<std::wstring> shortcut = FindShortcutInto(client.folder);
    result.remaining = RemoveClientFolder(client);
    result.canBeRepeated = IsRegularFile(client.uninstaller);
    result.isAccessDenied =
        std::any_of(result.remaining.begin(), result.remaining.end(), IsAccessDenied);
    if (result.canBeRepeated) {
        result.entryRemains = true;
        return result;
    }
    if (shortcut && RemoveEntry(*shortcut) != ERROR_SUCCESS) {
        result.remaining.push_back(*shortcut);
    }
    result.entryRemains = !DeleteInstalledProgramsEntry(toolConfig);
    return result;
}
