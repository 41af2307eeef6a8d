// Stands in for a game's startup program: writes its current folder, its command line and how its
// window is to be shown, in UTF-16, one line each, to a file named like itself plus ".txt".

#include <string>

#include "common/windows_api.h"

int wmain(int argc, wchar_t**) {
    std::wstring exePath(MAX_PATH * 4, L'\0');
    exePath.resize(
        ::GetModuleFileNameW(nullptr, exePath.data(), static_cast<DWORD>(exePath.size())));
    std::wstring folder(MAX_PATH * 4, L'\0');
    folder.resize(::GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    ::GetStartupInfoW(&startup);
    const std::wstring report = folder + L"\n" + std::to_wstring(argc) + L"\n" +
                                std::to_wstring(startup.wShowWindow) + L"\n";

    // Complete as soon as it has its name: the test waits for that.
    const std::wstring unfinished = exePath + L".part";
    const HANDLE file =
        ::CreateFileW(unfinished.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return 1;
    }
    DWORD written = 0;
    ::WriteFile(file, report.data(), static_cast<DWORD>(report.size() * sizeof(wchar_t)), &written,
                nullptr);
    ::CloseHandle(file);
    return ::MoveFileW(unfinished.c_str(), (exePath + L".txt").c_str()) ? 0 : 1;
}
