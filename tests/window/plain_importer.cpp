// A program that imports a DLL in the usual way, and so takes it from its own folder.

// clang-format off
#include "common/windows_api.h"
#include <winver.h>
// clang-format on

int main() {
    volatile DWORD never = 0;
    DWORD ignored = never;
    // Kept from being optimised away, but not called: a DLL of that name may lack the function.
    return ignored == 1 ? static_cast<int>(::GetFileVersionInfoSizeW(L"", &ignored)) : 0;
}
