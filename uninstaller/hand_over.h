#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>

#include "common/windows_api.h"

// A running program cannot remove its own file. The uninstaller in the client folder therefore
// starts a copy of itself from the temporary folder, which does all the work, and ends.

// What the copy is told on its command line.
struct HandOver {
    std::filesystem::path uninstaller;  // The original, in the client folder.
    HANDLE original = nullptr;          // Its process; inherited, to be waited for and closed.
};

// The command line for the copy and what is read from it; none for any other command line.
// `arguments` begins with the program's own name.
[[nodiscard]] std::wstring HandOverCommandLine(const std::filesystem::path& copy,
                                               const HandOver& handOver);
[[nodiscard]] std::optional<HandOver> ParseHandOver(std::span<const wchar_t* const> arguments);

// Starts a copy of `uninstaller`, this very program, and returns at once. What is started has the
// original's bytes: the copy's file can no longer be changed when they are checked. The copy
// inherits a handle of its file and one of this process, nothing else. Its file is deleted when it
// ends. False when it cannot be made or started; then no file of it is left.
[[nodiscard]] bool StartCopy(const std::filesystem::path& uninstaller);

// Waits until the original has ended, for 30 seconds at most: a file that is still in use then is
// reported like any other. Closes the handle.
void AwaitOriginal(HANDLE original);
