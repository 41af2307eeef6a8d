#include "job/client/reinstall_cleanup.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "common/folder_walk.h"
#include "common/paths.h"
#include "common/removal.h"
#include "common/text.h"
#include "common/tool_instance.h"
#include "common/win32_error.h"
#include "job/client/running_tool.h"
#include "job/progress/job_progress.h"

namespace {

// "C:\abc". A shorter path is more likely a tool started in the wrong folder than a game client.
constexpr size_t kShortestSafePathLength = 6;

// The root of a drive, a network share or a volume without a letter. A mapped drive resolves to its
// share.
bool IsRoot(std::wstring_view canonicalPath) {
    const size_t volumeRoot =
        std::max(RootPathLength(canonicalPath), VolumeRootLength(canonicalPath));
    return canonicalPath.find_first_not_of(L"\\/", volumeRoot) == std::wstring_view::npos;
}

// Both canonical: backslashes only, none at the end of `folder`. Letter case is ignored because
// some file servers return a path in the case it was asked for.
bool IsAtOrBelow(std::wstring_view path, std::wstring_view folder) {
    return path.size() >= folder.size() &&
           IsSameIgnoringCase(path.substr(0, folder.size()), folder) &&
           (path.size() == folder.size() || path[folder.size()] == L'\\');
}

// Whether a path that cannot be resolved begins with a different drive letter than `canonicalPath`.
bool IsOnAnotherDrive(const std::wstring& unresolved, std::wstring_view canonicalPath) {
    const std::wstring full = LowerCase(FullPath(unresolved));
    return full.size() > 2 && full[1] == L':' && full[0] != LowerCase(canonicalPath).front();
}

// Whether the tool's path fills the buffer that it was read into. A truncated path makes an
// ancestor look like the client folder.
bool MayBeTruncated(const std::wstring& exePath) {
    return exePath.size() >= MAX_PATH - 1;
}

}  // namespace

bool IsSafeReinstallFolder() {
    const std::optional<std::wstring> clientRoot = WeaklyCanonical(toolFolder);
    if (!clientRoot || clientRoot->empty() || MayBeTruncated(toolExePath)) {
        return false;
    }
    const std::wstring& clientRootText = *clientRoot;
    if (IsRoot(clientRootText) || IsVolumeRoot(*clientRoot) ||
        clientRootText.size() < kShortestSafePathLength) {
        return false;
    }
    const std::optional<std::wstring> tool = WeaklyCanonical(toolExePath);
    return tool && IsSameCanonicalPath(ParentFolder(*tool), clientRootText);
}

bool IsOutsideClientFolder(const std::wstring& path) {
    const std::optional<std::wstring> clientRoot = WeaklyCanonical(toolFolder);
    if (!clientRoot || path.empty()) {
        return false;
    }
    const std::optional<std::wstring> canonicalPath = WeaklyCanonical(path);
    return canonicalPath ? !IsAtOrBelow(*canonicalPath, *clientRoot)
                         : IsOnAnotherDrive(path, *clientRoot);
}

bool PrepareCleanReinstall(const std::vector<std::wstring>& packagePaths) {
    const bool packageIsOutside =
        std::all_of(packagePaths.begin(), packagePaths.end(),
                    [](const auto& path) { return path.empty() || IsOutsideClientFolder(path); });
    const RunningTool tool = FindRunningTool(toolExePath);
    if (!packageIsOutside || !IsSafeReinstallFolder() || !tool.canonicalPath) {
        reportFailure(
            L"Safety check failed. Reinstall can only run from inside the game client folder.");
        return false;
    }
    reportStage(JobStage::Finishing, L"Preparing clean reinstall...",
                L"Removing old client files...");
    // The tool is directly in this folder, so its name protects it even if its path cannot be
    // resolved at the moment. Current Windows can delete the file of a running program.
    const std::wstring toolName = FileNamePart(*tool.canonicalPath);
    const ListingResult listing = ListFolder(toolFolder, [&](const FolderEntry& entry) {
        if (entry.relativePath != toolName && !IsRunningTool(entry.path, tool)) {
            // The copying that follows overwrites what is left, or reports it.
            static_cast<void>(RemoveEntryOrTree(entry.path));
        }
        return true;
    });
    // If the folder cannot be listed at all, there is nothing to remove.
    if (listing.advanceError != ERROR_SUCCESS) {
        throw FileSystemError(toolFolder, listing.advanceError);
    }
    return true;
}
