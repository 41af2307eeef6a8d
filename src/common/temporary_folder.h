#pragma once

#include <string>

// The current user's folder for temporary files, with a trailing backslash; it need not exist.
// Empty when the system cannot name it or its path has 260 (MAX_PATH) characters or more; a file
// name joined with that is relative to the current folder. Any thread.
[[nodiscard]] std::wstring TemporaryFolder();
