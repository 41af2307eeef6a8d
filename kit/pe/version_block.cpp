#include "kit/pe/version_block.h"

#include <utility>

namespace {

constexpr uint16_t kBinary = 0;
constexpr uint16_t kText = 1;
constexpr uint16_t kUnicodeCodePage = 1200;
constexpr size_t kHeaderSize = 6;
constexpr size_t kMaxBlockSize = 0xFFFF;
constexpr wchar_t kTextsKey[] = L"StringFileInfo";
constexpr wchar_t kCodePageDigits[] = L"04B0";  // kUnicodeCodePage.

// Starts a block: its size is filled in by EndBlock. Gives the block's offset.
size_t BeginBlock(ByteBuffer& bytes, size_t valueLength, uint16_t type, std::wstring_view key) {
    AlignBuffer(bytes, 4);
    const size_t start = bytes.size();
    AppendU16(bytes, 0);
    AppendU16(bytes, static_cast<uint16_t>(valueLength));
    AppendU16(bytes, type);
    AppendText(bytes, key);
    AppendU16(bytes, 0);
    AlignBuffer(bytes, 4);
    return start;
}

void EndBlock(ByteBuffer& bytes, size_t start) {
    // MakeVersionResource refuses what does not fit.
    PutU16(bytes, start, static_cast<uint16_t>(bytes.size() - start));
}

// VS_FIXEDFILEINFO.
void AppendFixedInfo(ByteBuffer& bytes, const std::array<uint16_t, 4>& numbers) {
    const uint32_t high = uint32_t{numbers[0]} << 16 | numbers[1];
    const uint32_t low = uint32_t{numbers[2]} << 16 | numbers[3];
    AppendU32(bytes, 0xFEEF'04BD);  // Signature.
    AppendU32(bytes, 0x0001'0000);  // Version of this structure.
    for (const uint32_t number : {high, low, high, low}) {
        AppendU32(bytes, number);
    }
    AppendU32(bytes, 0x3F);         // Which flags are valid.
    AppendU32(bytes, 0);            // Flags.
    AppendU32(bytes, 0x0004'0004);  // For 32-bit Windows NT and later.
    AppendU32(bytes, 1);            // An application,
    AppendU32(bytes, 0);            // of no special kind.
    AppendU32(bytes, 0);            // No date.
    AppendU32(bytes, 0);
}
constexpr size_t kFixedInfoSize = 52;

void AppendTexts(ByteBuffer& bytes, const VersionBlock& block) {
    const size_t info = BeginBlock(bytes, 0, kText, kTextsKey);
    const size_t table = BeginBlock(bytes, 0, kText, block.languageDigits + kCodePageDigits);
    for (const VersionText& each : block.texts) {
        const size_t text = BeginBlock(bytes, each.text.size() + 1, kText, each.name);
        AppendText(bytes, each.text);
        AppendU16(bytes, 0);
        EndBlock(bytes, text);
    }
    EndBlock(bytes, table);
    EndBlock(bytes, info);
}

void AppendTranslation(ByteBuffer& bytes, const VersionBlock& block) {
    const size_t info = BeginBlock(bytes, 0, kText, L"VarFileInfo");
    const size_t translation = BeginBlock(bytes, 4, kBinary, L"Translation");
    AppendU16(bytes, block.language);
    AppendU16(bytes, kUnicodeCodePage);
    EndBlock(bytes, translation);
    EndBlock(bytes, info);
}

// One block that was read: key, value and what is behind both.
struct ReadBlock {
    std::wstring key;
    uint16_t valueLength = 0;
    ByteView rest;  // From the value on, up to the block's end.
};

std::wstring ReadText(ByteReader& reader, size_t maxCharacters) {
    std::wstring text;
    while (text.size() < maxCharacters) {
        const uint16_t character = reader.U16();
        if (reader.Failed() || character == 0) {
            break;
        }
        text += static_cast<wchar_t>(character);
    }
    return text;
}

// Takes the first block off `blocks`. None at the end and for a damaged one.
std::optional<ReadBlock> TakeBlock(ByteView& blocks) {
    ByteReader reader(blocks);
    const uint16_t length = reader.U16();
    ReadBlock block;
    block.valueLength = reader.U16();
    reader.Skip(2);  // Type.
    const auto bytes = PartOf(blocks, 0, length);
    if (reader.Failed() || !bytes || length < kHeaderSize) {
        return std::nullopt;
    }
    ByteReader inside(*bytes);
    inside.Skip(kHeaderSize);
    block.key = ReadText(inside, length);
    inside.Skip(AlignedUp(inside.Position(), 4) - inside.Position());
    block.rest = inside.Failed() ? ByteView() : bytes->subspan(inside.Position());
    const size_t next = static_cast<size_t>(AlignedUp(length, 4));
    blocks = next < blocks.size() ? blocks.subspan(next) : ByteView();
    return block;
}

std::vector<VersionText> TextsOfTable(ByteView strings) {
    std::vector<VersionText> texts;
    while (auto block = TakeBlock(strings)) {
        ByteReader value(block->rest);
        texts.push_back({std::move(block->key), ReadText(value, block->valueLength)});
    }
    return texts;
}

}  // namespace

std::optional<ByteBuffer> MakeVersionResource(const VersionBlock& block) {
    ByteBuffer bytes;
    const size_t root = BeginBlock(bytes, kFixedInfoSize, kBinary, L"VS_VERSION_INFO");
    AppendFixedInfo(bytes, block.numbers);
    AppendTexts(bytes, block);
    AppendTranslation(bytes, block);
    if (bytes.size() > kMaxBlockSize) {
        return std::nullopt;
    }
    EndBlock(bytes, root);
    return bytes;
}

std::vector<VersionText> ReadVersionTexts(ByteView resource) {
    const auto root = TakeBlock(resource);
    if (!root) {
        return {};
    }
    ByteReader reader(root->rest);
    reader.Skip(AlignedUp(root->valueLength, 4));
    ByteView infos = root->rest.subspan(reader.Position());
    while (const auto info = TakeBlock(infos)) {
        ByteView tables = info->rest;
        if (info->key == kTextsKey) {
            const auto table = TakeBlock(tables);
            return table ? TextsOfTable(table->rest) : std::vector<VersionText>();
        }
    }
    return {};
}
