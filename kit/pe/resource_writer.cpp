#include "kit/pe/resource_writer.h"

#include <algorithm>
#include <tuple>

#include "kit/pe/checksum.h"

namespace {

constexpr size_t kDirectorySize = 16;
constexpr size_t kEntrySize = 8;
constexpr size_t kDataEntrySize = 16;
constexpr size_t kDataAlignment = 8;
constexpr uint32_t kSubdirectoryFlag = 0x8000'0000;
constexpr uint64_t kMaxResourceBytes = 0x7000'0000;
// Initialized data, readable.
constexpr uint32_t kResourceSectionFlags = 0x4000'0040;
constexpr char kResourceSectionName[] = ".rsrc";

auto SortKey(const Resource& resource) {
    return std::tuple(resource.type, resource.id, resource.language);
}

// The first of `resources` behind `start` that differs in the number that `field` picks.
template <typename Field>
size_t EndOfGroup(const std::vector<Resource>& resources, size_t start, size_t end, Field field) {
    size_t next = start;
    while (next < end && field(resources[next]) == field(resources[start])) {
        ++next;
    }
    return next;
}

// One section's bytes: the directories, then the data entries, then the data, everything in
// ascending order of type, number and language, as the system's binary search needs it.
class SectionWriter {
public:
    SectionWriter(const std::vector<Resource>& resources, uint32_t address)
        : resources_(resources), address_(address), dataEntries_(DirectoriesSize()) {}

    ByteBuffer Write() {
        section_.resize(dataEntries_ + resources_.size() * kDataEntrySize);
        WriteTypes();
        for (size_t i = 0; i < resources_.size(); ++i) {
            AlignBuffer(section_, kDataAlignment);
            const size_t entry = DataEntry(i);
            PutU32(section_, entry, address_ + static_cast<uint32_t>(section_.size()));
            PutU32(section_, entry + 4, static_cast<uint32_t>(resources_[i].bytes.size()));
            AppendBytes(section_, resources_[i].bytes);
        }
        AlignBuffer(section_, kDataAlignment);
        return std::move(section_);
    }

private:
    using Groups =
        std::vector<std::pair<size_t, size_t>>;  // Index of the first and behind the last.

    template <typename Field>
    Groups GroupsBy(size_t start, size_t end, Field field) const {
        Groups groups;
        while (start < end) {
            const size_t next = EndOfGroup(resources_, start, end, field);
            groups.emplace_back(start, next);
            start = next;
        }
        return groups;
    }

    [[nodiscard]] Groups Types() const {
        return GroupsBy(0, resources_.size(), [](const Resource& each) { return each.type; });
    }
    [[nodiscard]] Groups Ids(size_t start, size_t end) const {
        return GroupsBy(start, end, [](const Resource& each) { return each.id; });
    }

    [[nodiscard]] size_t DirectoriesSize() const {
        const Groups types = Types();
        size_t size = kDirectorySize + types.size() * kEntrySize;
        for (const auto& [start, end] : types) {
            const size_t ids = Ids(start, end).size();
            // Each number has a directory with its languages, and each resource an entry there.
            size += kDirectorySize + ids * (kEntrySize + kDirectorySize);
            size += (end - start) * kEntrySize;
        }
        return size;
    }

    [[nodiscard]] size_t DataEntry(size_t index) const {
        return dataEntries_ + index * kDataEntrySize;
    }

    // The next free place for a directory of `count` entries, with its count written.
    size_t PlaceDirectory(size_t count) {
        const size_t place = free_;
        PutU16(section_, place + 14, static_cast<uint16_t>(count));
        free_ += kDirectorySize + count * kEntrySize;
        return place;
    }

    void WriteEntry(size_t directory, size_t index, uint16_t number, size_t target) {
        const size_t entry = directory + kDirectorySize + index * kEntrySize;
        PutU32(section_, entry, number);
        PutU32(section_, entry + 4, static_cast<uint32_t>(target));
    }

    void WriteTypes() {
        const Groups types = Types();
        const size_t directory = PlaceDirectory(types.size());
        for (size_t i = 0; i < types.size(); ++i) {
            WriteEntry(directory, i, resources_[types[i].first].type, free_ | kSubdirectoryFlag);
            WriteIds(types[i].first, types[i].second);
        }
    }

    void WriteIds(size_t start, size_t end) {
        const Groups ids = Ids(start, end);
        const size_t directory = PlaceDirectory(ids.size());
        for (size_t i = 0; i < ids.size(); ++i) {
            WriteEntry(directory, i, resources_[ids[i].first].id, free_ | kSubdirectoryFlag);
            WriteLanguages(ids[i].first, ids[i].second);
        }
    }

    void WriteLanguages(size_t start, size_t end) {
        const size_t directory = PlaceDirectory(end - start);
        for (size_t i = start; i < end; ++i) {
            WriteEntry(directory, i - start, resources_[i].language, DataEntry(i));
        }
    }

    const std::vector<Resource>& resources_;
    uint32_t address_;
    size_t dataEntries_;  // Offset of the first data entry, behind all directories.
    size_t free_ = 0;     // Offset of the next directory.
    ByteBuffer section_;
};

bool Holds(const PeSection& section, const PeDirectory& directory) {
    return directory.size != 0 && directory.address >= section.address &&
           directory.address < section.End();
}

// Whether the section exists for this directory alone, so that it can be moved or removed.
bool HoldsOnly(const PeSection& section, const PeFile& pe, size_t directory) {
    for (size_t i = 0; i < kPeDirectories; ++i) {
        if (i != kCertificateDirectory && Holds(section, pe.directories[i]) != (i == directory)) {
            return false;
        }
    }
    return section.address == pe.directories[directory].address;
}

// The program while its sections change.
struct Rebuild {
    PeFile pe;
    ByteBuffer bytes;
};

// Empty when the program can be changed.
std::string ReasonAgainst(ByteView program, const PeFile& pe) {
    if (pe.HasCertificates()) {
        return "it is signed, and a change would break the signature";
    }
    if (pe.directoryCount <= kRelocationDirectory) {
        return "its headers have no room for the place of its resources";
    }
    uint64_t end = pe.headersSize;
    for (const PeSection& section : pe.sections) {
        // In the file in the order of their addresses, so that what is behind one can move up.
        if (section.rawSize != 0 && section.rawOffset < end) {
            return "its sections overlap in the file";
        }
        end = std::max(end, section.RawEnd());
    }
    if (pe.symbolTableOffset != 0 || end != program.size()) {
        return "it has data behind its sections";
    }
    return {};
}

// Takes the program's own resources out. Returns false when something else depends on their place.
bool RemoveResourceSection(ByteView program, Rebuild& rebuild) {
    PeFile& pe = rebuild.pe;
    if (pe.directories[kResourceDirectory].address == 0) {
        return true;
    }
    const auto own = std::ranges::find_if(pe.sections, [&pe](const PeSection& section) {
        return HoldsOnly(section, pe, kResourceDirectory);
    });
    if (own == pe.sections.end() || own->rawSize == 0 || pe.sections.end() - own > 2) {
        return false;
    }
    const PeSection removed = *own;
    const auto behind = pe.sections.erase(own);
    rebuild.bytes.resize(removed.rawOffset);
    pe.initializedDataSize -= removed.rawSize;
    if (behind != pe.sections.end()) {
        if (!HoldsOnly(*behind, pe, kRelocationDirectory)) {
            return false;
        }
        AppendBytes(rebuild.bytes, program.subspan(behind->rawOffset, behind->rawSize));
        behind->rawOffset = removed.rawOffset;
        behind->address = removed.address;
        pe.directories[kRelocationDirectory].address = removed.address;
    }
    return true;
}

// Returns false when the result would be too large.
bool AppendResourceSection(const std::vector<Resource>& resources, Rebuild& rebuild) {
    PeFile& pe = rebuild.pe;
    uint64_t total = 0;
    for (const Resource& resource : resources) {
        total += resource.bytes.size();
    }
    const uint64_t address = AlignedUp(pe.sections.back().End(), pe.sectionAlignment);
    if (total > kMaxResourceBytes || address > 0x7FFF'0000 - kMaxResourceBytes) {
        return false;
    }
    PeSection section;
    section.name = kResourceSectionName;
    section.characteristics = kResourceSectionFlags;
    section.address = static_cast<uint32_t>(address);
    const ByteBuffer bytes = SectionWriter(resources, section.address).Write();
    AlignBuffer(rebuild.bytes, pe.fileAlignment);
    section.rawOffset = static_cast<uint32_t>(rebuild.bytes.size());
    section.virtualSize = static_cast<uint32_t>(bytes.size());
    AppendBytes(rebuild.bytes, bytes);
    AlignBuffer(rebuild.bytes, pe.fileAlignment);
    section.rawSize = static_cast<uint32_t>(rebuild.bytes.size()) - section.rawOffset;
    pe.directories[kResourceDirectory] = {section.address, section.virtualSize};
    pe.initializedDataSize += section.rawSize;
    pe.imageSize =
        static_cast<uint32_t>(AlignedUp(address + section.virtualSize, pe.sectionAlignment));
    pe.sections.push_back(std::move(section));
    return true;
}

void WriteSectionHeader(ByteBuffer& bytes, size_t header, const PeSection& section) {
    for (size_t i = 0; i < 8; ++i) {
        bytes[header + i] =
            i < section.name.size() ? static_cast<std::byte>(section.name[i]) : std::byte{0};
    }
    PutU32(bytes, header + 8, section.virtualSize);
    PutU32(bytes, header + 12, section.address);
    PutU32(bytes, header + 16, section.rawSize);
    PutU32(bytes, header + 20, section.rawOffset);
    // Relocations and line numbers are for object files.
    PutU32(bytes, header + 24, 0);
    PutU32(bytes, header + 28, 0);
    PutU32(bytes, header + 32, 0);
    PutU32(bytes, header + 36, section.characteristics);
}

// Returns false when the headers have no room for all sections.
bool WriteHeaders(Rebuild& rebuild) {
    const PeFile& pe = rebuild.pe;
    ByteBuffer& bytes = rebuild.bytes;
    if (pe.sectionTableOffset + pe.sections.size() * kSectionHeaderSize > pe.headersSize) {
        return false;
    }
    for (size_t i = 0; i < pe.sections.size(); ++i) {
        WriteSectionHeader(bytes, pe.sectionTableOffset + i * kSectionHeaderSize, pe.sections[i]);
    }
    const size_t optional = pe.optionalHeaderOffset;
    PutU16(bytes, optional - kSectionCountBeforeOptionalHeader,
           static_cast<uint16_t>(pe.sections.size()));
    PutU32(bytes, optional + kInitializedDataSizeField, pe.initializedDataSize);
    PutU32(bytes, optional + kImageSizeField, pe.imageSize);
    for (const size_t index : {kResourceDirectory, kRelocationDirectory}) {
        const size_t field = optional + kDirectoriesField + index * 8;
        PutU32(bytes, field, pe.directories[index].address);
        PutU32(bytes, field + 4, pe.directories[index].size);
    }
    const size_t checksum = optional + kChecksumField;
    PutU32(bytes, checksum, PeChecksum(bytes, checksum));
    return true;
}

}  // namespace

std::optional<ByteBuffer> WithResources(ByteView program, std::vector<Resource> resources,
                                        std::string& reason) {
    auto pe = ReadPeFile(program, reason);
    if (!pe) {
        return std::nullopt;
    }
    reason = ReasonAgainst(program, *pe);
    if (!reason.empty()) {
        return std::nullopt;
    }
    std::ranges::sort(resources, {}, SortKey);
    Rebuild rebuild{std::move(*pe), ByteBuffer(program.begin(), program.end())};
    if (rebuild.pe.sections.empty() || !RemoveResourceSection(program, rebuild)) {
        reason = "its own resources cannot be taken out";
    } else if (!AppendResourceSection(resources, rebuild)) {
        reason = "the resources are too large for one program";
    } else if (!WriteHeaders(rebuild)) {
        reason = "its headers have no room for another section";
    } else {
        return std::move(rebuild.bytes);
    }
    return std::nullopt;
}
