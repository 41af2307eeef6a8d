#pragma once

#include <string>

#include "common/windows_api.h"
#include "kit/pe/byte_access.h"

// SHA-256 digests of what the kit has at hand already, as 64 lower-case hexadecimal digits. Any
// thread. Throws OutsideFailure when Windows cannot compute them.

[[nodiscard]] std::string DigestOfBytes(ByteView bytes);

// Of an open file's whole content. `path` is for the message. Leaves the file's position at its
// end.
[[nodiscard]] std::string DigestOfOpenFile(HANDLE file, const std::wstring& path);
