#include "common/folder_walk.h"

#include "common/handles.h"
#include "common/paths.h"

namespace {

bool IsDotEntry(const wchar_t* name) {
    return name[0] == L'.' && (name[1] == L'\0' || (name[1] == L'.' && name[2] == L'\0'));
}

// Lists the folder at `path`. Both strings are working buffers, unchanged on return, so that a walk
// does not allocate a path for each entry.
ListingResult ListInto(std::wstring& path, std::wstring& relativePath, bool isBehindReparsePoint,
                       const EntryVisitor& visit) {
    ListingResult result;
    if (path.empty()) {
        // The pattern "*" alone would list the current folder.
        result.openError = ERROR_PATH_NOT_FOUND;
        return result;
    }
    const size_t pathLength = path.size();
    const size_t relativeLength = relativePath.size();
    AppendName(path, L"*");
    WIN32_FIND_DATAW found{};
    const auto listing = AdoptHandle<FindHandle>(
        ::FindFirstFileExW(SystemPath(path).Text(), FindExInfoBasic, &found, FindExSearchNameMatch,
                           nullptr, FIND_FIRST_EX_LARGE_FETCH));
    const DWORD openError = listing ? ERROR_SUCCESS : ::GetLastError();
    path.resize(pathLength);
    if (!listing) {
        // The empty root of a volume does not even have the dot entries.
        result.openError = openError == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : openError;
        return result;
    }
    do {
        if (IsDotEntry(found.cFileName)) {
            continue;
        }
        AppendName(path, found.cFileName);
        AppendName(relativePath, found.cFileName);
        const DWORD attributes = found.dwFileAttributes;
        const bool isReparsePoint = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        const bool shouldContinue =
            visit({path, relativePath, attributes, IsLink(attributes, found.dwReserved0),
                   isBehindReparsePoint || isReparsePoint});
        path.resize(pathLength);
        relativePath.resize(relativeLength);
        if (!shouldContinue) {
            result.stoppedByVisitor = true;
            return result;
        }
    } while (::FindNextFileW(listing.get(), &found));
    const DWORD advanceError = ::GetLastError();
    result.advanceError = advanceError == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : advanceError;
    return result;
}

ListingResult WalkInto(std::wstring& path, std::wstring& relativePath, bool isBehindReparsePoint,
                       const EntryVisitor& visit) {
    return ListInto(path, relativePath, isBehindReparsePoint, [&](const FolderEntry& entry) {
        if (!visit(entry)) {
            return false;
        }
        // The entry's strings are the buffers that the inner listing works in.
        return !entry.IsFolder() || entry.isLink ||
               !WalkInto(path, relativePath, entry.isBehindReparsePoint, visit).stoppedByVisitor;
    });
}

}  // namespace

ListingResult ListFolder(const std::wstring& folder, const EntryVisitor& visit) {
    std::wstring path = folder;
    std::wstring relativePath;
    return ListInto(path, relativePath, false, visit);
}

ListingResult WalkTree(const std::wstring& root, const EntryVisitor& visit) {
    std::wstring path = root;
    std::wstring relativePath;
    return WalkInto(path, relativePath, false, visit);
}

bool IsLink(DWORD attributes, DWORD reparseTag) {
    return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           (reparseTag == 0 || IsReparseTagNameSurrogate(reparseTag));
}
