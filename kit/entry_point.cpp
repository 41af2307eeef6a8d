#include <string>
#include <vector>

#include "common/system_dlls.h"
#include "kit/crash_guard.h"
#include "kit/kit_main.h"
#include "kit/output_file.h"

int wmain(int count, wchar_t** arguments) {
    LoadDllsFromSystemFolderOnly();
    InstallCrashGuards();
    RemoveTemporaryFilesOnInterruption();
    RestoreTextColorOnInterruption();  // Called before the one above, which may end the process.
    Console console;
    const std::vector<std::wstring> words(arguments + (count > 0 ? 1 : 0), arguments + count);
    return static_cast<int>(RunKit(words, console));
}
