#include "common/removal.h"

#include <utility>

#include "common/folder_walk.h"
#include "common/handles.h"
#include "common/paths.h"
#include "common/win32_error.h"

namespace {

// FileDispositionInfoEx of minwinbase.h, which MinGW-w64 hides behind a version number that no
// Windows has.
constexpr auto kFileDispositionInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Opens a link itself, not its target.
KernelHandle OpenWithoutFollowing(const std::wstring& path, DWORD access, DWORD shareMode) {
    return AdoptHandle<KernelHandle>(
        ::CreateFileW(SystemPath(path).Text(), access, shareMode, nullptr, OPEN_EXISTING,
                      FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
}

bool IsUnsupportedError(DWORD error) {
    return error == ERROR_INVALID_PARAMETER || error == ERROR_INVALID_FUNCTION ||
           error == ERROR_NOT_SUPPORTED || error == ERROR_CALL_NOT_IMPLEMENTED;
}

// POSIX delete (with these flags since Windows 10 1809): the name disappears at once, even while
// other handles are open. The read-only attribute, shared by all hard links, need not be cleared.
DWORD RemoveWithPosixSemantics(const std::wstring& path) {
    const KernelHandle entry = OpenWithoutFollowing(path, DELETE, kShareAll);
    if (!entry) {
        return ::GetLastError();
    }
    FILE_DISPOSITION_INFO_EX disposition{};
    disposition.Flags = FILE_DISPOSITION_FLAG_DELETE | FILE_DISPOSITION_FLAG_POSIX_SEMANTICS |
                        FILE_DISPOSITION_FLAG_IGNORE_READONLY_ATTRIBUTE;
    return ::SetFileInformationByHandle(entry.get(), kFileDispositionInfoEx, &disposition,
                                        sizeof disposition)
               ? ERROR_SUCCESS
               : ::GetLastError();
}

// Fallback for older systems and for file systems without POSIX delete.
DWORD RemoveByName(const std::wstring& path) {
    const SystemPath systemPath(path);
    const DWORD attributes = ::GetFileAttributesW(systemPath.Text());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return ::GetLastError();
    }
    const bool isReadOnly = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (isReadOnly) {
        ::SetFileAttributesW(systemPath.Text(),
                             attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    }
    const bool isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (isFolder ? ::RemoveDirectoryW(systemPath.Text()) : ::DeleteFileW(systemPath.Text())) {
        return ERROR_SUCCESS;
    }
    const DWORD error = ::GetLastError();
    if (isReadOnly) {
        ::SetFileAttributesW(systemPath.Text(), attributes);
    }
    return error;
}

// Whether `path` is a folder and not a link to one. `entry` is an open handle of it.
bool IsRealFolder(const std::wstring& path, HANDLE entry) {
    const DWORD attributes = ::GetFileAttributesW(SystemPath(path).Text());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        return false;
    }
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
        return true;
    }
    FILE_ATTRIBUTE_TAG_INFO tag{};
    return ::GetFileInformationByHandleEx(entry, FileAttributeTagInfo, &tag, sizeof tag) != FALSE &&
           !IsLink(attributes, tag.ReparseTag);
}

// Opens a folder whose content may be removed. While the handle is open, the folder cannot be
// renamed, deleted or replaced by a link, so its type is checked after opening. Null for a file, a
// link, and a folder that cannot be listed.
KernelHandle HoldFolder(const std::wstring& path) {
    KernelHandle folder =
        OpenWithoutFollowing(path, FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE);
    if (!folder && ::GetLastError() == ERROR_SHARING_VIOLATION) {
        // Another program has it open for deletion: checked, but not held.
        folder = OpenWithoutFollowing(path, FILE_LIST_DIRECTORY, kShareAll);
    }
    return folder && IsRealFolder(path, folder.get()) ? std::move(folder) : nullptr;
}

}  // namespace

DWORD RemoveEntry(const std::wstring& path) {
    DWORD error = RemoveWithPosixSemantics(path);
    if (IsUnsupportedError(error)) {
        error = RemoveByName(path);
    }
    return IsNotFoundError(error) ? ERROR_SUCCESS : error;
}

DWORD RemoveTree(const std::wstring& path) {
    DWORD firstError = ERROR_SUCCESS;
    const auto remember = [&](DWORD error) {
        if (firstError == ERROR_SUCCESS) {
            firstError = error;
        }
    };
    // Checked again although the listing gave the type: a link may have replaced the folder since.
    if (const KernelHandle held = HoldFolder(path)) {
        // If the listing fails, removing the folder itself fails too.
        static_cast<void>(ListFolder(path, [&](const FolderEntry& entry) {
            const bool hasContent = entry.IsFolder() && !entry.isLink;
            remember(hasContent ? RemoveTree(entry.path) : RemoveEntry(entry.path));
            return true;
        }));
    }
    remember(RemoveEntry(path));
    return firstError;
}

DWORD RemoveEntryOrTree(const std::wstring& path) {
    const DWORD error = RemoveEntry(path);
    return error == ERROR_DIR_NOT_EMPTY ? RemoveTree(path) : error;
}
