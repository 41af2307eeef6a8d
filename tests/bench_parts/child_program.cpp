// A tiny console program for tests that start another one:
//   child_program exit N             ends at once with exit code N (any 32-bit value)
//   child_program sleep MS           ends with 0 after MS milliseconds
//   child_program hang FILE ...      creates FILE and never ends
//   child_program args FILE ...      writes to FILE, in UTF-8, one line each:
//                                    its full command line
//                                    its current folder
//                                    "show=" with STARTUPINFO's flags and wShowWindow
// Anything else, or a file that cannot be written, ends with kUsageError.

#include <cwchar>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "bench_parts/utf8.h"
#include "common/windows_api.h"

namespace {

constexpr int kUsageError = 90;

void Report(std::ostream& out) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    ::GetStartupInfoW(&startup);
    out << bench::ToUtf8(::GetCommandLineW()) << '\n'
        << bench::ToUtf8(std::filesystem::current_path().native()) << "\nshow=" << startup.dwFlags
        << ',' << startup.wShowWindow << '\n';
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 3) {
        return kUsageError;
    }
    const std::wstring_view mode = argv[1];
    if (mode == L"exit") {
        // Signed or not: an exit code is only a pattern of bits.
        return static_cast<int>(std::wcstoll(argv[2], nullptr, 0));
    }
    if (mode == L"sleep") {
        ::Sleep(std::wcstoul(argv[2], nullptr, 10));
        return 0;
    }
    if (mode != L"hang" && mode != L"args") {
        return kUsageError;
    }
    std::ofstream file(std::filesystem::path(argv[2]), std::ios::binary);
    if (mode == L"hang" && file) {
        ::Sleep(INFINITE);
    }
    Report(file);
    return file.flush() ? 0 : kUsageError;
}
