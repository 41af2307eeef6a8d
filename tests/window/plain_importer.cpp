// A program that imports a DLL in the usual way, and so loads it from its own folder.

// clang-format off
#include "common/windows_api.h"
#include <winver.h>
// clang-format on

int main() {
    volatile DWORD never = 0;
    DWORD ignored = never;
    // Not optimized away, but never called: a DLL of that name may lack the function.
    return ignored == 1 ? static_cast<int>(::GetFileVersionInfoSizeW(L"", &ignored)) : 0;
}
