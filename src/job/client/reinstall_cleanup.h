#pragma once

#include <string>
#include <vector>

// The destructive part of a reinstall, emptying the client folder, and its guards. They work on
// `toolFolder` and `toolExePath`. Job thread.

// Whether the client folder may be emptied: it can be resolved; it is not the root of a drive, a
// network share or a volume mounted in a folder; its resolved path has at least 6 characters; and
// the tool's own file is directly in it. Paths are resolved first, so links, substituted and mapped
// drives, short names and letter case make no difference. A tool path that fills its buffer may be
// truncated and is refused. Changes nothing.
[[nodiscard]] bool IsSafeReinstallFolder();

// Whether `path` survives emptying the client folder: it is neither that folder nor below it. Both
// are resolved first. On some drives (RAM disks) no path can be resolved; such a path counts as
// outside only when its drive letter differs from that of the resolved client folder. Also false
// when the client folder cannot be resolved. Changes nothing.
[[nodiscard]] bool IsOutsideClientFolder(const std::wstring& path);

// Removes everything in the client folder except the tool's own file. True when that was done, even
// if some entries could not be removed: the copying that follows overwrites or reports them. False
// after a report, with nothing touched, when the folder is not safe or one of `packagePaths` (empty
// ones are ignored) is not outside of it, such as a temporary folder inside the game's folder.
// Publishes stage and texts once and does not check the cancel flag; blocks until done. Throws
// FileSystemError (common/win32_error.h) when the listing breaks off; the entries listed so far
// have then been removed.
[[nodiscard]] bool PrepareCleanReinstall(const std::vector<std::wstring>& packagePaths = {});
