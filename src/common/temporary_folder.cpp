#include "common/temporary_folder.h"

#include <array>

#include "common/windows_api.h"

std::filesystem::path TemporaryFolder() {
    std::array<wchar_t, MAX_PATH + 1> folder{};
    const DWORD length = ::GetTempPathW(static_cast<DWORD>(folder.size()), folder.data());
    return length > 0 && length < folder.size() ? folder.data() : std::filesystem::path();
}
