#include "common/resources.h"

std::span<const std::byte> EmbeddedData(HMODULE module, int id) {
    const HRSRC entry = ::FindResourceW(module, MAKEINTRESOURCEW(id), RT_RCDATA);
    if (entry == nullptr) {
        return {};
    }
    const HGLOBAL loaded = ::LoadResource(module, entry);
    if (loaded == nullptr) {
        return {};
    }
    const DWORD size = ::SizeofResource(module, entry);
    const void* bytes = ::LockResource(loaded);
    if (bytes == nullptr || size == 0) {
        return {};
    }
    return {static_cast<const std::byte*>(bytes), size};
}
