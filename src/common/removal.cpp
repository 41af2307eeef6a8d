#include "common/removal.h"

#include "common/folder_walk.h"
#include "common/handles.h"
#include "common/win32_error.h"

namespace {

// FileDispositionInfoEx of minwinbase.h. MinGW-w64 hides the name behind a version number that no
// Windows has.
constexpr auto kFileDispositionInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(21);

KernelHandle OpenItself(const std::filesystem::path& path, DWORD access) {
    return AdoptHandle<KernelHandle>(::CreateFileW(
        path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
}

bool MeansNotOffered(DWORD error) {
    return error == ERROR_INVALID_PARAMETER || error == ERROR_INVALID_FUNCTION ||
           error == ERROR_NOT_SUPPORTED || error == ERROR_CALL_NOT_IMPLEMENTED;
}

// The way of current Windows: the name is gone at once, also while somebody holds the file open
// for deletion, and the read-only attribute (which other hard links share) need not be touched.
DWORD RemoveAtOnce(const std::filesystem::path& path) {
    const KernelHandle entry = OpenItself(path, DELETE);
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

// The way of older systems and of file systems that do not offer the other.
DWORD RemoveByName(const std::filesystem::path& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return ::GetLastError();
    }
    const bool isReadOnly = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
    if (isReadOnly) {
        ::SetFileAttributesW(path.c_str(),
                             attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    }
    const bool isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (isFolder ? ::RemoveDirectoryW(path.c_str()) : ::DeleteFileW(path.c_str())) {
        return ERROR_SUCCESS;
    }
    const DWORD error = ::GetLastError();
    if (isReadOnly) {
        ::SetFileAttributesW(path.c_str(), attributes);
    }
    return error;
}

// A folder whose content belongs to the tree: no file, no link to elsewhere.
bool HasContentOfItsOwn(const std::filesystem::path& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        return false;
    }
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
        return true;
    }
    FILE_ATTRIBUTE_TAG_INFO tag{};
    const KernelHandle entry = OpenItself(path, FILE_READ_ATTRIBUTES);
    if (!entry ||
        !::GetFileInformationByHandleEx(entry.get(), FileAttributeTagInfo, &tag, sizeof tag)) {
        return false;
    }
    return !IsLink(attributes, tag.ReparseTag);
}

DWORD RemoveContentAndEntry(const std::filesystem::path& path, bool hasContent) {
    DWORD firstError = ERROR_SUCCESS;
    const auto remember = [&](DWORD error) {
        if (firstError == ERROR_SUCCESS) {
            firstError = error;
        }
    };
    if (hasContent) {
        // A listing that fails or breaks off needs no answer of its own: what it left behind makes
        // the folder's own removal fail.
        ListFolder(path, [&](const FolderEntry& entry) {
            remember(RemoveContentAndEntry(entry.path, entry.IsFolder() && !entry.isLink));
            return true;
        });
    }
    remember(RemoveEntry(path));
    return firstError;
}

}  // namespace

DWORD RemoveEntry(const std::filesystem::path& path) {
    DWORD error = RemoveAtOnce(path);
    if (MeansNotOffered(error)) {
        error = RemoveByName(path);
    }
    return MeansNotThere(error) ? ERROR_SUCCESS : error;
}

DWORD RemoveTree(const std::filesystem::path& path) {
    return RemoveContentAndEntry(path, HasContentOfItsOwn(path));
}

DWORD RemoveEntryOrTree(const std::filesystem::path& path) {
    const DWORD error = RemoveEntry(path);
    return error == ERROR_DIR_NOT_EMPTY ? RemoveTree(path) : error;
}
