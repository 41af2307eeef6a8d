#include "extract/folder_flattening.h"

#include <algorithm>
#include <string>
#include <vector>

#include "common/files.h"
#include "common/folder_walk.h"
#include "common/paths.h"
#include "common/removal.h"
#include "common/win32_error.h"
#include "extract/extraction_texts.h"
#include "job/progress/job_progress.h"

namespace {

struct Entry {
    std::wstring path;
    bool isFolder;  // Links followed.
};

// A virus scanner or a network can disturb a listing briefly.
constexpr int kListingAttempts = 2;

// The folder's entries, listed to the end before anything is moved. A Win32 error code when the
// listing fails or breaks off: entries that it misses must not count as absent, or a lone folder
// would be overlooked, or removed with files still in it.
DWORD ListEntries(const std::wstring& folder, std::vector<Entry>& entries) {
    DWORD error = ERROR_SUCCESS;
    for (int attempt = 0; attempt < kListingAttempts; ++attempt) {
        entries.clear();
        const ListingResult listing = ListFolder(folder, [&](const FolderEntry& entry) {
            const bool isFolder =
                entry.IsReparsePoint() ? KindOf(entry.path) == EntryKind::Folder : entry.IsFolder();
            entries.push_back({entry.path, isFolder});
            return true;
        });
        error = listing.Error();
        if (error == ERROR_SUCCESS) {
            break;
        }
    }
    return error;
}

DWORD EnsureTargetFolder(const std::wstring& target) {
    return KindOf(target) == EntryKind::Folder ? ERROR_SUCCESS : CreateSingleFolder(target);
}

// Copies the folder with everything below it, replacing existing files. Stops at the first error
// and returns it. Links are followed on both sides: a link in the source is copied as its target,
// and a link to a folder at the target is filled like a folder. A link to a folder above itself
// ends in an error when the path of its copy grows too long.
DWORD CopyTreeOver(const std::wstring& source, const std::wstring& target) {
    DWORD error = EnsureTargetFolder(target);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const ListingResult listing = ListFolder(source, [&](const FolderEntry& entry) {
        const std::wstring copy = JoinPaths(target, entry.relativePath);
        error = KindOf(entry.path) == EntryKind::Folder ? CopyTreeOver(entry.path, copy)
                                                        : CopyFileOver(entry.path, copy);
        return error == ERROR_SUCCESS;
    });
    if (error == ERROR_SUCCESS) {
        error = listing.Error();
    }
    return error;
}

DWORD CopyEntryOver(const std::wstring& entry, const std::wstring& target) {
    if (KindOf(entry) != EntryKind::Folder) {
        return CopyFileOver(entry, target);
    }
    // Checked before the target is created: a folder that has become unreadable leaves no empty
    // copy behind. If it is missing, the copy below reports that.
    if (::GetFileAttributesW(SystemPath(entry).Text()) == INVALID_FILE_ATTRIBUTES) {
        const DWORD error = ::GetLastError();
        if (!IsNotFoundError(error)) {
            return error;
        }
    }
    return CopyTreeOver(entry, target);
}

}  // namespace

bool FlattenSingleTopFolder(const std::wstring& stagingFolder) {
    std::vector<Entry> entries;
    DWORD error = ListEntries(stagingFolder, entries);
    if (IsNotFoundError(error)) {
        return true;  // The next stage reports the missing package.
    }
    if (error != ERROR_SUCCESS) {
        reportFailure(L"Could not read the unpacked client files.");
        return false;
    }
    if (entries.size() != 1 || !entries.front().isFolder) {
        return true;
    }
    const std::wstring lonePath = entries.front().path;
    reportStage(JobStage::Extracting, kExtractingStatus, L"Moving client files into place...");
    error = ListEntries(lonePath, entries);
    const auto move = [&](const Entry& entry) {
        return MoveEntryInto(entry.path, stagingFolder, error);
    };
    if (error != ERROR_SUCCESS || !std::all_of(entries.begin(), entries.end(), move)) {
        reportFailure(L"Could not move extracted client files into place.");
        return false;
    }
    if (RemoveEntryOrTree(lonePath) != ERROR_SUCCESS) {
        reportFailure(L"Could not remove the extra extracted client folder.");
        return false;
    }
    return true;
}

bool MoveEntryInto(const std::wstring& entry, const std::wstring& destinationFolder, DWORD& error) {
    const std::wstring target = JoinPaths(destinationFolder, FileNamePart(entry));
    static_cast<void>(RemoveEntryOrTree(target));  // If this fails, the next step fails too.
    error = MoveEntry(entry, target);
    if (error == ERROR_SUCCESS) {
        return true;
    }
    error = CopyEntryOver(entry, target);
    if (error != ERROR_SUCCESS) {
        return false;
    }
    error = RemoveEntryOrTree(entry);
    return error == ERROR_SUCCESS;
}
