#include "common/system_dlls.h"

#include "common/windows_api.h"

void LoadDllsFromSystemFolderOnly() {
    ::SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
}
