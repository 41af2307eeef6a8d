#pragma once

#include <filesystem>
#include <string>

#include "common/handles.h"

// Programs of the kit in processes of their own.

namespace kit_test {

struct KitRun {
    DWORD exitCode = ~0U;
    std::string out;  // Both exactly as written.
    std::string error;
};

// Runs a program of the build with this rest of a command line and waits for its end. A null `out`
// handle is replaced by a file whose content becomes the result's.
KitRun RunProgram(const wchar_t* program, const std::wstring& arguments, HANDLE out = nullptr);

// The same for the kit itself.
KitRun RunRepairKit(const std::wstring& arguments, HANDLE out = nullptr);

// Starts a program of the build without a window, in a process group of its own.
KernelHandle StartProgram(const wchar_t* program, const std::wstring& arguments,
                          DWORD* processId = nullptr);

}  // namespace kit_test
