#pragma once

#include <filesystem>

// The current user's folder for temporary files, as the system names it (with a trailing
// backslash). Empty when the system names none, or one of 260 (MAX_PATH) characters or more; a file
// name joined with it is then relative to the current folder. Need not exist. Any thread.
[[nodiscard]] std::filesystem::path TemporaryFolder();
