#include "kit/pe/pe_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/pe/checksum.h"
#include "kit/pe/small_program.h"

namespace {

ByteBuffer TwoSections() {
    return SmallProgram({{".text", BytesOf("code"), 0}, {".rsrc", BytesOf("tree"), 2}});
}

std::optional<PeFile> Read(ByteView file) {
    std::string reason;
    auto pe = ReadPeFile(file, reason);
    EXPECT_EQ(pe.has_value(), reason.empty()) << reason;
    return pe;
}

TEST(ReadPeFile, GivesHeadersDirectoriesAndSections) {
    const auto pe = Read(TwoSections());
    ASSERT_TRUE(pe);
    EXPECT_EQ(pe->optionalHeaderOffset, kSmallOptionalHeader);
    EXPECT_EQ(pe->sectionTableOffset, kSmallSectionTable);
    EXPECT_EQ(pe->sectionAlignment, 0x1000u);
    EXPECT_EQ(pe->fileAlignment, 0x200u);
    EXPECT_EQ(pe->imageSize, 0x3000u);
    EXPECT_EQ(pe->headersSize, 0x200u);
    EXPECT_EQ(pe->initializedDataSize, 0x400u);
    EXPECT_FALSE(pe->HasCertificates());
    EXPECT_EQ(pe->directories[kResourceDirectory].address, 0x2000u);
    EXPECT_EQ(pe->directories[kResourceDirectory].size, 4u);
    ASSERT_EQ(pe->sections.size(), 2u);
    EXPECT_EQ(pe->sections[1].name, ".rsrc");
    EXPECT_EQ(pe->sections[1].address, 0x2000u);
    EXPECT_EQ(pe->sections[1].virtualSize, 4u);
    EXPECT_EQ(pe->sections[1].rawOffset, 0x400u);
    EXPECT_EQ(pe->sections[1].rawSize, 0x200u);
    EXPECT_EQ(pe->sections[1].characteristics, 0x4000'0040u);
}

TEST(ReadPeFile, RefusesEveryCutFile) {
    const ByteBuffer file = TwoSections();
    for (size_t size = 0; size < file.size(); ++size) {
        ASSERT_FALSE(Read(ByteView(file).first(size))) << size;
    }
    EXPECT_TRUE(Read(file));
}

TEST(ReadPeFile, RefusesNumbersThatCannotBe) {
    constexpr size_t kHeader = kSmallOptionalHeader;
    constexpr size_t kSecondSection = kSmallSectionTable + kSectionHeaderSize;
    struct Row {
        size_t offset;
        uint32_t number;
        const char* what;
    };
    const Row rows[] = {
        {0, 0x5A4E, "no MZ"},
        {60, 0xFFFF'FFF0, "headers far behind the end"},
        {64, 0x4551, "no PE"},
        {68, 0x2014C, "32-bit"},
        {70, 97, "too many sections"},
        {84, 111, "optional header too short"},
        {kHeader, 0x10B, "PE32"},
        {kHeader + 32, 0x1001, "section alignment"},
        {kHeader + 32, 0x100, "section alignment below file alignment"},
        {kHeader + 36, 0, "file alignment"},
        {kHeader + 56, 0x2000, "section behind the image's end"},
        {kHeader + 56, 0x8000'0000, "image too large"},
        {kSecondSection + 8, 0xFFFF'FFFF, "section's size overflows"},
        {kSecondSection + 12, 0x1000, "sections overlap"},
        {kSecondSection + 16, 0x201, "section's data leaves the file"},
        {kSecondSection + 16, 0xFFFF'FFFF, "section's data overflows"},
        {kSecondSection + 20, 0x401, "section's data leaves the file"},
        {kSecondSection + 20, 0xFFFF'FFFF, "section's data overflows"},
    };
    for (const Row& row : rows) {
        ByteBuffer file = TwoSections();
        PutU32(file, row.offset, row.number);
        EXPECT_FALSE(Read(file)) << row.what;
    }
}

TEST(ReadPeFile, RefusesFileAlignmentsThatNoLinkerWrites) {
    for (const uint32_t alignment : {0x200u, 0x1'0000u, 0x2'0000u}) {
        ByteBuffer file = TwoSections();
        PutU32(file, kSmallOptionalHeader + 32, 0x10'0000);
        PutU32(file, kSmallOptionalHeader + 36, alignment);
        EXPECT_EQ(Read(file).has_value(), alignment <= 0x1'0000) << alignment;
    }
}

TEST(ReadPeFile, KnowsASignatureThatIsThere) {
    constexpr size_t kPlace = kSmallOptionalHeader + kDirectoriesField + kCertificateDirectory * 8;
    struct Row {
        const char* what;
        uint32_t offset;
        uint32_t size;
        uint32_t ownSize;  // At the beginning of the signature.
        bool isSound;
    };
    // The sections end at 0x600, the file with the signature at 0x610.
    const Row rows[] = {
        {"whole", 0x600, 16, 16, true},
        {"shorter than its place", 0x600, 16, 9, true},
        {"only a header", 0x600, 16, 8, true},
        {"less than a header", 0x600, 16, 7, false},
        {"longer than its place", 0x600, 16, 17, false},
        {"longer than the file", 0x600, 24, 16, false},
        {"behind the file", 0x610, 16, 16, false},
        {"far behind the file", 0xFFFF'FFF8, 16, 16, false},
        {"enormous", 0x600, 0xFFFF'FFFF, 16, false},
        {"shorter than a number", 0x600, 3, 0, false},
        {"in a section", 0x400, 16, 16, false},
        {"in the headers", 0, 16, 16, false},
        {"at an odd place", 0x604, 12, 12, false},
    };
    for (const Row& row : rows) {
        ByteBuffer file = TwoSections();
        file.resize(0x610);
        PutU32(file, kPlace, row.offset);
        PutU32(file, kPlace + 4, row.size);
        if (row.offset + 4 <= file.size()) {
            PutU32(file, row.offset == 0 ? 0x600 : row.offset, row.ownSize);
        }
        const auto pe = Read(file);
        EXPECT_EQ(pe.has_value(), row.isSound) << row.what;
        EXPECT_TRUE(!pe || pe->HasCertificates()) << row.what;
    }
}

TEST(ReadPeFile, IgnoresDirectoriesThatTheHeaderHasNoRoomFor) {
    ByteBuffer file = TwoSections();
    PutU32(file, kSmallOptionalHeader + 108, 0xFFFF'FFFF);
    EXPECT_EQ(Read(file)->directories[kResourceDirectory].address, 0x2000u);
    PutU32(file, kSmallOptionalHeader + 108, 2);
    EXPECT_EQ(Read(file)->directories[kResourceDirectory].address, 0u);
}

TEST(BytesFromAddress, GivesWhatTheFileHoldsOfTheSection) {
    const ByteBuffer file = TwoSections();
    const auto pe = Read(file);
    const auto bytes = BytesFromAddress(file, *pe, 0x2001);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(bytes->data(), file.data() + 0x401);
    EXPECT_EQ(bytes->size(), 0x1FFu);
    for (const uint32_t outside : {0u, 0xFFFu, 0x2200u, 0x2FFFu, 0xFFFF'FFFFu}) {
        EXPECT_FALSE(BytesFromAddress(file, *pe, outside)) << outside;
    }
}

TEST(PeChecksum, AddsWordsWithCarriesAndTheSizeButNotItself) {
    ByteBuffer bytes = BytesOf(
        "\xFF\xFF\xFF\xFF"
        "abcd"
        "\x01");
    // 0xFFFF + 0xFFFF + 1 = 0x1FFFF, folded 0x10000, folded 1.
    EXPECT_EQ(PeChecksum(bytes, 4), 1u + 9u);
    EXPECT_EQ(PeChecksum({}, 0), 0u);
}

}  // namespace
