#pragma once

#include <filesystem>

// The current user's folder for temporary files; empty when the system names none. Any thread.
std::filesystem::path TemporaryFolder();
