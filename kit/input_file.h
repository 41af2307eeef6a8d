#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "kit/errors.h"

// The failure to read a file that is larger than any that makes sense.
class InputTooLarge : public OutsideFailure {
public:
    InputTooLarge(const std::wstring& path, uint64_t mostBytes);
};

// The whole file; others may write and delete it meanwhile. None when it does not exist. Throws
// OutsideFailure when it is a folder or cannot be read, InputTooLarge when it has more than
// `mostBytes`.
[[nodiscard]] std::optional<std::string> ReadInputFile(const std::wstring& path,
                                                       uint64_t mostBytes);

// Throws OutsideFailure unless `path` is an existing folder.
void RequireFolder(const std::wstring& path);
