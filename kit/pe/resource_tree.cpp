#include "kit/pe/resource_tree.h"

#include <array>

namespace {

constexpr uint32_t kSubdirectoryFlag = 0x8000'0000;
constexpr uint32_t kMaxNumber = 0xFFFF;
constexpr size_t kEntrySize = 8;
constexpr size_t kLevels = 3;  // Type, number, language.

struct DirectoryEntry {
    uint32_t name = 0;    // A number, or the offset of a text with the highest bit set.
    uint32_t target = 0;  // Offset of a data entry, or of a directory with the highest bit set.
};

class TreeReader {
public:
    TreeReader(ByteView file, const PeFile& pe, ByteView tree)
        : file_(file), pe_(pe), tree_(tree), entriesLeft_(tree.size() / kEntrySize) {}

    // False when the tree is damaged.
    bool Read(std::vector<Resource>& resources) {
        return ReadDirectory(0, 0, {}, resources);
    }

private:
    // Only directories that share their bytes have more entries than fit: such a tree could take
    // forever.
    std::optional<std::vector<DirectoryEntry>> Entries(uint32_t offset) {
        ByteReader reader(tree_);
        reader.Skip(offset);
        reader.Skip(12);  // Characteristics, time stamp, version.
        const uint16_t named = reader.U16();
        const size_t count = size_t{named} + reader.U16();
        if (reader.Failed() || count > entriesLeft_) {
            return std::nullopt;
        }
        entriesLeft_ -= count;
        std::vector<DirectoryEntry> entries(count);
        for (DirectoryEntry& entry : entries) {
            entry.name = reader.U32();
            entry.target = reader.U32();
        }
        return reader.Failed() ? std::nullopt : std::optional(std::move(entries));
    }

    // `path` holds the numbers of the levels above.
    bool ReadDirectory(uint32_t offset, size_t level, std::array<uint16_t, kLevels> path,
                       std::vector<Resource>& resources) {
        const auto entries = Entries(offset);
        if (!entries) {
            return false;
        }
        for (const DirectoryEntry& entry : *entries) {
            if (entry.name > kMaxNumber) {
                continue;
            }
            path[level] = static_cast<uint16_t>(entry.name);
            const bool isLeaf = (entry.target & kSubdirectoryFlag) == 0;
            if (isLeaf != (level + 1 == kLevels)) {
                return false;
            }
            const bool read = isLeaf ? ReadData(entry.target, path, resources)
                                     : ReadDirectory(entry.target & ~kSubdirectoryFlag, level + 1,
                                                     path, resources);
            if (!read) {
                return false;
            }
        }
        return true;
    }

    bool ReadData(uint32_t offset, const std::array<uint16_t, kLevels>& path,
                  std::vector<Resource>& resources) {
        ByteReader reader(tree_);
        reader.Skip(offset);
        const uint32_t address = reader.U32();
        const uint32_t size = reader.U32();
        if (reader.Failed()) {
            return false;
        }
        Resource resource{path[0], path[1], path[2], {}};
        if (size > 0) {
            const auto behind = BytesFromAddress(file_, pe_, address);
            const auto bytes = behind ? PartOf(*behind, 0, size) : std::nullopt;
            if (!bytes) {
                return false;
            }
            resource.bytes = *bytes;
        }
        resources.push_back(resource);
        return true;
    }

    ByteView file_;
    const PeFile& pe_;
    ByteView tree_;  // From the topmost directory on.
    size_t entriesLeft_;
};

}  // namespace

std::optional<std::vector<Resource>> ReadResources(ByteView file, const PeFile& pe,
                                                   std::string& reason) {
    std::vector<Resource> resources;
    const PeDirectory& directory = pe.directories[kResourceDirectory];
    if (directory.address == 0) {
        return resources;
    }
    const auto tree = BytesFromAddress(file, pe, directory.address);
    if (!tree || !TreeReader(file, pe, *tree).Read(resources)) {
        reason = "its table of resources is damaged";
        return std::nullopt;
    }
    return resources;
}

const Resource* FindEmbedded(const std::vector<Resource>& resources, uint16_t type, uint16_t id) {
    const Resource* found = nullptr;
    for (const Resource& resource : resources) {
        const bool fits = resource.type == type && resource.id == id;
        if (fits && (found == nullptr || (resource.language == 0 && found->language != 0))) {
            found = &resource;
        }
    }
    return found;
}
