#include "common/system_dlls.h"

#include "common/windows_api.h"

#ifdef __MINGW32__
namespace {

// The library behind the stack protector asks the system for a random number before the entry point
// runs, and cryptography in Windows is DLLs that load other DLLs.
[[gnu::constructor(101)]] void RunBeforeOtherConstructors() {
    LoadDllsFromSystemFolderOnly();
}

}  // namespace
#endif

void LoadDllsFromSystemFolderOnly() {
    ::SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
}
