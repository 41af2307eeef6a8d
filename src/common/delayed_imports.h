#pragma once

#include <span>

// Functions of system DLLs that are not on Windows' list of known DLLs. An ordinary import would
// load such a DLL from the exe's own folder, where games keep replacements for some of them. These
// imports are resolved on first call instead, from the system folder only. So are those of the
// shell's DLLs, which take long to load and are not needed to show the window.
//
// The Microsoft linker can do this by itself (/DELAYLOAD). For the GNU linker, delayed_imports.S
// defines the functions and this table.

struct DelayedImport {
    void* function;  // Where a call jumps to: the resolver at first, then the function itself.
    const char* dllName;
    const char* functionName;
};

// All imports of this kind, resolved or not.
std::span<DelayedImport> DelayedImports();

// The function's address in the system's own copy of the DLL. If it is missing, the program ends
// with a message, because the caller cannot continue. Any thread.
void* FindImport(const DelayedImport& import);
