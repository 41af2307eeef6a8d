#pragma once

// Replaces one function of a system DLL for the test program itself, as long as the object lives.
//
// What cannot be made to fail from outside, such as the third copy of a file, is made to fail here.
// The address is exchanged in the program's own import tables (imports that are resolved at their
// first call included), through which every call goes that our statically linked code makes; the
// DLL, other modules and pointers from GetProcAddress are untouched.
//
//   ImportHook hook(L"kernel32.dll", "CopyFileW", reinterpret_cast<void*>(&FailingCopy));
//   ASSERT_TRUE(hook.Installed());
//
// The replacement has the exact signature of the original, calling convention included. Hooks on
// the same function nest when they end in reverse order. No thread may be inside such a call when a
// hook begins or ends. An optimized function may load the address once, when it begins: one that
// calls the import before, during and after a hook sees the same function all the time.

#include <string_view>
#include <vector>

namespace bench {

// The function itself, whatever hooks there are. Null when the system has none.
void* RealAddress(std::wstring_view dllName, std::string_view functionName);

class ImportHook {
public:
    // `dllName` with its extension, in any letter case; `functionName` exactly as exported.
    ImportHook(std::wstring_view dllName, std::string_view functionName, void* replacement);
    ~ImportHook();
    ImportHook(const ImportHook&) = delete;
    ImportHook& operator=(const ImportHook&) = delete;

    // False when the program does not import this function from this DLL: then nothing is replaced.
    [[nodiscard]] bool Installed() const;

    // The function that calls reached before, as a pointer of type Function. Null when not
    // installed.
    template <class Function>
    [[nodiscard]] Function Original() const {
        return reinterpret_cast<Function>(OriginalAddress());
    }

private:
    struct Replacement {
        void** entry;
        void* original;
    };

    [[nodiscard]] void* OriginalAddress() const;

    // A linker may list a DLL more than once, so there can be several entries for one function.
    std::vector<Replacement> replaced_;
};

}  // namespace bench
