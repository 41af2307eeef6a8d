// Stands in for the copy of the uninstaller. Writes to a file named like itself plus ".txt", in
// UTF-16, one line each: its current folder, the number of its arguments, its process id, what a
// wait of no length for the handle in its last argument returns, and for each handle named in the
// environment variable BENCH_HANDLES, in decimal and with blanks between, the size of the file
// behind it, or 0 for what is no such handle here.

#include <bit>
#include <cstdint>
#include <sstream>
#include <string>

#include "common/windows_api.h"

namespace {

HANDLE HandleFrom(const std::wstring& digits) {
    return std::bit_cast<HANDLE>(static_cast<uintptr_t>(std::stoull(digits)));
}

std::wstring HandleNumbers() {
    std::wstring numbers(1000, L'\0');
    numbers.resize(::GetEnvironmentVariableW(L"BENCH_HANDLES", numbers.data(),
                                             static_cast<DWORD>(numbers.size())));
    return numbers;
}

std::wstring Report(int argc, wchar_t** argv) {
    std::wstring folder(MAX_PATH * 4, L'\0');
    folder.resize(::GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    std::wostringstream report;
    report << folder << L'\n' << argc << L'\n' << ::GetCurrentProcessId() << L'\n'
           << ::WaitForSingleObject(HandleFrom(argv[argc - 1]), 0) << L'\n';
    std::wistringstream numbers(HandleNumbers());
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
