#include "common/tool_instance.h"

#include <array>
#include <string>

HWND mainWindow = nullptr;
std::wstring toolExePath;
std::wstring toolFolder;

void LocateTool() {
    std::array<wchar_t, MAX_PATH> buffer{};
    // A longer path is truncated, with a terminator.
    ::GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    const std::wstring exePath(buffer.data());
    const size_t separator = exePath.find_last_of(L"\\/");
    toolExePath = exePath;
    toolFolder = separator == std::wstring::npos ? std::wstring() : exePath.substr(0, separator);
}
