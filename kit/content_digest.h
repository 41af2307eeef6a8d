#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "common/windows_api.h"
#include "kit/pe/byte_access.h"

// SHA-256 digests, as 64 lower-case hexadecimal digits. Any thread. Throws OutsideFailure when a
// file cannot be read or Windows cannot compute a digest.

[[nodiscard]] std::string DigestOfBytes(ByteView bytes);

// Of an open file's whole content. `path` is for the message. Leaves the file's position at its
// end. Calls `addRead` with the number of bytes after each piece.
[[nodiscard]] std::string DigestOfOpenFile(
    HANDLE file, const std::wstring& path,
    const std::function<void(uint64_t)>& addRead = [](uint64_t) {});

[[nodiscard]] std::string DigestOfFile(const std::wstring& path);
