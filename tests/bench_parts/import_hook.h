#pragma once

// Replaces one function of a system DLL for the test program itself, as long as the object lives.
//
// For failures that cannot be provoked from outside, such as that of the third copy of a file. The
// address is exchanged in the program's own import tables (also for imports resolved at their first
// call), which all calls of our statically linked code use; the DLL, other modules and pointers
// from GetProcAddress are untouched.
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

inline constexpr wchar_t kAdvapi32[] = L"advapi32.dll";
inline constexpr wchar_t kKernel32[] = L"kernel32.dll";

// The real function, regardless of hooks. Null if the system does not have it.
void* RealAddress(std::wstring_view dllName, std::string_view functionName);

class ImportHook {
public:
    // `dllName` with its extension, in any letter case; `functionName` exactly as exported.
    ImportHook(std::wstring_view dllName, std::string_view functionName, void* replacement);
    ~ImportHook();
    ImportHook(const ImportHook&) = delete;
    ImportHook& operator=(const ImportHook&) = delete;

    // False if the program does not import this function from this DLL, so that it is not replaced.
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
