#include "kit/zip/zip_directory.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "kit/zip/zip_format.h"

namespace {

constexpr size_t kLargestCommentBytes = 0xFFFF;

// What the end records say, with the ZIP64 record's numbers where there is one.
struct EndRecord {
    uint64_t position = 0;  // Where the end records begin; the directory precedes them.
    uint64_t archiveEnd = 0;
    uint64_t disk = 0;
    uint64_t directoryDisk = 0;
    uint64_t entriesOnDisk = 0;
    uint64_t entries = 0;
    uint64_t directoryBytes = 0;
    uint64_t directoryOffset = 0;
};

std::vector<std::byte> ReadPart(const RandomAccessFile& file, uint64_t offset, size_t size) {
    std::vector<std::byte> bytes(size);
    bytes.resize(file.ReadAt(offset, bytes));
    return bytes;
}

uint32_t SignatureAt(ByteView bytes, size_t offset) {
    const auto part = PartOf(bytes, offset, 4);
    return part ? ByteReader(*part).U32() : 0;
}

struct FoundEnd {
    uint64_t position = 0;
    uint64_t end = 0;  // Behind its comment.
};

// The last end record whose comment ends with the file, else the last one whose comment is in the
// file. `problem` says why there is none. A comment could hold what looks like an end record: if
// two end with the file, programs disagree on which is meant.
std::optional<FoundEnd> FindEnd(const RandomAccessFile& file, std::string& problem) {
    const uint64_t size = file.Size();
    const auto searched =
        static_cast<size_t>(std::min<uint64_t>(size, kEndBytes + kLargestCommentBytes));
    const std::vector<std::byte> tail = ReadPart(file, size - searched, searched);
    std::optional<FoundEnd> exact;
    std::optional<FoundEnd> inside;
    bool isCut = false;
    for (size_t offset = tail.size() < kEndBytes ? 0 : tail.size() - kEndBytes + 1; offset-- > 0;) {
        if (tail[offset] != std::byte{'P'} || SignatureAt(tail, offset) != kEndSignature) {
            continue;
        }
        ByteReader reader(ByteView(tail).subspan(offset + kEndBytes - 2));
        const size_t end = offset + kEndBytes + reader.U16();
        const FoundEnd found{size - searched + offset, size - searched + end};
        if (end > tail.size()) {
            isCut = true;
        } else if (end < tail.size()) {
            inside = inside ? inside : found;
        } else if (exact) {
            problem = "It has two end records, so programs disagree on what is in it.";
            return std::nullopt;
        } else {
            exact = found;
        }
    }
    if (exact || inside) {
        return exact ? exact : inside;
    }
    problem = isCut ? "The file is cut: its end record is not complete."
                    : "It has no end record: the file is cut, or something was appended to it.";
    return std::nullopt;
}

// Merges a number of the ZIP64 end record. False when the plain end record contradicts it.
bool MergeNumber(uint64_t& plain, uint64_t large, uint64_t seeZip64) {
    const bool agrees = plain == seeZip64 || plain == large;
    plain = large;
    return agrees;
}

// The numbers of the ZIP64 end record, if the file has one: a locator right before the end record
// leads to it. Returns what is wrong; empty when all is well.
std::string TakeZip64End(const RandomAccessFile& file, EndRecord& end) {
    if (end.position < kZip64LocatorBytes) {
        return {};
    }
    const uint64_t locatorPosition = end.position - kZip64LocatorBytes;
    const std::vector<std::byte> locator = ReadPart(file, locatorPosition, kZip64LocatorBytes);
    ByteReader locatorReader(locator);
    if (locatorReader.U32() != kZip64LocatorSignature) {
        return {};
    }
    const uint32_t recordDisk = locatorReader.U32();
    const uint64_t recordPosition = locatorReader.U64();
    const uint32_t disks = locatorReader.U32();
    if (locatorReader.Failed() || recordDisk != 0 || disks > 1) {
        return "It is one part of an archive on several disks.";
    }
    if (recordPosition > locatorPosition || locatorPosition - recordPosition < kZip64EndBytes) {
        return "Its ZIP64 end record is not where the locator says.";
    }
    const std::vector<std::byte> record = ReadPart(file, recordPosition, kZip64EndBytes);
    ByteReader reader(record);
    const uint32_t signature = reader.U32();
    const uint64_t recordBytes = reader.U64();
    reader.Skip(4);  // The versions.
    const uint32_t disk = reader.U32();
    const uint32_t directoryDisk = reader.U32();
    const uint64_t entriesOnDisk = reader.U64();
    const uint64_t entries = reader.U64();
    const uint64_t directoryBytes = reader.U64();
    const uint64_t directoryOffset = reader.U64();
    // The record's length leaves out its first twelve bytes.
    if (reader.Failed() || signature != kZip64EndSignature ||
        recordBytes != locatorPosition - recordPosition - 12) {
        return "Its ZIP64 end record is not where the locator says.";
    }
    bool agrees = MergeNumber(end.disk, disk, kSeeZip64U16);
    agrees &= MergeNumber(end.directoryDisk, directoryDisk, kSeeZip64U16);
    agrees &= MergeNumber(end.entriesOnDisk, entriesOnDisk, kSeeZip64U16);
    agrees &= MergeNumber(end.entries, entries, kSeeZip64U16);
    agrees &= MergeNumber(end.directoryBytes, directoryBytes, kSeeZip64U32);
    agrees &= MergeNumber(end.directoryOffset, directoryOffset, kSeeZip64U32);
    end.position = recordPosition;
    return agrees ? std::string() : "Its two end records contradict each other.";
}

EndRecord ReadEnd(const RandomAccessFile& file, const FoundEnd& found) {
    const std::vector<std::byte> bytes = ReadPart(file, found.position, kEndBytes);
    ByteReader reader(bytes);
    reader.Skip(4);  // The signature.
    EndRecord end;
    end.position = found.position;
    end.archiveEnd = found.end;
    end.disk = reader.U16();
    end.directoryDisk = reader.U16();
    end.entriesOnDisk = reader.U16();
    end.entries = reader.U16();
    end.directoryBytes = reader.U32();
    end.directoryOffset = reader.U32();
    return end;
}

std::string Claims(const EndRecord& end) {
    return "The end record claims " + std::to_string(end.entries) + " entries and a directory of " +
           std::to_string(end.directoryBytes) + " bytes";
}

// What is wrong with the end record's numbers; empty when the directory can be where they say.
std::string EndProblem(const EndRecord& end) {
    if (end.disk != 0 || end.directoryDisk != 0 || end.entriesOnDisk != end.entries) {
        return "It is one part of an archive on several disks.";
    }
    if (end.directoryOffset > end.position ||
        end.directoryBytes > end.position - end.directoryOffset) {
        return Claims(end) + ", which the file is too short for.";
    }
    if (end.directoryOffset + end.directoryBytes != end.position) {
        return "The directory does not end where the end record begins, so programs disagree on "
               "where "
               "entries are.";
    }
    if (end.entries > end.directoryBytes / kDirectoryHeaderBytes) {
        return Claims(end) + ", which is too short for them.";
    }
    return {};
}

// The directory's bytes, in order.
class DirectoryBytes {
public:
    DirectoryBytes(const RandomAccessFile& file, uint64_t offset, uint64_t size)
        : window_(file), offset_(offset), left_(size) {}

    // The next `size` bytes, without moving on; fewer where the directory ends.
    [[nodiscard]] ByteView Peek(size_t size) {
        return window_.Part(offset_, static_cast<size_t>(std::min<uint64_t>(size, left_)));
    }
    void Skip(size_t size) {
        offset_ += size;
        left_ -= size;
    }
    [[nodiscard]] uint64_t Left() const {
        return left_;
    }

private:
    WindowReader window_;
    uint64_t offset_;
    uint64_t left_;
};

// Reads the next header. False when there is no whole one.
bool ReadEntry(DirectoryBytes& bytes, ZipDirectory& directory) {
    ByteReader fixed(bytes.Peek(kDirectoryHeaderBytes));
    if (fixed.U32() != kDirectoryHeaderSignature) {
        return false;
    }
    ZipEntry entry;
    fixed.Skip(1);  // The version of the program that made it.
    entry.host = fixed.U8();
    fixed.Skip(2);  // The version that it needs.
    entry.flags = fixed.U16();
    entry.method = fixed.U16();
    fixed.Skip(4);  // Time and date.
    entry.checksum = fixed.U32();
    LargeNumbers numbers;
    numbers.packedBytes = fixed.U32();
    numbers.unpackedBytes = fixed.U32();
    const size_t nameBytes = fixed.U16();
    const size_t extraBytes = fixed.U16();
    const size_t commentBytes = fixed.U16();
    const uint16_t disk = fixed.U16();
    fixed.Skip(2);  // Internal attributes.
    entry.externalAttributes = fixed.U32();
    numbers.headerOffset = fixed.U32();
    if (fixed.Failed()) {
        return false;
    }
    const size_t allBytes = kDirectoryHeaderBytes + nameBytes + extraBytes + commentBytes;
    const ByteView header = bytes.Peek(allBytes);
    if (header.size() < allBytes) {
        return false;
    }
    const ByteView name = header.subspan(kDirectoryHeaderBytes, nameBytes);
    TakeZip64Numbers(header.subspan(kDirectoryHeaderBytes + nameBytes, extraBytes), numbers);
    entry.name = directory.names.Keep({reinterpret_cast<const char*>(name.data()), name.size()});
    entry.headerOffset = numbers.headerOffset;
    entry.packedBytes = numbers.packedBytes;
    entry.unpackedBytes = numbers.unpackedBytes;
    if (disk != 0 && disk != kSeeZip64U16) {
        entry.damage = EntryDamage::OtherDisk;
    }
    directory.entries.push_back(entry);
    bytes.Skip(allBytes);
    return true;
}

// Whether the rest of the directory is its digital signature, an old optional record.
bool IsDigitalSignature(ByteView rest) {
    ByteReader reader(rest);
    const uint32_t signature = reader.U32();
    const uint16_t size = reader.U16();
    return signature == kDirectorySignatureSignature && rest.size() == size_t{6} + size;
}

void ReadEntries(const RandomAccessFile& file, const EndRecord& end, ZipDirectory& directory) {
    DirectoryBytes bytes(file, end.directoryOffset, end.directoryBytes);
    uint64_t room = end.directoryOffset;
    for (uint64_t i = 0; i < end.entries; ++i) {
        if (!ReadEntry(bytes, directory)) {
            directory.problem = "The directory is damaged: the end record claims " +
                                std::to_string(end.entries) + " entries, and only " +
                                std::to_string(i) + " can be read.";
            return;
        }
        // Otherwise a file that is nearly all directory would take much longer than its size says.
        const uint64_t headerBytes = kLocalHeaderBytes + directory.entries.back().name.size();
        if (headerBytes > room) {
            directory.problem =
                "The directory lists more entries than the file has room for: "
                "some share bytes.";
            return;
        }
        room -= headerBytes;
    }
    constexpr size_t kLargestSignature = 6 + 0xFFFF;
    if (bytes.Left() > 0 &&
        (bytes.Left() > kLargestSignature || !IsDigitalSignature(bytes.Peek(kLargestSignature)))) {
        directory.problem = "The directory holds more than the " + std::to_string(end.entries) +
                            " entries that the end record claims.";
    }
}

}  // namespace

ZipDirectory ReadZipDirectory(const RandomAccessFile& file) {
    ZipDirectory directory;
    const std::optional<FoundEnd> found = FindEnd(file, directory.problem);
    if (!found) {
        return directory;
    }
    EndRecord end = ReadEnd(file, *found);
    directory.problem = TakeZip64End(file, end);
    if (directory.problem.empty()) {
        directory.problem = EndProblem(end);
    }
    if (!directory.problem.empty()) {
        return directory;
    }
    directory.offset = end.directoryOffset;
    directory.bytesBehindArchive = file.Size() - end.archiveEnd;
    ReadEntries(file, end, directory);
    return directory;
}

void TakeZip64Numbers(ByteView extraFields, LargeNumbers& numbers) {
    ByteReader fields(extraFields);
    while (extraFields.size() - fields.Position() >= 4) {
        const uint16_t id = fields.U16();
        ByteReader content(fields.Take(fields.U16()));
        if (id != kZip64ExtraId) {
            continue;
        }
        // Only those that the header leaves to this field are in it, in this order.
        for (uint64_t* number :
             {&numbers.unpackedBytes, &numbers.packedBytes, &numbers.headerOffset}) {
            if (*number == kSeeZip64U32) {
                const uint64_t large = content.U64();
                *number = content.Failed() ? *number : large;
            }
        }
        return;
    }
}
