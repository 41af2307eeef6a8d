#include "common/temporary_folder.h"

#include <array>
#include <string>

#include "common/windows_api.h"

std::wstring TemporaryFolder() {
    std::array<wchar_t, MAX_PATH> folder{};
    const DWORD length = ::GetTempPathW(static_cast<DWORD>(folder.size()), folder.data());
    // If the path does not fit, the result is the required length.
    const bool isComplete = length > 0 && length < folder.size();
    return isComplete ? std::wstring(folder.data(), length) : std::wstring();
}
