#include "kit/zip/entry_headers.h"

#include <algorithm>
#include <array>
#include <limits>

#include "common/windows_api.h"
#include "kit/zip/zip_format.h"

namespace {

constexpr uint16_t kPlainVersion = 20;  // 2.0: folders and Deflate.
constexpr uint16_t kZip64Version = 45;
constexpr size_t kTimeExtraBytes = 5;
constexpr uint8_t kHasModificationTime = 1;

constexpr uint64_t kTicksPerSecond = 10'000'000;
constexpr uint64_t kUnixEpoch = 116'444'736'000'000'000;

bool IsLarge(uint64_t number) {
    return number >= kSeeZip64U32;
}

uint32_t OrSeeZip64(uint64_t number) {
    return IsLarge(number) ? kSeeZip64U32 : static_cast<uint32_t>(number);
}

uint16_t MethodOf(const PackedEntry& entry) {
    return entry.isStored ? kStoredMethod : kDeflateMethod;
}

// Flags, method, times, checksum: the same in both headers.
void AppendCommonPart(ByteBuffer& header, const PackedEntry& entry) {
    AppendU16(header, kUtf8Flag);
    AppendU16(header, MethodOf(entry));
    const uint32_t time = DosTime(entry.lastWriteTime);
    AppendU16(header, static_cast<uint16_t>(time));
    AppendU16(header, static_cast<uint16_t>(time >> 16));
    AppendU32(header, entry.checksum);
}

void AppendTimeExtra(ByteBuffer& header, const PackedEntry& entry) {
    AppendU16(header, kTimeExtraId);
    AppendU16(header, kTimeExtraBytes);
    AppendU8(header, kHasModificationTime);
    AppendU32(header, UnixTime(entry.lastWriteTime));
}

void AppendName(ByteBuffer& header, const PackedEntry& entry) {
    AppendBytes(header, std::as_bytes(std::span(entry.name)));
}

// Empty without numbers.
ByteBuffer Zip64Extra(std::span<const uint64_t> numbers) {
    ByteBuffer extra;
    if (!numbers.empty()) {
        AppendU16(extra, kZip64ExtraId);
        AppendU16(extra, static_cast<uint16_t>(numbers.size() * 8));
    }
    for (const uint64_t number : numbers) {
        AppendU64(extra, number);
    }
    return extra;
}

}  // namespace

ByteBuffer LocalHeader(const PackedEntry& entry) {
    // Packed data is never larger than unpacked. Here the extra field has to have both sizes.
    const bool isLarge = IsLarge(entry.unpackedBytes);
    const std::array sizes{entry.unpackedBytes, entry.packedBytes};
    const ByteBuffer zip64 = Zip64Extra(std::span(sizes).first(isLarge ? sizes.size() : 0));
    ByteBuffer header;
    AppendU32(header, kLocalHeaderSignature);
    AppendU16(header, isLarge ? kZip64Version : kPlainVersion);
    AppendCommonPart(header, entry);
    AppendU32(header, isLarge ? kSeeZip64U32 : static_cast<uint32_t>(entry.packedBytes));
    AppendU32(header, isLarge ? kSeeZip64U32 : static_cast<uint32_t>(entry.unpackedBytes));
    AppendU16(header, static_cast<uint16_t>(entry.name.size()));
    AppendU16(header, static_cast<uint16_t>(zip64.size() + 4 + kTimeExtraBytes));
    AppendName(header, entry);
    AppendBytes(header, zip64);
    AppendTimeExtra(header, entry);
    return header;
}

ByteBuffer DirectoryHeader(const PackedEntry& entry) {
    std::vector<uint64_t> large;
    for (const uint64_t number : {entry.unpackedBytes, entry.packedBytes, entry.headerOffset}) {
        if (IsLarge(number)) {
            large.push_back(number);
        }
    }
    const ByteBuffer zip64 = Zip64Extra(large);
    const uint16_t version = large.empty() ? kPlainVersion : kZip64Version;
    ByteBuffer header;
    AppendU32(header, kDirectoryHeaderSignature);
    AppendU16(header, version);  // Made by this version, for the attributes of DOS.
    AppendU16(header, version);
    AppendCommonPart(header, entry);
    AppendU32(header, OrSeeZip64(entry.packedBytes));
    AppendU32(header, OrSeeZip64(entry.unpackedBytes));
    AppendU16(header, static_cast<uint16_t>(entry.name.size()));
    AppendU16(header, static_cast<uint16_t>(zip64.size() + 4 + kTimeExtraBytes));
    AppendU16(header, 0);  // No comment.
    AppendU16(header, 0);  // The first disk.
    AppendU16(header, 0);  // No internal attributes.
    AppendU32(header, entry.name.ends_with('/') ? kFolderAttribute : 0);
    AppendU32(header, OrSeeZip64(entry.headerOffset));
    AppendName(header, entry);
    AppendBytes(header, zip64);
    AppendTimeExtra(header, entry);
    return header;
}

ByteBuffer EndRecords(uint64_t entries, uint64_t directoryOffset, uint64_t directoryBytes) {
    ByteBuffer end;
    const bool isLarge =
        entries >= kSeeZip64U16 || IsLarge(directoryOffset) || IsLarge(directoryBytes);
    if (isLarge) {
        AppendU32(end, kZip64EndSignature);
        AppendU64(end, kZip64EndBytes - 12);  // Without its first twelve bytes.
        AppendU16(end, kZip64Version);
        AppendU16(end, kZip64Version);
        AppendU32(end, 0);  // The first disk, twice.
        AppendU32(end, 0);
        AppendU64(end, entries);
        AppendU64(end, entries);
        AppendU64(end, directoryBytes);
        AppendU64(end, directoryOffset);
        AppendU32(end, kZip64LocatorSignature);
        AppendU32(end, 0);
        AppendU64(end, directoryOffset + directoryBytes);
        AppendU32(end, 1);  // Of one disk.
    }
    const auto count = static_cast<uint16_t>(std::min<uint64_t>(entries, kSeeZip64U16));
    AppendU32(end, kEndSignature);
    AppendU16(end, 0);
    AppendU16(end, 0);
    AppendU16(end, count);
    AppendU16(end, count);
    AppendU32(end, OrSeeZip64(directoryBytes));
    AppendU32(end, OrSeeZip64(directoryOffset));
    AppendU16(end, 0);  // No comment.
    return end;
}

uint32_t UnixTime(uint64_t fileTime) {
    constexpr uint64_t kLatest = std::numeric_limits<int32_t>::max();
    const uint64_t sinceEpoch = fileTime < kUnixEpoch ? 0 : fileTime - kUnixEpoch;
    return static_cast<uint32_t>(std::min(sinceEpoch / kTicksPerSecond, kLatest));
}

uint32_t DosTime(uint64_t fileTime) {
    constexpr uint32_t kEarliest = (1U << 21) | (1U << 16);  // 1980-01-01 00:00:00
    constexpr uint32_t kLatest =
        (127U << 25) | (12U << 21) | (31U << 16) | (23U << 11) | (59U << 5) | 29U;
    const FILETIME time{static_cast<DWORD>(fileTime), static_cast<DWORD>(fileTime >> 32)};
    SYSTEMTIME utc{};
    // Fails for times after the year 30827.
    if (!::FileTimeToSystemTime(&time, &utc) || utc.wYear > 2107) {
        return kLatest;
    }
    if (utc.wYear < 1980) {
        return kEarliest;
    }
    return (uint32_t{utc.wYear} - 1980U) << 25 | uint32_t{utc.wMonth} << 21 |
           uint32_t{utc.wDay} << 16 | uint32_t{utc.wHour} << 11 | uint32_t{utc.wMinute} << 5 |
           uint32_t{utc.wSecond} / 2U;
}
