// A DLL that creates a file beside itself when it is loaded: its own path with ".loaded" appended.
// It can be loaded before most of a program works, so it calls kernel32 only.

#include "common/windows_api.h"

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        constexpr wchar_t kSuffix[] = L".loaded";
        wchar_t mark[MAX_PATH + 8];
        const DWORD length = ::GetModuleFileNameW(module, mark, MAX_PATH);
        ::lstrcpyW(mark + length, kSuffix);
        ::CloseHandle(::CreateFileW(mark, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    }
    return TRUE;
}
