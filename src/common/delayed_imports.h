#pragma once

#include <span>

// Functions of system DLLs that are not on Windows' list of known DLLs. Imported in the usual way,
// such a DLL would be taken from the exe's own folder, where games keep replacements for some of
// them. These imports are resolved at their first call instead, from the system's folder only.
//
// The Microsoft linker does this by itself (/DELAYLOAD). For the GNU linker, delayed_imports.S
// defines the functions and this table.

struct DelayedImport {
    void* function;  // What a call reaches: code that resolves the import, or the function itself.
    const char* dllName;
    const char* functionName;
};

// All of them, whether resolved or not.
std::span<DelayedImport> DelayedImports();

// The function's address, from the system's own copy of the DLL. Where there is none, the program
// ends with a message: its caller could not go on. Any thread.
void* FindImport(const DelayedImport& import);
