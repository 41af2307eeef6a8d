#include "ui/resource_counters.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include "bench_parts/scratch_folder.h"
#include "common/windows_api.h"

// After windows.h.
#include <psapi.h>
#include <winternl.h>

namespace bench {

namespace {

// Wine answers the documented calls with 0, but has the same tables as Windows.

constexpr int kSystemHandleInformation = 16;

struct HandleEntry {
    ULONG processId;
    BYTE objectType;
    BYTE flags;
    USHORT value;
    void* object;
    ULONG access;
};

size_t CountHandlesUnderWine() {
    std::vector<std::byte> table(1 << 20);
    ULONG size = 0;
    while (
        ::NtQuerySystemInformation(static_cast<SYSTEM_INFORMATION_CLASS>(kSystemHandleInformation),
                                   table.data(), static_cast<ULONG>(table.size()), &size) < 0) {
        table.resize(table.size() * 2);
    }
    ULONG count = 0;
    std::memcpy(&count, table.data(), sizeof count);
    const auto* entries = reinterpret_cast<const HandleEntry*>(table.data() + sizeof(void*));
    size_t ours = 0;
    for (ULONG index = 0; index < count; ++index) {
        ours += entries[index].processId == ::GetCurrentProcessId() ? 1 : 0;
    }
    return ours;
}

constexpr size_t kGdiTableInPeb = 0xF8;
constexpr size_t kGdiEntries = 0x4000;
constexpr size_t kGdiEntryBytes = 24;
constexpr size_t kGdiTypeInEntry = 14;

size_t CountGdiObjectsUnderWine() {
    PROCESS_BASIC_INFORMATION process{};
    ::NtQueryInformationProcess(::GetCurrentProcess(), ProcessBasicInformation, &process,
                                sizeof process, nullptr);
    const auto* processBlock = reinterpret_cast<const std::byte*>(process.PebBaseAddress);
    const std::byte* table = nullptr;
    std::memcpy(&table, processBlock + kGdiTableInPeb, sizeof table);
    size_t count = 0;
    for (size_t index = 0; index < kGdiEntries; ++index) {
        count += table[index * kGdiEntryBytes + kGdiTypeInEntry] != std::byte{0} ? 1 : 0;
    }
    return count;
}

size_t CountHandles() {
    if (IsWine()) {
        return CountHandlesUnderWine();
    }
    DWORD count = 0;
    ::GetProcessHandleCount(::GetCurrentProcess(), &count);
    return count;
}

size_t CountGdiObjects() {
    return IsWine() ? CountGdiObjectsUnderWine()
                    : ::GetGuiResources(::GetCurrentProcess(), GR_GDIOBJECTS);
}

size_t WorkingSetBytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    ::K32GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters);
    return counters.WorkingSetSize;
}

}  // namespace

ResourceCounters CountResources() {
    return {CountHandles(), CountGdiObjects(), WorkingSetBytes()};
}

}  // namespace bench
