#pragma once

#include <functional>
#include <string>

#include "common/windows_api.h"

// Listing folders through FindFirstFileExW. Any thread.

// One entry of a listing; valid only during the visit.
struct FolderEntry {
    const std::wstring& path;          // The listed folder joined with the entry's name.
    const std::wstring& relativePath;  // Relative to the walk's root, with backslashes.
    DWORD attributes;                  // Of the entry itself, not of a link's target.
    bool isLink;                       // Never entered by a walk or a removal.
    bool isBehindReparsePoint;  // It or a folder above it (below the root) is a reparse point.

    [[nodiscard]] bool IsFolder() const {
        return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    }
    [[nodiscard]] bool IsReparsePoint() const {
        return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    }
};

// Called for each entry except "." and ".."; false stops the listing.
using EntryVisitor = std::function<bool(const FolderEntry& entry)>;

// How a listing went, as Win32 error codes.
struct ListingResult {
    DWORD openError = ERROR_SUCCESS;     // The folder could not be listed at all.
    DWORD advanceError = ERROR_SUCCESS;  // The listing failed after some entries.
    bool stoppedByVisitor = false;

    // The error that occurred; ERROR_SUCCESS when all entries were visited or the visitor stopped.
    [[nodiscard]] DWORD Error() const {
        return openError != ERROR_SUCCESS ? openError : advanceError;
    }
};

// Lists one folder, not its subfolders, in the file system's order. An empty path lists nothing,
// not the current folder. The visitor may remove the entry it is called with. The listing is closed
// when this returns.
[[nodiscard]] ListingResult ListFolder(const std::wstring& folder, const EntryVisitor& visit);

// Visits everything below `root`, each folder before its content. Subfolders that cannot be listed
// are skipped; links are visited but never entered. The result is that of listing `root` itself,
// and says whether the visitor stopped the walk at any depth.
[[nodiscard]] ListingResult WalkTree(const std::wstring& root, const EntryVisitor& visit);

// Whether an entry with these attributes and this reparse tag is a link (symbolic link, junction or
// mount point). Cloud and deduplicated files are reparse points but not links. An unknown tag (0)
// counts as a link, because a removal must never leave its tree.
[[nodiscard]] bool IsLink(DWORD attributes, DWORD reparseTag);
