#include "common/system_dlls.h"

#include "common/windows_api.h"

#ifdef __MINGW32__
namespace {

// The stack protector's library gets a random number from the system before the entry point runs,
// and the system's cryptography loads further DLLs.
[[gnu::constructor(101)]] void RunBeforeOtherConstructors() {
    LoadDllsFromSystemFolderOnly();
}

}  // namespace
#endif

void LoadDllsFromSystemFolderOnly() {
    ::SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
}
