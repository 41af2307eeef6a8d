// crashing_program abort|throw|write: ends in this way with the kit's crash guards on.

#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "kit/crash_guard.h"

int wmain(int count, wchar_t** arguments) {
    InstallCrashGuards();
    const std::wstring_view way = count > 1 ? arguments[1] : L"";
    if (way == L"abort") {
        std::abort();
    } else if (way == L"throw") {
        throw std::runtime_error("not caught");
    } else if (way == L"write") {
        volatile int* volatile nowhere = nullptr;
        *nowhere = 1;
    }
    return 0;
}
