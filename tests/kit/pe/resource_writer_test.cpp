#include "kit/pe/resource_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/pe/checksum.h"
#include "kit/pe/small_program.h"

namespace {

using testing::HasSubstr;

const ByteBuffer kCode = BytesOf("code");
const ByteBuffer kRelocations = BytesOf("relocations");
const SmallSection kText{".text", kCode, 0};
const SmallSection kReloc{".reloc", kRelocations, kRelocationDirectory};

PeFile Headers(ByteView program) {
    std::string reason;
    return ReadPeFile(program, reason).value();
}

ByteBuffer With(ByteView program, std::vector<Resource> resources) {
    std::string reason;
    auto changed = WithResources(program, std::move(resources), reason);
    EXPECT_TRUE(changed) << reason;
    return changed.value_or(ByteBuffer());
}

std::vector<Resource> ResourcesOf(ByteView program) {
    std::string reason;
    return ReadResources(program, Headers(program), reason).value();
}

ByteBuffer Copy(std::optional<ByteView> bytes, size_t size) {
    const ByteView part = bytes.value().first(size);
    return {part.begin(), part.end()};
}

const ByteBuffer kOne = BytesOf("one");
const ByteBuffer kTwo = BytesOf("number two");
const ByteBuffer kLarge(5000, std::byte{7});

std::vector<Resource> SomeResources() {
    return {{kVersionType, 1, 0x409, kTwo}, {kDataType, 203, 0, kLarge}, {kDataType, 201, 0, kOne},
            {kDataType, 202, 0, {}},        {kIconType, 2, 0, kTwo},     {kIconType, 1, 0, kOne},
            {kDataType, 201, 0x407, kTwo}};
}

void ExpectSound(const ByteBuffer& program) {
    const PeFile pe = Headers(program);
    EXPECT_EQ(pe.checksum, PeChecksum(program, kSmallOptionalHeader + kChecksumField));
    const PeSection& last = pe.sections.back();
    EXPECT_EQ(last.name, ".rsrc");
    EXPECT_EQ(last.characteristics, 0x4000'0040u);
    EXPECT_EQ(last.address % pe.sectionAlignment, 0u);
    EXPECT_EQ(last.rawOffset % pe.fileAlignment, 0u);
    EXPECT_EQ(last.rawSize % pe.fileAlignment, 0u);
    EXPECT_EQ(last.rawOffset + last.rawSize, program.size());
    EXPECT_EQ(pe.directories[kResourceDirectory].address, last.address);
    EXPECT_EQ(pe.directories[kResourceDirectory].size, last.virtualSize);
    EXPECT_EQ(pe.imageSize, AlignedUp(last.address + last.virtualSize, pe.sectionAlignment));
    uint32_t data = 0;
    for (const PeSection& section : pe.sections) {
        data += section.rawSize;
    }
    EXPECT_EQ(pe.initializedDataSize, data);
}

TEST(WithResources, PutsThemIntoANewLastSection) {
    const ByteBuffer program = SmallProgram({kText, kReloc});
    const ByteBuffer changed = With(program, SomeResources());
    ExpectSound(changed);
    const PeFile pe = Headers(changed);
    ASSERT_EQ(pe.sections.size(), 3u);
    EXPECT_EQ(pe.sections[2].address, 0x3000u);
    // What was there stays where it was.
    EXPECT_TRUE(std::equal(program.begin() + kSmallFilePage, program.end(),
                           changed.begin() + kSmallFilePage));
    EXPECT_EQ(pe.directories[kRelocationDirectory].address, 0x2000u);
}

TEST(WithResources, WritesThemInTheOrderThatTheSystemSearches) {
    const ByteBuffer changed = With(SmallProgram({kText}), SomeResources());
    std::vector<std::array<uint16_t, 3>> order;
    for (const Resource& each : ResourcesOf(changed)) {
        order.push_back({each.type, each.id, each.language});
    }
    EXPECT_THAT(order,
                testing::ElementsAreArray(std::vector<std::array<uint16_t, 3>>{{3, 1, 0},
                                                                               {3, 2, 0},
                                                                               {10, 201, 0},
                                                                               {10, 201, 0x407},
                                                                               {10, 202, 0},
                                                                               {10, 203, 0},
                                                                               {16, 1, 0x409}}));
}

TEST(WithResources, WritesTheirBytesAligned) {
    const ByteBuffer changed = With(SmallProgram({kText}), SomeResources());
    const auto resources = ResourcesOf(changed);
    for (const Resource& expected : SomeResources()) {
        const auto found = std::ranges::find_if(resources, [&](const Resource& each) {
            return each.type == expected.type && each.id == expected.id &&
                   each.language == expected.language;
        });
        ASSERT_NE(found, resources.end());
        EXPECT_TRUE(std::ranges::equal(found->bytes, expected.bytes)) << expected.id;
        if (!found->bytes.empty()) {
            EXPECT_EQ((found->bytes.data() - changed.data()) % 8, 0);
        }
    }
}

TEST(WithResources, ReplacesAnOwnLastSection) {
    const ByteBuffer program =
        SmallProgram({kText, {".rsrc", BytesOf("old tree"), kResourceDirectory}});
    const ByteBuffer changed = With(program, SomeResources());
    EXPECT_EQ(changed, With(SmallProgram({kText}), SomeResources()));
    EXPECT_EQ(With(changed, SomeResources()), changed);
}

TEST(WithResources, MovesRelocationsUpThatWereBehindItsOwn) {
    const ByteBuffer program =
        SmallProgram({kText, {".rsrc", BytesOf("old tree"), kResourceDirectory}, kReloc});
    const ByteBuffer changed = With(program, SomeResources());
    ExpectSound(changed);
    EXPECT_EQ(changed, With(SmallProgram({kText, kReloc}), SomeResources()));
    const PeFile pe = Headers(changed);
    EXPECT_EQ(pe.directories[kRelocationDirectory].address, 0x2000u);
    EXPECT_EQ(pe.directories[kRelocationDirectory].size, kRelocations.size());
    EXPECT_EQ(Copy(BytesFromAddress(changed, pe, 0x2000), kRelocations.size()), kRelocations);
}

struct RefusedProgram {
    const char* name;
    ByteBuffer program;
    const char* reason;
};

std::vector<RefusedProgram> RefusedPrograms() {
    const SmallSection own{".rsrc", BytesOf("old tree"), kResourceDirectory};
    ByteBuffer isSigned = SmallProgram({kText});
    PutU32(isSigned, kSmallOptionalHeader + kDirectoriesField + kCertificateDirectory * 8, 0x400);
    PutU32(isSigned, kSmallOptionalHeader + kDirectoriesField + kCertificateDirectory * 8 + 4, 8);
    AppendU32(isSigned, 8);
    AppendU32(isSigned, 0x2'0200);
    ByteBuffer longer = SmallProgram({kText});
    AppendBytes(longer, BytesOf("x"));
    ByteBuffer withSymbols = SmallProgram({kText});
    PutU32(withSymbols, 76, 0x400);
    ByteBuffer shared = SmallProgram({kText, own});
    PutU32(shared, kSmallOptionalHeader + kDirectoriesField + 8, 0x2004);  // Imports.
    PutU32(shared, kSmallOptionalHeader + kDirectoriesField + 12, 4);
    ByteBuffer swapped = SmallProgram({kText, kReloc});
    PutU32(swapped, kSmallSectionTable + 20, 0x400);
    PutU32(swapped, kSmallSectionTable + kSectionHeaderSize + 20, 0x200);
    ByteBuffer fewDirectories = SmallProgram({kText});
    PutU32(fewDirectories, kSmallOptionalHeader + kDirectoriesField - 4, kRelocationDirectory);
    ByteBuffer inHeaders = SmallProgram({kText});
    PutU32(inHeaders, kSmallOptionalHeader + kDirectoriesField + kResourceDirectory * 8, 0x40);
    return {
        {"no program", BytesOf("MZ"), "no 64-bit Windows program"},
        {"signed", isSigned, "signed"},
        {"bytes behind", longer, "behind its sections"},
        {"symbols", withSymbols, "behind its sections"},
        {"no room", SmallProgram({kText, kText, kText, kText}), "no room"},
        {"no room for directories", fewDirectories, "no room for the place"},
        {"another section behind", SmallProgram({kText, own, kText}), "cannot be taken out"},
        {"two sections behind", SmallProgram({kText, own, kReloc, kText}), "cannot be taken out"},
        {"imports in the section", shared, "cannot be taken out"},
        {"resources in the headers", inHeaders, "cannot be taken out"},
        {"sections not in order", swapped, "overlap"},
        {"no sections", SmallProgram({}), "cannot be taken out"},
    };
}

TEST(WithResources, RefusesWhatItCannotChange) {
    for (const RefusedProgram& each : RefusedPrograms()) {
        std::string reason;
        EXPECT_FALSE(WithResources(each.program, SomeResources(), reason)) << each.name;
        EXPECT_THAT(reason, HasSubstr(each.reason)) << each.name;
    }
}

}  // namespace
