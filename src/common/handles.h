#pragma once

#include <memory>
#include <type_traits>

#include "common/windows_api.h"

// Owning handles. Null means "no handle". Wrap a handle on the line that obtains it; pass it on
// with .get().

struct CloseKernelHandle {
    void operator()(HANDLE handle) const noexcept {
        ::CloseHandle(handle);
    }
};
using KernelHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, CloseKernelHandle>;

struct CloseFindHandle {
    void operator()(HANDLE handle) const noexcept {
        ::FindClose(handle);
    }
};
using FindHandle = std::unique_ptr<std::remove_pointer_t<HANDLE>, CloseFindHandle>;

struct CloseRegistryKey {
    void operator()(HKEY key) const noexcept {
        ::RegCloseKey(key);
    }
};
using RegistryKey = std::unique_ptr<std::remove_pointer_t<HKEY>, CloseRegistryKey>;

struct DeleteGdiObject {
    void operator()(void* object) const noexcept {
        ::DeleteObject(object);
    }
};
using GdiBrush = std::unique_ptr<std::remove_pointer_t<HBRUSH>, DeleteGdiObject>;
using GdiRegion = std::unique_ptr<std::remove_pointer_t<HRGN>, DeleteGdiObject>;

struct DestroyIconHandle {
    void operator()(HICON icon) const noexcept {
        ::DestroyIcon(icon);
    }
};
// Not for shared icons such as those from LoadIconW.
using OwnedIcon = std::unique_ptr<std::remove_pointer_t<HICON>, DestroyIconHandle>;

struct ReleaseComObject {
    void operator()(IUnknown* object) const noexcept {
        object->Release();
    }
};
template <typename Interface>
using ComPointer = std::unique_ptr<Interface, ReleaseComObject>;

struct FreeTaskMemory {
    void operator()(void* memory) const noexcept {
        ::CoTaskMemFree(memory);
    }
};
using TaskMemoryText = std::unique_ptr<wchar_t, FreeTaskMemory>;

struct FreeLocalMemory {
    void operator()(void* memory) const noexcept {
        ::LocalFree(memory);
    }
};
// What CommandLineToArgvW returns.
using ArgumentList = std::unique_ptr<wchar_t*, FreeLocalMemory>;

// For calls such as CreateFileW and FindFirstFileExW, which return INVALID_HANDLE_VALUE on failure:
// turns that into null, so that `if (!file)` is always the right test.
template <typename Owner>
[[nodiscard]] Owner AdoptHandle(HANDLE handle) noexcept {
    return Owner(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}
