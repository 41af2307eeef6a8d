// A tiny console program for tests that start another one:
//   child_program exit N             ends at once with exit code N (any 32-bit value)
//   child_program sleep MS           ends with 0 after MS milliseconds
//   child_program hang FILE ...      creates FILE and never ends
//   child_program args FILE ...      writes to FILE, in UTF-8, one line each:
//                                    its full command line
//                                    its current folder
//                                    "show=" with STARTUPINFO's flags and wShowWindow
// Anything else, or a file that cannot be written, ends with kUsageError.

#include <cstdlib>
#include <cwchar>
#include <string>
#include <string_view>

#include "bench_parts/utf8.h"
#include "common/windows_api.h"

namespace {

using bench::ToUtf8;

constexpr int kUsageError = 90;

std::wstring CurrentFolder() {
    std::wstring folder(::GetCurrentDirectoryW(0, nullptr), L'\0');
    folder.resize(::GetCurrentDirectoryW(static_cast<DWORD>(folder.size()), folder.data()));
    return folder;
}

std::string ShowFlags() {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    ::GetStartupInfoW(&startup);
    return "show=" + std::to_string(startup.dwFlags) + "," + std::to_string(startup.wShowWindow);
}

bool WriteWholeFile(const wchar_t* path, const std::string& bytes) {
    const HANDLE file = ::CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return false;
    }
    DWORD written = 0;
    const BOOL success =
        ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    ::CloseHandle(file);
    return success != FALSE && written == bytes.size();
}

// Reads what fits into 32 bits, signed or not: an exit code is only a pattern of bits.
int ToCode(const wchar_t* text) {
    return static_cast<int>(std::wcstoll(text, nullptr, 0));
}

DWORD ToMilliseconds(const wchar_t* text) {
    return static_cast<DWORD>(std::wcstoul(text, nullptr, 10));
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const std::wstring_view mode = argc > 1 ? argv[1] : L"";
    if (mode == L"exit" && argc == 3) {
        return ToCode(argv[2]);
    }
    if (mode == L"sleep" && argc == 3) {
        ::Sleep(ToMilliseconds(argv[2]));
        return 0;
    }
    if (mode == L"hang" && argc >= 3) {
        if (!WriteWholeFile(argv[2], "")) {
            return kUsageError;
        }
        ::Sleep(INFINITE);
    }
    if (mode == L"args" && argc >= 3) {
        const std::string report = ToUtf8(::GetCommandLineW()) + "\n" + ToUtf8(CurrentFolder()) +
                                   "\n" + ShowFlags() + "\n";
        return WriteWholeFile(argv[2], report) ? 0 : kUsageError;
    }
    return kUsageError;
}
