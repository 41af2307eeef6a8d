#include "common/delayed_imports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "bench_parts/call_hook.h"
#include "ui/gdiplus_objects.h"

using namespace Gdiplus::DllExports;

namespace {

// Whether an address is in the DLL of this name, or in another of the system folder to which that
// one forwards calls.
bool IsInSystemDll(void* address, const std::string& dllName) {
    HMODULE module = nullptr;
    ::GetModuleHandleExA(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        static_cast<const char*>(address), &module);
    std::string path(MAX_PATH, '\0');
    path.resize(::GetModuleFileNameA(module, path.data(), MAX_PATH));
    std::string folder(MAX_PATH, '\0');
    folder.resize(::GetSystemDirectoryA(folder.data(), MAX_PATH));
    const bool isSystems = ::_strnicmp(path.c_str(), folder.c_str(), folder.size()) == 0;
    return module != nullptr && (module == ::GetModuleHandleA(dllName.c_str()) || isSystems);
}

TEST(DelayedImports, AreAllProvidedByWindows) {
    EXPECT_FALSE(DelayedImports().empty());
    for (const DelayedImport& import : DelayedImports()) {
        EXPECT_TRUE(IsInSystemDll(FindImport(import), import.dllName))
            << import.dllName << ' ' << import.functionName;
    }
}

TEST(DelayedImports, LeadToTheFunctionAfterTheFirstCall) {
    const auto creation = std::ranges::find_if(DelayedImports(), [](const DelayedImport& import) {
        return std::string_view(import.functionName) == "GdipCreateBitmapFromScan0";
    });
    ASSERT_NE(creation, DelayedImports().end());
    EXPECT_NE(creation->function, FindImport(*creation));
    const GdiplusSession gdiplus;
    EXPECT_TRUE(MakeBitmap(1, 1));
    EXPECT_EQ(creation->function, FindImport(*creation));
}

// Floating-point arguments are passed in other registers than integers.
TEST(DelayedImports, PassFractionsOnInTheFirstCall) {
    // Overwrites that register.
    const auto load = bench::WatchCall<decltype(&::LoadLibraryExA)>(
        L"kernel32.dll", "LoadLibraryExA", [](auto...) {
            volatile double value = 77.0;
            value = std::pow(value, 1.5);
        });
    const GdiplusSession gdiplus;
    const OwnedPen pen = MakePen(0xFF000000, 2.25F);
    Gdiplus::REAL width = 0;
    GdipGetPenWidth(pen.get(), &width);
    EXPECT_EQ(width, 2.25F);
}

// Otherwise it would call a null pointer. The exception takes the place of the program's end.
TEST(DelayedImports, EndTheProgramWhereWindowsLacksAFunction) {
    std::string message;
    const auto end = bench::HookCall<decltype(&::FatalAppExitA)>(
        L"kernel32.dll", "FatalAppExitA", [&](UINT, LPCSTR text) {
            message = text;
            throw std::runtime_error("ended");
        });
    EXPECT_THROW(FindImport({nullptr, "winhttp.dll", "NoSuchFunction"}), std::runtime_error);
    EXPECT_EQ(message, "Windows does not provide NoSuchFunction in winhttp.dll.");
    EXPECT_THROW(FindImport({nullptr, "no_such.dll", "WinHttpOpen"}), std::runtime_error);
    EXPECT_EQ(message, "Windows does not provide WinHttpOpen in no_such.dll.");
}

}  // namespace
