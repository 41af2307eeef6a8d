#include "job/client/client_repair.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "common/files.h"
#include "common/folder_walk.h"
#include "common/paths.h"
#include "common/tool_instance.h"
#include "job/client/content_comparison.h"
#include "job/client/reinstall_cleanup.h"
#include "job/client/running_tool.h"
#include "job/progress/job_progress.h"

namespace {

// 3 seconds in units of 100 ns. File systems round time stamps, some to 2 seconds.
constexpr uint64_t kTimeDifferenceThreshold = 30'000'000;

// Used when the source's time cannot be read. Negative as a FILETIME, so SetFileTime refuses it and
// the copied time stays.
constexpr uint64_t kMinimumTime = uint64_t{1} << 63;

constexpr wchar_t kUnreadablePackage[] = L"Could not read the unpacked client files.";

// The working pass over the package: what is the same for all its files, and the progress.
struct RepairPass {
    std::wstring clientRoot;
    std::optional<std::wstring> canonicalSourceRoot;  // None when it cannot be resolved.
    RunningTool tool;
    ComparisonBuffers buffers;
    bool reinstall = false;
    uint64_t filesMet = 0;  // Fewer than were counted before if some have vanished.
    uint64_t filesChecked = 0;
    uint64_t filesFixed = 0;
};

EntryKind KindOfEntry(const FolderEntry& entry) {
    if (entry.IsReparsePoint()) {
        return KindOf(entry.path);
    }
    return entry.IsFolder() ? EntryKind::Folder : EntryKind::RegularFile;
}

// The number of regular files; none when the source root itself cannot be listed.
std::optional<uint64_t> CountFiles(const std::wstring& sourceRoot) {
    uint64_t count = 0;
    const ListingResult listing = WalkTree(sourceRoot, [&](const FolderEntry& entry) {
        count += KindOfEntry(entry) == EntryKind::RegularFile ? 1 : 0;
        return true;
    });
    return listing.Error() == ERROR_SUCCESS ? std::optional(count) : std::nullopt;
}

// The entry's path below the client root; empty when the entry cannot be resolved.
std::wstring RelativePathOf(const FolderEntry& entry, const RepairPass& pass) {
    // Without a reparse point on its path an entry is where it is listed. So nothing is skipped on
    // drives where no path can be resolved (RAM disks), and an entry that vanishes after it was
    // listed fails with a message.
    if (!entry.isBehindReparsePoint) {
        return entry.relativePath;
    }
    if (!pass.canonicalSourceRoot) {
        return {};
    }
    const std::optional<std::wstring> canonicalPath = WeaklyCanonical(entry.path);
    return canonicalPath ? RelativePath(*canonicalPath, *pass.canonicalSourceRoot) : std::wstring();
}

// Always joined with a separator: "C:" as client root is the drive's root, not the current folder
// of that drive.
std::wstring TargetPath(const std::wstring& clientRoot, std::wstring_view relativePath) {
    return AsFolder(clientRoot) + std::wstring(relativePath);
}

void PublishFile(const RepairPass& pass, std::wstring_view relativePath) {
    UpdateJobState([&](JobState& state) {
        state.filesDone = pass.filesChecked;
        state.filesRepaired = pass.filesFixed;
        state.detailLine = pass.reinstall ? L"Installing " : L"Checking ";
        state.detailLine += relativePath;
    });
}

// Whether the target needs no copy. A different time stamp is corrected, not a reason to copy.
bool IsGoodTarget(const std::wstring& sourcePath, const std::wstring& targetPath,
                  const ComparedFile& target, ComparisonBuffers& buffers) {
    if (!target.file) {
        return false;
    }
    const ComparedFile source = OpenForComparison(sourcePath);
    if (!HaveSameContent(source, target, buffers)) {
        return false;
    }
    const auto [earlier, later] =
        std::minmax(source.facts.lastWriteTime, target.facts.lastWriteTime);
    if (later - earlier >= kTimeDifferenceThreshold) {
        // A wrong time stamp does not harm the game.
        static_cast<void>(SetLastWriteTime(targetPath, source.facts.lastWriteTime));
    }
    return true;
}

// Whether the target stays as it is: it is the running tool or, in a repair, as it should be.
bool IsLeftAlone(const std::wstring& source, const std::wstring& target, RepairPass& pass) {
    if (pass.reinstall) {
        return CanBeRunningTool(FactsOf(target), pass.tool) && IsRunningTool(target, pass.tool);
    }
    const ComparedFile opened = OpenForComparison(target);
    return (CanBeRunningTool(opened.facts, pass.tool) && IsRunningTool(target, pass.tool)) ||
           IsGoodTarget(source, target, opened, pass.buffers);
}

bool CopyClientFile(const std::wstring& source, const std::wstring& target,
                    std::wstring_view relativePath) {
    // If the folder cannot be created, the copy fails.
    static_cast<void>(EnsureDirectory(ParentFolder(target)));
    if (CopyFileOver(source, target) != ERROR_SUCCESS) {
        reportFailure(L"Could not repair this file: " + std::wstring(relativePath));
        return false;
    }
    // The copy normally brings the time along.
    const uint64_t sourceTime = LastWriteTime(source).value_or(kMinimumTime);
    if (LastWriteTime(target) != sourceTime) {
        static_cast<void>(SetLastWriteTime(target, sourceTime));  // As in IsGoodTarget.
    }
    return true;
}

// False when the file could not be copied, which ends the pass.
bool ProcessFile(const std::wstring& source, const std::wstring& target,
                 std::wstring_view relativePath, RepairPass& pass) {
    ++pass.filesChecked;
    PublishFile(pass, relativePath);
    if (IsLeftAlone(source, target, pass)) {
        return true;
    }
    if (!CopyClientFile(source, target, relativePath)) {
        return false;
    }
    ++pass.filesFixed;
    return true;
}

// False ends the pass.
bool ProcessEntry(const FolderEntry& entry, RepairPass& pass) {
    if (jobProgress.cancelRequested) {
        return false;
    }
    const EntryKind kind = KindOfEntry(entry);
    pass.filesMet += kind == EntryKind::RegularFile ? 1 : 0;
    const std::wstring relativePath = RelativePathOf(entry, pass);
    if (relativePath.empty()) {
        return true;
    }
    const std::wstring target = TargetPath(pass.clientRoot, relativePath);
    switch (kind) {
        case EntryKind::Folder:
            // If it cannot be created, copying its files fails.
            static_cast<void>(EnsureDirectory(target));
            return true;
        case EntryKind::RegularFile:
            return ProcessFile(entry.path, target, relativePath, pass);
        case EntryKind::Missing:
        case EntryKind::Unreadable:
            break;
    }
    return true;
}

void PublishBeginning(bool reinstall, uint64_t filesTotal) {
    UpdateJobState([&](JobState& state) {
        state.stage = JobStage::Finishing;
        state.filesTotal = filesTotal;
        state.filesDone = 0;
        state.filesRepaired = 0;
        state.statusLine = reinstall ? L"Reinstalling client..." : L"Verifying client files...";
        state.detailLine.clear();
    });
}

const wchar_t* ResultText(const RepairPass& pass) {
    if (pass.reinstall) {
        return L"Reinstall complete.";
    }
    return pass.filesFixed != 0 ? L"Fixed or updated missing/mismatched files."
                                : L"All files are already clean.";
}

}  // namespace

bool VerifyAndRepairClient(const std::wstring& sourceRoot, bool reinstall,
                           const std::wstring& archivePath) {
    // Counted first, so that the window can show a percentage and a package that has become
    // unreadable leaves the client untouched.
    const std::optional<uint64_t> filesTotal = CountFiles(sourceRoot);
    if (!filesTotal) {
        reportFailure(kUnreadablePackage);
        return false;
    }
    if (reinstall && !PrepareCleanReinstall({sourceRoot, archivePath})) {
        return false;
    }
    PublishBeginning(reinstall, *filesTotal);

    RepairPass pass;
    pass.clientRoot = toolFolder;
    pass.canonicalSourceRoot = WeaklyCanonical(sourceRoot);
    pass.tool = FindRunningTool(toolExePath);
    pass.reinstall = reinstall;
    const ListingResult listing =
        WalkTree(sourceRoot, [&](const FolderEntry& entry) { return ProcessEntry(entry, pass); });
    if (listing.stoppedByVisitor) {
        return false;
    }
    if (listing.Error() != ERROR_SUCCESS || pass.filesMet < *filesTotal) {
        reportFailure(kUnreadablePackage);
        return false;
    }
    UpdateJobState([&](JobState& state) {
        state.filesDone = *filesTotal;
        state.filesRepaired = pass.filesFixed;
        state.detailLine = ResultText(pass);
    });
    return true;
}
