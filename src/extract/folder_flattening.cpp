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
#include "job/job_progress.h"

namespace {

// Empty unless the folder holds exactly one entry and that entry is, links followed, a folder.
std::filesystem::path FindLoneFolder(const std::filesystem::path& stagingFolder) {
    std::filesystem::path lonePath;
    size_t folders = 0;
    size_t others = 0;
    // A folder that cannot be listed counts as empty.
    ListFolder(stagingFolder, [&](const FolderEntry& entry) {
        if (KindOf(entry.path) == EntryKind::Folder) {
            ++folders;
            lonePath = entry.path;
        } else {
            ++others;
        }
        return true;
    });
    return folders == 1 && others == 0 ? lonePath : std::filesystem::path();
}

// The listing is over before anything in the folder moves. What a listing that fails or breaks off
// does not show is left out.
std::vector<std::filesystem::path> EntriesOf(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> entries;
    ListFolder(folder, [&](const FolderEntry& entry) {
        entries.emplace_back(entry.path);
        return true;
    });
    return entries;
}

DWORD EnsureTargetFolder(const std::filesystem::path& target) {
    return KindOf(target) == EntryKind::Folder ? ERROR_SUCCESS : CreateSingleFolder(target);
}

// Copies the folder with everything below it, replacing files that are there. Ends at the first
// error and returns it. Links are followed on both sides: below the target stands what a link in
// the source leads to, and a link to a folder that is there already is filled like a folder. A
// link to a folder above itself ends in an error, when its copy's path grows too long.
DWORD CopyTreeOver(const std::filesystem::path& source, const std::filesystem::path& target) {
    DWORD error = EnsureTargetFolder(target);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    const ListingResult listing = ListFolder(source, [&](const FolderEntry& entry) {
        const std::filesystem::path copy = target / entry.relativePath;
        error = KindOf(entry.path) == EntryKind::Folder ? CopyTreeOver(entry.path, copy)
                                                        : CopyFileOver(entry.path, copy);
        return error == ERROR_SUCCESS;
    });
    if (error == ERROR_SUCCESS) {
        error = listing.openError != ERROR_SUCCESS ? listing.openError : listing.advanceError;
    }
    return error;
}

DWORD CopyEntryOver(const std::filesystem::path& entry, const std::filesystem::path& target) {
    if (KindOf(entry) != EntryKind::Folder) {
        return CopyFileOver(entry, target);
    }
    if (::GetFileAttributesW(SystemPath(entry).c_str()) == INVALID_FILE_ATTRIBUTES) {
        const DWORD error = ::GetLastError();
        if (!MeansNotThere(error)) {  // A folder that is gone shows up in the copying.
            return error;
        }
    }
    return CopyTreeOver(entry, target);
}

}  // namespace

bool FlattenSingleTopFolder(const std::filesystem::path& stagingFolder) {
    const std::filesystem::path lonePath = FindLoneFolder(stagingFolder);
    if (lonePath.empty()) {
        return true;
    }
    reportStage(JobStage::Extracting, kExtractingStatus, L"Moving client files into place...");
    const std::vector<std::filesystem::path> entries = EntriesOf(lonePath);
    DWORD error = ERROR_SUCCESS;
    const bool allMoved = std::all_of(entries.begin(), entries.end(), [&](const auto& entry) {
        return MoveEntryInto(entry, stagingFolder, error);
    });
    if (!allMoved) {
        reportFailure(L"Could not move extracted client files into place.");
        return false;
    }
    if (RemoveEntryOrTree(lonePath) != ERROR_SUCCESS) {
        reportFailure(L"Could not remove the extra extracted client folder.");
        return false;
    }
    return true;
}

bool MoveEntryInto(const std::filesystem::path& entry,
                   const std::filesystem::path& destinationFolder, DWORD& error) {
    const std::filesystem::path target = destinationFolder / FileNamePart(entry.native());
    RemoveEntryOrTree(target);  // What cannot be removed makes the next step fail.
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
