#pragma once

#include <string>

// The uninstaller, a separate program embedded in the tool as resource ID_UNINSTALLER.

// Its path: "Uninstall.exe" in `clientFolder`, or in the current folder when that is empty.
[[nodiscard]] std::wstring UninstallerPath(const std::wstring& clientFolder);

// Writes it to `toolFolder`, replacing an older one. True also for a tool without an embedded
// uninstaller, which writes nothing. False when the file cannot be opened for writing (it is
// running, open elsewhere or read-only) or the disk is full; the caller words the message. The file
// is undefined after a failed write. Job thread.
[[nodiscard]] bool WriteUninstaller();
