#include "kit/zip/entry_check.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <optional>
#include <vector>

#include "kit/zip/inflater.h"
#include "kit/zip/zip_format.h"

namespace {

// Large pieces of work come first, so that no thread begins one when all others are done. Small
// entries are taken in groups that lie behind each other, so that one read gets many.
constexpr uint64_t kLargeWorkBytes = 0x2000000;
constexpr uint64_t kGroupBytes = 0x200000;

// Entries behind each other in the file.
struct Work {
    size_t first = 0;  // In the order of the file.
    size_t count = 0;
    uint64_t bytes = 0;
};

bool IsEncrypted(const ZipEntry& entry) {
    return (entry.flags & (kEncryptedFlag | kStrongEncryptionFlag | kMaskedHeaderFlag)) != 0;
}

// An entry with its offset at hand, for sorting.
struct PlacedEntry {
    uint64_t offset = 0;
    ZipEntry* entry = nullptr;
};

std::vector<PlacedEntry> InFileOrder(ZipDirectory& directory) {
    std::vector<PlacedEntry> entries;
    entries.reserve(directory.entries.size());
    for (ZipEntry& entry : directory.entries) {
        entries.push_back({entry.headerOffset, &entry});
    }
    const auto isBefore = [](const PlacedEntry& left, const PlacedEntry& right) {
        return left.offset < right.offset;
    };
    // Most programs write the directory in the order of the file.
    if (!std::is_sorted(entries.begin(), entries.end(), isBefore)) {
        std::sort(entries.begin(), entries.end(), isBefore);
    }
    return entries;
}

// Where the part of the file ends that the entry can have. Marks those that share a place.
uint64_t EndOfPlace(const std::vector<PlacedEntry>& entries, size_t index,
                    uint64_t directoryOffset) {
    const uint64_t offset = entries[index].offset;
    ZipEntry& entry = *entries[index].entry;
    if (offset >= directoryOffset) {
        entry.damage = EntryDamage::LeavesFile;
        return offset;
    }
    const bool isSecond = index > 0 && entries[index - 1].offset == offset;
    const bool isLast = index + 1 == entries.size();
    const uint64_t next =
        isLast ? directoryOffset : std::min(directoryOffset, entries[index + 1].offset);
    if (isSecond || next == offset) {
        entry.damage = EntryDamage::Overlaps;
    }
    return next;
}

std::vector<Work> DivideWork(const std::vector<PlacedEntry>& entries, uint64_t directoryOffset) {
    // What the directory says can be far beyond the file.
    const auto placeOf = [&](size_t i) {
        return i < entries.size() ? std::min(entries[i].offset, directoryOffset) : directoryOffset;
    };
    std::vector<Work> works;
    for (size_t i = 0; i < entries.size(); ++i) {
        const uint64_t bytes = placeOf(i + 1) - placeOf(i);
        if (works.empty() || works.back().bytes + bytes > kGroupBytes) {
            works.push_back({i, 0, 0});
        }
        ++works.back().count;
        works.back().bytes += bytes;
    }
    std::stable_sort(works.begin(), works.end(), [](const Work& left, const Work& right) {
        const auto key = [](const Work& work) {
            return work.bytes > kLargeWorkBytes ? work.bytes : 0;
        };
        return key(left) > key(right);
    });
    return works;
}

// Checks entries one after the other; one object for each thread.
class EntryChecker {
public:
    explicit EntryChecker(const RandomAccessFile& file) : window_(file) {}

    // The entry's damage.
    [[nodiscard]] EntryDamage Check(const ZipEntry& entry, uint64_t end) {
        position_ = entry.headerOffset;
        end_ = end;
        dataEnd_.reset();
        EntryDamage damage = CheckHeader(entry);
        if (damage == EntryDamage::None) {
            damage = CheckData(entry);
        }
        entryEnd_ = dataEnd_;
        if (dataEnd_ && (entry.flags & kDescriptorFlag) != 0) {
            position_ = *dataEnd_;
            const EntryDamage descriptorDamage = CheckDescriptor(entry);
            entryEnd_ =
                descriptorDamage == EntryDamage::None ? std::optional(position_) : std::nullopt;
            damage = damage == EntryDamage::None ? descriptorDamage : damage;
        }
        return damage;
    }

    // Where the last checked entry ends; none if that is uncertain.
    [[nodiscard]] std::optional<uint64_t> EntryEnd() const {
        return entryEnd_;
    }

    // Adds the bytes between `offset` and `end`.
    void AddStrayBytes(uint64_t offset, uint64_t end) {
        if (offset >= end) {
            return;
        }
        const bool isEntry = end - offset >= kLocalHeaderBytes &&
                             ByteReader(window_.Part(offset, 4)).U32() == kLocalHeaderSignature;
        StrayPlaces& places = isEntry ? stray_.unlisted : stray_.plain;
        ++places.places;
        places.bytes += end - offset;
        places.firstOffset = std::min(places.firstOffset, offset);
    }
    [[nodiscard]] const StrayBytes& Stray() const {
        return stray_;
    }

private:
    [[nodiscard]] uint64_t Room() const {
        return end_ - position_;
    }

    [[nodiscard]] EntryDamage CheckHeader(const ZipEntry& entry) {
        if (Room() < kLocalHeaderBytes) {
            return EntryDamage::Overlaps;
        }
        ByteReader fixed(window_.Part(position_, kLocalHeaderBytes));
        if (fixed.U32() != kLocalHeaderSignature) {
            return EntryDamage::NoHeader;
        }
        fixed.Skip(2);  // The version that it needs.
        const uint16_t flags = fixed.U16();
        const uint16_t method = fixed.U16();
        fixed.Skip(4);  // Time and date.
        const uint32_t checksum = fixed.U32();
        LargeNumbers numbers;
        numbers.packedBytes = fixed.U32();
        numbers.unpackedBytes = fixed.U32();
        const size_t nameBytes = fixed.U16();
        const size_t extraBytes = fixed.U16();
        const size_t allBytes = kLocalHeaderBytes + nameBytes + extraBytes;
        if (fixed.Failed() || Room() < allBytes) {
            return EntryDamage::Overlaps;
        }
        const ByteView header = window_.Part(position_, allBytes);
        if (header.size() < allBytes) {
            return EntryDamage::LeavesFile;
        }
        const ByteView name = header.subspan(kLocalHeaderBytes, nameBytes);
        const ByteView extra = header.subspan(kLocalHeaderBytes + nameBytes);
        const std::string_view nameText(reinterpret_cast<const char*>(name.data()), name.size());
        TakeZip64Numbers(extra, numbers);
        position_ += allBytes;
        const bool hasDescriptor = (flags & entry.flags & kDescriptorFlag) != 0;
        if ((numbers.packedBytes == entry.packedBytes || hasDescriptor) &&
            entry.packedBytes <= Room()) {
            dataEnd_ = position_ + entry.packedBytes;
        }
        if (nameText != entry.name) {
            return EntryDamage::OtherName;
        }
        if (method != entry.method) {
            return EntryDamage::OtherMethod;
        }
        if (flags != entry.flags) {
            return EntryDamage::OtherFlags;
        }
        const bool agrees = checksum == entry.checksum &&
                            numbers.packedBytes == entry.packedBytes &&
                            numbers.unpackedBytes == entry.unpackedBytes;
        return agrees || (flags & kDescriptorFlag) != 0 ? EntryDamage::None
                                                        : EntryDamage::OtherSizes;
    }

    [[nodiscard]] EntryDamage CheckData(const ZipEntry& entry) {
        if (entry.packedBytes > Room()) {
            return EntryDamage::Overlaps;
        }
        const uint64_t dataEnd = position_ + entry.packedBytes;
        if (IsEncrypted(entry) ||
            (entry.method != kStoredMethod && entry.method != kDeflateMethod)) {
            position_ = dataEnd;
            return EntryDamage::None;
        }
        return entry.method == kStoredMethod ? CheckStored(entry, dataEnd)
                                             : CheckDeflated(entry, dataEnd);
    }

    [[nodiscard]] EntryDamage CheckStored(const ZipEntry& entry, uint64_t dataEnd) {
        if (entry.packedBytes != entry.unpackedBytes) {
            return EntryDamage::WrongSize;
        }
        uint32_t checksum = 0;
        while (position_ < dataEnd) {
            const ByteView part = window_.Next(position_, dataEnd - position_);
            if (part.empty()) {
                return EntryDamage::LeavesFile;
            }
            checksum = ContinueChecksum(checksum, part);
            position_ += part.size();
        }
        return checksum == entry.checksum ? EntryDamage::None : EntryDamage::WrongChecksum;
    }

    [[nodiscard]] EntryDamage CheckDeflated(const ZipEntry& entry, uint64_t dataEnd) {
        inflater_.Begin(entry.unpackedBytes);
        while (position_ < dataEnd) {
            const ByteView part = window_.Next(position_, dataEnd - position_);
            if (part.empty()) {
                return EntryDamage::LeavesFile;
            }
            if (!inflater_.Take(part)) {
                return inflater_.IsTooLarge() ? EntryDamage::WrongSize : EntryDamage::BadData;
            }
            position_ += part.size();
        }
        if (!inflater_.IsComplete() || inflater_.Size() != entry.unpackedBytes) {
            return EntryDamage::WrongSize;
        }
        return inflater_.Checksum() == entry.checksum ? EntryDamage::None
                                                      : EntryDamage::WrongChecksum;
    }

    // The record behind the data has its signature or not, and sizes of 4 or 8 bytes; nothing says
    // which. Takes the form that fits best: up to the next entry.
    [[nodiscard]] EntryDamage CheckDescriptor(const ZipEntry& entry) {
        uint64_t fitting = 0;
        for (const size_t sizeBytes : {4, 8}) {
            for (const bool hasSignature : {true, false}) {
                const size_t size = (hasSignature ? 8 : 4) + 2 * sizeBytes;
                if (size <= Room() && IsDescriptor(entry, sizeBytes, hasSignature) &&
                    (fitting == 0 || size == Room())) {
                    fitting = size;
                }
            }
        }
        position_ += fitting;
        return fitting > 0 ? EntryDamage::None : EntryDamage::OtherDescriptor;
    }

    [[nodiscard]] bool IsDescriptor(const ZipEntry& entry, size_t sizeBytes, bool hasSignature) {
        ByteReader reader(window_.Part(position_, (hasSignature ? 8 : 4) + 2 * sizeBytes));
        if (hasSignature && reader.U32() != kDescriptorSignature) {
            return false;
        }
        const uint32_t checksum = reader.U32();
        const uint64_t packed = sizeBytes == 4 ? reader.U32() : reader.U64();
        const uint64_t unpacked = sizeBytes == 4 ? reader.U32() : reader.U64();
        return !reader.Failed() && checksum == entry.checksum && packed == entry.packedBytes &&
               unpacked == entry.unpackedBytes;
    }

    WindowReader window_;
    Inflater inflater_;
    StrayBytes stray_;
    uint64_t position_ = 0;
    uint64_t end_ = 0;                 // Of the entry's place.
    std::optional<uint64_t> dataEnd_;  // Of the entry's data, if the headers agree on it.
    std::optional<uint64_t> entryEnd_;
};

void Merge(StrayPlaces& sum, const StrayPlaces& part) {
    sum.bytes += part.bytes;
    sum.places += part.places;
    sum.firstOffset = std::min(sum.firstOffset, part.firstOffset);
}

void Merge(StrayBytes& sum, const StrayBytes& part) {
    Merge(sum.plain, part.plain);
    Merge(sum.unlisted, part.unlisted);
}

// Whether the entry may be elsewhere than the directory says.
bool MayBeElsewhere(EntryDamage damage) {
    return damage == EntryDamage::NoHeader || damage == EntryDamage::LeavesFile ||
           damage == EntryDamage::Overlaps || damage == EntryDamage::OtherName ||
           damage == EntryDamage::OtherDisk;
}

}  // namespace

StrayBytes CheckEntries(const RandomAccessFile& file, ZipDirectory& directory, unsigned threads,
                        const ByteProgress& onRead) {
    const std::vector<PlacedEntry> entries = InFileOrder(directory);
    std::vector<uint64_t> ends(entries.size());
    for (size_t i = 0; i < entries.size(); ++i) {
        ends[i] = EndOfPlace(entries, i, directory.offset);
    }
    const std::vector<Work> works = DivideWork(entries, directory.offset);
    std::atomic<size_t> next = 0;
    const auto run = [&] {
        EntryChecker checker(file);
        for (size_t w = next++; w < works.size(); w = next++) {
            for (size_t i = works[w].first; i < works[w].first + works[w].count; ++i) {
                ZipEntry& entry = *entries[i].entry;
                if (entry.damage != EntryDamage::None) {
                    continue;
                }
                entry.damage = checker.Check(entry, ends[i]);
                if (const auto end = checker.EntryEnd()) {
                    checker.AddStrayBytes(*end, ends[i]);
                }
            }
            onRead(works[w].bytes);
        }
        return checker.Stray();
    };
    // This thread works too.
    std::vector<std::future<StrayBytes>> others;
    for (size_t i = 1; i < std::min<size_t>(threads, works.size()); ++i) {
        others.push_back(std::async(std::launch::async, run));
    }
    StrayBytes stray = run();
    EntryChecker checker(file);
    checker.AddStrayBytes(
        0, entries.empty() ? directory.offset : std::min(directory.offset, entries.front().offset));
    Merge(stray, checker.Stray());
    for (std::future<StrayBytes>& other : others) {
        Merge(stray, other.get());
    }
    if (std::any_of(directory.entries.begin(), directory.entries.end(),
                    [](const ZipEntry& entry) { return MayBeElsewhere(entry.damage); })) {
        stray.unlisted = {};
    }
    return stray;
}
