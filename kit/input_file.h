#pragma once

#include <cstdint>
#include <optional>
#include <string>

// The whole file. None when it does not exist. Throws OutsideFailure when it is a folder, cannot be
// read or has more than `mostBytes`.
[[nodiscard]] std::optional<std::string> ReadInputFile(const std::wstring& path,
                                                       uint64_t mostBytes);

// Throws OutsideFailure unless `path` is an existing folder.
void RequireFolder(const std::wstring& path);
