// A tiny console program for tests that start another one:
//   child_program exit N             ends at once with exit code N (any 32-bit value)
//   child_program sleep MS           ends with 0 after MS milliseconds
//   child_program hang FILE ...      creates FILE and never ends
// Anything else, or a file that cannot be written, ends with kUsageError.

#include <cstdlib>
#include <cwchar>
#include <string_view>

#include "common/windows_api.h"

namespace {

constexpr int kUsageError = 90;

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
        const HANDLE file =
            ::CreateFileW(argv[2], GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        if (file == INVALID_HANDLE_VALUE) {
            return kUsageError;
        }
        ::CloseHandle(file);
        ::Sleep(INFINITE);
    }
    return kUsageError;
}
