#include "common/delayed_imports.h"

#include <string>

#include "common/windows_api.h"

// In delayed_imports.S.
extern "C" DelayedImport delayedImports[];
extern "C" DelayedImport delayedImportsEnd[];

std::span<DelayedImport> DelayedImports() {
    return {delayedImports, delayedImportsEnd};
}

void* FindImport(const DelayedImport& import) {
    const HMODULE dll = ::LoadLibraryExA(import.dllName, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    void* const function =
        dll == nullptr ? nullptr
                       : reinterpret_cast<void*>(::GetProcAddress(dll, import.functionName));
    if (function == nullptr) {
        const std::string message = std::string("Windows does not provide ") + import.functionName +
                                    " in " + import.dllName + ".";
        ::FatalAppExitA(0, message.c_str());
    }
    return function;
}

// Called by delayed_imports.S on the first call of the entry's function.
extern "C" void* ResolveDelayedImport(DelayedImport* import) {
    void* const function = FindImport(*import);
    // Another thread may store the same value at the same time.
    ::InterlockedExchangePointer(&import->function, function);
    return function;
}
