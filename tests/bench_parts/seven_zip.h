#pragma once

#include <string>

#include "common/windows_api.h"

// For the fake programs that really unpack: the bench's 7-Zip, in a folder that the tool does not
// search.

namespace bench {

// Unpacks with full paths, overwriting, and waits. 7-Zip's exit code: 0, or what went wrong, 2 for
// a bad archive; kSevenZipMissing when it cannot be started. It ends when this program is ended.
inline constexpr DWORD kSevenZipMissing = 91;
DWORD UnpackWithSevenZip(const std::wstring& archive, const std::wstring& folder);

}  // namespace bench
