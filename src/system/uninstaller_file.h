#pragma once

#include <filesystem>

// The uninstaller, a separate program that the tool carries as resource ID_UNINSTALLER.

// Its path: "Uninstall.exe" in `clientFolder`, or in the current folder when that is empty.
[[nodiscard]] std::filesystem::path UninstallerPath(const std::filesystem::path& clientFolder);

// Writes it to `toolFolder`, over an older one. True also for a tool that carries none: nothing is
// written then. False when the file cannot be opened for writing (it is running, open
// elsewhere or read-only) or the disk is full; the caller words the message. What a failed write
// leaves behind is undefined. Job thread.
[[nodiscard]] bool WriteUninstaller();
