#include "job/client/reinstall_cleanup.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "common/folder_walk.h"
#include "common/paths.h"
#include "common/removal.h"
#include "common/text.h"
#include "common/tool_instance.h"
#include "job/client/running_tool.h"
#include "job/progress/job_progress.h"

namespace {

// "C:\abc". A game client so close to a drive's root is less likely than a tool that was started
// from the wrong place.
constexpr size_t kShortestSafePathLength = 6;

// A drive's root, a network share's, or that of a volume without a letter. A mapped drive resolves
// to its share.
bool IsRoot(std::wstring_view canonicalPath) {
    const size_t volumeRoot =
        std::max(RootPathLength(canonicalPath), VolumeRootLength(canonicalPath));
    return canonicalPath.find_first_not_of(L"\\/", volumeRoot) == std::wstring_view::npos;
}

// Both canonical: backslashes only, none at the end of `folder`. Without regard to letter case:
// some servers give a path back as it was asked for.
bool IsAtOrBelow(std::wstring_view path, std::wstring_view folder) {
    const int length = static_cast<int>(folder.size());
    return path.size() >= folder.size() &&
           ::CompareStringOrdinal(path.data(), length, folder.data(), length, TRUE) == CSTR_EQUAL &&
           (path.size() == folder.size() || path[folder.size()] == L'\\');
}

// Whether a path that cannot be resolved has a drive letter, and another one than `canonicalPath`.
bool IsOnAnotherDrive(const std::filesystem::path& unresolved, std::wstring_view canonicalPath) {
    const std::wstring full = LowerCase(FullPath(unresolved.native()));
    return full.size() > 2 && full[1] == L':' && full[0] != LowerCase(canonicalPath).front();
}

// Whether the tool's path may have been cut at the end of the buffer that it was read into: what
// looks like its folder is then one further up, which the tool does not lie in.
bool MayBeCut(const std::filesystem::path& exePath) {
    return exePath.native().size() >= MAX_PATH - 1;
}

}  // namespace

bool IsSafeReinstallFolder() {
    const std::optional<std::filesystem::path> clientRoot = WeaklyCanonical(toolFolder);
    if (!clientRoot || clientRoot->empty() || MayBeCut(toolExePath)) {
        return false;
    }
    const std::wstring& clientRootText = clientRoot->native();
    if (IsRoot(clientRootText) || IsVolumeRoot(*clientRoot) ||
        clientRootText.size() < kShortestSafePathLength) {
        return false;
    }
    const std::optional<std::filesystem::path> tool = WeaklyCanonical(toolExePath);
    return tool && IsSameCanonicalPath(ParentFolder(tool->native()), clientRootText);
}

bool IsOutsideClientFolder(const std::filesystem::path& path) {
    const std::optional<std::filesystem::path> clientRoot = WeaklyCanonical(toolFolder);
    if (!clientRoot || path.empty()) {
        return false;
    }
    const std::optional<std::filesystem::path> canonicalPath = WeaklyCanonical(path);
    return canonicalPath ? !IsAtOrBelow(canonicalPath->native(), clientRoot->native())
                         : IsOnAnotherDrive(path, clientRoot->native());
}

bool PrepareCleanReinstall(const std::vector<std::filesystem::path>& packagePaths) {
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
    // The tool is directly in this folder, so its name is enough when its path cannot be resolved
    // for a moment: newer systems let the file of a running program be deleted.
    const std::wstring toolName = FileNamePart(tool.canonicalPath->native());
    const ListingResult listing = ListFolder(toolFolder, [&](const FolderEntry& entry) {
        if (entry.relativePath != toolName && !IsRunningTool(entry.path, tool)) {
            // What stays is met again by the copying, which overwrites or reports it.
            static_cast<void>(RemoveEntryOrTree(entry.path));
        }
        return true;
    });
    // A folder that cannot be listed at all has nothing to remove.
    if (listing.advanceError != ERROR_SUCCESS) {
        throw std::filesystem::filesystem_error(
            "listing the client folder", toolFolder,
            std::error_code(static_cast<int>(listing.advanceError), std::system_category()));
    }
    return true;
}
