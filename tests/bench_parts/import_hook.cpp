#include "bench_parts/import_hook.h"

#include <cstddef>
#include <set>
#include <string>

#include "common/delayed_imports.h"
#include "common/windows_api.h"

namespace bench {
namespace {

// The address `offset` bytes into the program's image.
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

// Adds the addresses of one DLL's table whose names are the function's.
void AddEntries(std::byte* image, DWORD names, DWORD addresses, std::string_view functionName,
                std::vector<void**>& entries) {
    const auto* name = InImage<IMAGE_THUNK_DATA>(image, names);
    auto* address = InImage<void*>(image, addresses);
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

std::byte* ThisImage() {
    return reinterpret_cast<std::byte*>(::GetModuleHandleW(nullptr));
}

// The address of a table from the image's headers; 0 if it has no such table.
DWORD TableOfImage(size_t directory) {
    std::byte* const image = ThisImage();
    const auto* const dosHeader = InImage<IMAGE_DOS_HEADER>(image, 0);
    const auto* const headers =
        InImage<IMAGE_NT_HEADERS>(image, static_cast<DWORD>(dosHeader->e_lfanew));
    return headers->OptionalHeader.DataDirectory[directory].VirtualAddress;
}

// The entries through which this program calls the function.
std::vector<void**> FindImportEntries(std::wstring_view dllName, std::string_view functionName) {
    std::vector<void**> entries;
    const DWORD table = TableOfImage(IMAGE_DIRECTORY_ENTRY_IMPORT);
    if (table == 0) {
        return entries;
    }
    std::byte* const image = ThisImage();
    for (auto* dll = InImage<IMAGE_IMPORT_DESCRIPTOR>(image, table); dll->Name != 0; ++dll) {
        if (dll->OriginalFirstThunk != 0 && IsDllNamed(InImage<char>(image, dll->Name), dllName)) {
            AddEntries(image, dll->OriginalFirstThunk, dll->FirstThunk, functionName, entries);
        }
    }
    return entries;
}

// The same for imports that are resolved at their first call.
std::vector<void**> FindDelayedEntries(std::wstring_view dllName, std::string_view functionName) {
    std::vector<void**> entries;
#ifdef _MSC_VER
    const DWORD table = TableOfImage(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT);
    if (table == 0) {
        return entries;
    }
    std::byte* const image = ThisImage();
    for (auto* dll = InImage<IMAGE_DELAYLOAD_DESCRIPTOR>(image, table); dll->DllNameRVA != 0;
         ++dll) {
        if (IsDllNamed(InImage<char>(image, dll->DllNameRVA), dllName)) {
            AddEntries(image, dll->ImportNameTableRVA, dll->ImportAddressTableRVA, functionName,
                       entries);
        }
    }
#else
    for (DelayedImport& import : DelayedImports()) {
        if (IsDllNamed(import.dllName, dllName) && functionName == import.functionName) {
            entries.push_back(&import.function);
        }
    }
#endif
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

// Resolves the entry as its first call would, which would otherwise undo the hook.
void Resolve(void** entry, std::wstring_view dllName, std::string_view functionName) {
    static std::set<void**> resolved;
    if (resolved.insert(entry).second) {
        WriteEntry(entry, RealAddress(dllName, functionName));
    }
}

}  // namespace

void* RealAddress(std::wstring_view dllName, std::string_view functionName) {
    const std::wstring name(dllName);
    HMODULE dll = ::GetModuleHandleW(name.c_str());
    if (dll == nullptr) {
        // Stays loaded, because the caller will call the function.
        dll = ::LoadLibraryExW(name.c_str(), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    }
    return dll == nullptr
               ? nullptr
               : reinterpret_cast<void*>(::GetProcAddress(dll, std::string(functionName).c_str()));
}

ImportHook::ImportHook(std::wstring_view dllName, std::string_view functionName,
                       void* replacement) {
    std::vector<void**> entries = FindImportEntries(dllName, functionName);
    for (void** const entry : FindDelayedEntries(dllName, functionName)) {
        Resolve(entry, dllName, functionName);
        entries.push_back(entry);
    }
    for (void** const entry : entries) {
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
