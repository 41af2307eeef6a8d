#pragma once

#include <optional>
#include <span>
#include <string>

#include "common/windows_api.h"

// A running program cannot delete its own file. So the uninstaller in the client folder only starts
// a copy of itself from the temporary folder, which does all the work.

// The data passed to the copy on its command line.
struct HandOver {
    std::wstring uninstaller;   // The original, in the client folder.
    HANDLE original = nullptr;  // Its process: inherited, to be waited for and closed.
};

// The copy's command line and its parser; none for any other command line. `arguments` starts with
// the program's name.
[[nodiscard]] std::wstring HandOverCommandLine(const std::wstring& copy, const HandOver& handOver);
[[nodiscard]] std::optional<HandOver> ParseHandOver(std::span<const wchar_t* const> arguments);

// Starts a copy of `uninstaller` (the running program) and returns immediately. The copy's bytes
// are compared with the original's after the file has been locked against changes. The copy
// inherits one handle of its file and one of this process, no others. Its file is deleted when it
// ends. False when it cannot be created or started; its file is then deleted.
[[nodiscard]] bool StartCopy(const std::wstring& uninstaller);

// Waits up to 30 seconds for the original to end and closes the handle. A file still in use after
// that is reported like any other.
void AwaitOriginal(HANDLE original);
