#include "bench_parts/import_hook.h"

#include <cstddef>
#include <string>

#include "common/windows_api.h"

namespace bench {
namespace {

// The address of something that lies `offset` bytes behind the start of the program's image.
template <class T>
T* InImage(std::byte* image, DWORD offset) {
    return reinterpret_cast<T*>(image + offset);
}

bool IsDllNamed(const char* name, std::wstring_view wanted) {
    // Names in an import table are plain ASCII.
    const std::string_view narrow(name);
    const std::wstring wide(narrow.begin(), narrow.end());
    return ::CompareStringOrdinal(wide.data(), static_cast<int>(wide.size()), wanted.data(),
                                  static_cast<int>(wanted.size()), TRUE) == CSTR_EQUAL;
}

// The entries that this program's calls of the function go through.
std::vector<void**> FindImportEntries(std::wstring_view dllName, std::string_view functionName) {
    auto* const image = reinterpret_cast<std::byte*>(::GetModuleHandleW(nullptr));
    const auto* const dosHeader = InImage<IMAGE_DOS_HEADER>(image, 0);
    const auto* const headers =
        InImage<IMAGE_NT_HEADERS>(image, static_cast<DWORD>(dosHeader->e_lfanew));
    const IMAGE_DATA_DIRECTORY& imports =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    std::vector<void**> entries;
    if (imports.VirtualAddress == 0) {
        return entries;
    }
    for (auto* dll = InImage<IMAGE_IMPORT_DESCRIPTOR>(image, imports.VirtualAddress);
         dll->Name != 0; ++dll) {
        if (dll->OriginalFirstThunk == 0 || !IsDllNamed(InImage<char>(image, dll->Name), dllName)) {
            continue;
        }
        const auto* name = InImage<IMAGE_THUNK_DATA>(image, dll->OriginalFirstThunk);
        auto* address = InImage<void*>(image, dll->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++address) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) {
                continue;
            }
            const auto* const import =
                InImage<IMAGE_IMPORT_BY_NAME>(image, static_cast<DWORD>(name->u1.AddressOfData));
            if (functionName == reinterpret_cast<const char*>(import->Name)) {
                entries.push_back(address);
            }
        }
    }
    return entries;
}

// The table is read-only once the program is loaded.
bool WriteEntry(void** entry, void* value) {
    DWORD protection = 0;
    if (!::VirtualProtect(entry, sizeof *entry, PAGE_READWRITE, &protection)) {
        return false;
    }
    ::InterlockedExchangePointer(entry, value);
    ::VirtualProtect(entry, sizeof *entry, protection, &protection);
    ::FlushInstructionCache(::GetCurrentProcess(), entry, sizeof *entry);
    return true;
}

}  // namespace

ImportHook::ImportHook(std::wstring_view dllName, std::string_view functionName,
                       void* replacement) {
    for (void** const entry : FindImportEntries(dllName, functionName)) {
        void* const original = *entry;
        if (WriteEntry(entry, replacement)) {
            replaced_.push_back({entry, original});
        }
    }
}

ImportHook::~ImportHook() {
    for (const Replacement& replacement : replaced_) {
        WriteEntry(replacement.entry, replacement.original);
    }
}

bool ImportHook::Installed() const {
    return !replaced_.empty();
}

void* ImportHook::OriginalAddress() const {
    return replaced_.empty() ? nullptr : replaced_.front().original;
}

}  // namespace bench
