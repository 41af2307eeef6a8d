#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "common/windows_api.h"

// Listing folders through FindFirstFileExW. Any thread.

// One entry of a listing; valid during the visit only.
struct FolderEntry {
    const std::wstring& path;          // The listed folder joined with the entry's name.
    const std::wstring& relativePath;  // Below the folder where the walk began, with backslashes.
    DWORD attributes;                  // Of the entry itself, not of a link's target.
    bool isLink;                       // Leads elsewhere: never entered by a walk or a removal.
    bool isBehindReparsePoint;         // The entry or a folder above it is one; the root aside.

    [[nodiscard]] bool IsFolder() const {
        return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    }
    [[nodiscard]] bool IsReparsePoint() const {
        return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    }
};

// Called for each entry except "." and ".."; false ends the listing.
using EntryVisitor = std::function<bool(const FolderEntry& entry)>;

// How a listing went, as Win32 error codes.
struct ListingResult {
    DWORD openError = ERROR_SUCCESS;     // The folder could not be listed at all.
    DWORD advanceError = ERROR_SUCCESS;  // It broke off after some entries.
    bool stoppedByVisitor = false;

    // The one that occurred; ERROR_SUCCESS when every entry was shown or the visitor stopped.
    [[nodiscard]] DWORD Error() const {
        return openError != ERROR_SUCCESS ? openError : advanceError;
    }
};

// The entries of one folder, not of those below it, in the file system's order. An empty path lists
// nothing, not the current folder. The visitor may remove the entry that it is shown. The listing
// is closed when this returns.
[[nodiscard]] ListingResult ListFolder(const std::filesystem::path& folder,
                                       const EntryVisitor& visit);

// Everything below `root`, a folder before its content. What cannot be listed is skipped and the
// walk goes on; links are shown but never entered. The result tells how the listing of `root`
// itself went and whether the visitor ended the walk, at whatever depth.
[[nodiscard]] ListingResult WalkTree(const std::filesystem::path& root, const EntryVisitor& visit);

// Whether the entry with these attributes and this reparse tag leads elsewhere. A cloud or
// deduplicated file is a reparse point too, but no link. An unknown tag (0) counts as a link, for
// a removal must never leave its tree.
[[nodiscard]] bool IsLink(DWORD attributes, DWORD reparseTag);
