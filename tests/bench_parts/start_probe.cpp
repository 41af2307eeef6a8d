// Takes the place of a program that the product starts, and reports how. Writes to a file with its
// own name plus ".txt", in UTF-16, one line each:
//   its current folder
//   the number of its arguments
//   how its window is to be shown
//   its process id
//   what a wait of no length for the handle in its last argument returns, if it has arguments
//   for each handle in the environment variable BENCH_HANDLES (decimal, separated by blanks) the
//   size of the file behind it, or 0 if it is no such handle here

#include <bit>
#include <cstdint>
#include <sstream>
#include <string>

#include "common/windows_api.h"

namespace {

HANDLE HandleFrom(const std::wstring& digits) {
    return std::bit_cast<HANDLE>(static_cast<uintptr_t>(std::stoull(digits)));
}

std::wstring Report(int argc, wchar_t** argv) {
    std::wstring folder(MAX_PATH * 4, L'\0');
    folder.resize(::GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    ::GetStartupInfoW(&startup);
    std::wostringstream report;
    report << folder << L'\n' << argc << L'\n' << startup.wShowWindow << L'\n'
           << ::GetCurrentProcessId() << L'\n';
    if (argc > 1) {
        report << ::WaitForSingleObject(HandleFrom(argv[argc - 1]), 0) << L'\n';
    }
    std::wstring handles(1000, L'\0');
    handles.resize(::GetEnvironmentVariableW(L"BENCH_HANDLES", handles.data(),
                                             static_cast<DWORD>(handles.size())));
    std::wistringstream numbers(handles);
    for (std::wstring number; numbers >> number;) {
        LARGE_INTEGER size{};
        report << (::GetFileSizeEx(HandleFrom(number), &size) ? size.QuadPart : 0) << L'\n';
    }
    return report.str();
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    std::wstring exePath(MAX_PATH * 4, L'\0');
    exePath.resize(
        ::GetModuleFileNameW(nullptr, exePath.data(), static_cast<DWORD>(exePath.size())));
    const std::wstring report = Report(argc, argv);

    // The test waits for the final name, which the file only gets when it is complete.
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
