#pragma once

#include <filesystem>
#include <vector>

// The destructive part of a reinstall: emptying the client folder, and the guard before it. Job
// thread. Both work on `toolFolder` and `toolExePath`.

// Whether the client folder may be emptied: it can be resolved, is no root of a drive, a network
// share or a volume mounted in a folder, its resolved path is not as short as "C:\ab" (5
// characters), and the tool's own file lies directly in it. Judged by where the paths lead, so
// links, substituted and mapped drives, short names and letter case make no difference. A tool path
// that fills its buffer may have been cut and is refused. Touches nothing.
[[nodiscard]] bool IsSafeReinstallFolder();

// Whether emptying the client folder leaves `path` alone: it leads neither to that folder nor to
// anything below it. Judged by where both lead. No path can be resolved on some drives (RAM disks),
// but these have letters of their own: a path that cannot be resolved is outside when it begins
// with another drive's letter than the resolved client folder, and taken as inside otherwise. False
// as well when the client folder cannot be resolved. Touches nothing.
[[nodiscard]] bool IsOutsideClientFolder(const std::filesystem::path& path);

// Removes everything in the client folder but the tool's own file. True when that was done,
// though entries that could not be removed stay: the copying that follows overwrites what it can
// and reports the rest. False when the folder is not safe, or when one of `packagePaths` (empty
// ones aside) is not outside of it, as with a temporary folder below the game: the failure is
// reported, nothing is touched. Publishes stage and texts once, does not look at the cancel flag;
// blocks until done. Throws std::filesystem::filesystem_error when the folder's listing breaks off
// half-way; what was listed before has then been removed.
[[nodiscard]] bool PrepareCleanReinstall(
    const std::vector<std::filesystem::path>& packagePaths = {});
