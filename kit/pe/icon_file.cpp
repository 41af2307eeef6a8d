#include "kit/pe/icon_file.h"

#include <map>

namespace {

constexpr uint16_t kIconKind = 1;  // 2 would be a cursor.
constexpr size_t kHeaderSize = 6;
constexpr size_t kFileEntrySize = 16;

// The count of pictures behind a header that files and groups share. 0 when it is no icon's.
uint16_t ReadHeader(ByteReader& reader) {
    const bool isIcon = reader.U16() == 0 && reader.U16() == kIconKind;
    const uint16_t count = reader.U16();
    return isIcon ? count : uint16_t{0};
}

IconPicture ReadPicture(ByteReader& reader) {
    IconPicture picture;
    picture.storedWidth = reader.U8();
    picture.storedHeight = reader.U8();
    picture.colors = reader.U8();
    reader.Skip(1);  // Reserved.
    picture.planes = reader.U16();
    picture.bitsPerPixel = reader.U16();
    return picture;
}

void AppendHeader(ByteBuffer& bytes, size_t count) {
    AppendU16(bytes, 0);
    AppendU16(bytes, kIconKind);
    AppendU16(bytes, static_cast<uint16_t>(count));
}

void AppendPicture(ByteBuffer& bytes, const IconPicture& picture) {
    AppendU8(bytes, picture.storedWidth);
    AppendU8(bytes, picture.storedHeight);
    AppendU8(bytes, picture.colors);
    AppendU8(bytes, 0);
    AppendU16(bytes, picture.planes);
    AppendU16(bytes, picture.bitsPerPixel);
    AppendU32(bytes, static_cast<uint32_t>(picture.bytes.size()));
}

// The icon pictures by their numbers: the neutral one of each, else the first.
std::map<uint16_t, const Resource*> PicturesById(const std::vector<Resource>& resources) {
    std::map<uint16_t, const Resource*> pictures;
    for (const Resource& resource : resources) {
        if (resource.type != kIconType) {
            continue;
        }
        const auto [known, isNew] = pictures.try_emplace(resource.id, &resource);
        if (!isNew && resource.language == 0 && known->second->language != 0) {
            known->second = &resource;
        }
    }
    return pictures;
}

// Some programs leave planes and depth out of their icon files. The resource compiler fills them in
// from the number of colors.
void FillGaps(IconPicture& picture) {
    if (picture.planes == 0) {
        picture.planes = 1;
    }
    if (picture.bitsPerPixel == 0) {
        while ((1 << picture.bitsPerPixel) < picture.colors) {
            ++picture.bitsPerPixel;
        }
    }
}

}  // namespace

std::optional<std::vector<IconPicture>> ReadIconFile(ByteView file) {
    ByteReader reader(file);
    const uint16_t count = ReadHeader(reader);
    const size_t directoryEnd = kHeaderSize + count * kFileEntrySize;
    if (count == 0 || directoryEnd > file.size()) {
        return std::nullopt;
    }
    // Pictures that share bytes could make resources far larger than the file.
    uint64_t bytesLeft = file.size() - directoryEnd;
    std::vector<IconPicture> pictures;
    for (uint16_t i = 0; i < count; ++i) {
        IconPicture picture = ReadPicture(reader);
        const uint32_t size = reader.U32();
        const uint32_t offset = reader.U32();
        const auto bytes = PartOf(file, offset, size);
        if (!bytes || offset < directoryEnd || size == 0 || size > bytesLeft) {
            return std::nullopt;
        }
        bytesLeft -= size;
        picture.bytes = *bytes;
        pictures.push_back(picture);
    }
    return pictures;
}

ByteBuffer IconGroup(const std::vector<IconPicture>& pictures) {
    ByteBuffer group;
    AppendHeader(group, pictures.size());
    uint16_t id = 0;
    for (IconPicture picture : pictures) {
        FillGaps(picture);
        AppendPicture(group, picture);
        AppendU16(group, ++id);
    }
    return group;
}

std::optional<std::vector<IconPicture>> ReadIconGroup(const std::vector<Resource>& resources,
                                                      uint16_t id, uint64_t programBytes) {
    const Resource* group = FindEmbedded(resources, kIconGroupType, id);
    if (group == nullptr) {
        return std::nullopt;
    }
    ByteReader reader(group->bytes);
    const uint16_t count = ReadHeader(reader);
    std::map<uint16_t, const Resource*> known = PicturesById(resources);
    // Pictures that share bytes could make an icon file far larger than the program.
    uint64_t bytesLeft = programBytes;
    std::vector<IconPicture> pictures;
    for (uint16_t i = 0; i < count && !reader.Failed(); ++i) {
        IconPicture picture = ReadPicture(reader);
        reader.Skip(4);  // Size.
        const auto found = known.find(reader.U16());
        if (found == known.end() || found->second->bytes.size() > bytesLeft) {
            return std::nullopt;
        }
        picture.bytes = found->second->bytes;
        bytesLeft -= picture.bytes.size();
        known.erase(found);  // No group names a picture twice.
        pictures.push_back(picture);
    }
    return pictures.empty() || reader.Failed() ? std::nullopt : std::optional(std::move(pictures));
}

ByteBuffer IconFile(const std::vector<IconPicture>& pictures) {
    ByteBuffer file;
    AppendHeader(file, pictures.size());
    size_t offset = kHeaderSize + pictures.size() * kFileEntrySize;
    for (const IconPicture& picture : pictures) {
        AppendPicture(file, picture);
        AppendU32(file, static_cast<uint32_t>(offset));
        offset += picture.bytes.size();
    }
    for (const IconPicture& picture : pictures) {
        AppendBytes(file, picture.bytes);
    }
    return file;
}
