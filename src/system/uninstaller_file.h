#pragma once

#include <filesystem>

// The uninstaller, a separate program that the tool carries as resource ID_UNINSTALLER.

// Where it stands: "Uninstall.exe" in `toolFolder`, or in the current folder when that is empty.
std::filesystem::path UninstallerPath();

// Writes it there, over an older one. True also for a tool that carries none: then nothing is due
// and nothing is written. False when the file cannot be opened for writing (it is running, open
// elsewhere or read-only) or the disk is full; the caller words the message. What a failed write
// leaves behind is undefined. Job thread.
bool WriteUninstaller();
