#include "kit/pe/resource_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/pe/resource_writer.h"
#include "kit/pe/small_program.h"

namespace {

// The offsets within the section of a tree with one resource.
constexpr size_t kTypeEntry = 16;
constexpr size_t kIdEntry = 24 + 16;
constexpr size_t kLanguageEntry = 48 + 16;
constexpr size_t kDataEntry = 72;

class ResourceTree : public testing::Test {
protected:
    // Gives the number at `offset` of the section another value.
    void Put(size_t offset, uint32_t number) {
        PutU32(file_, kSection + offset, number);
    }

    std::optional<std::vector<Resource>> Read() {
        std::string reason;
        const auto pe = ReadPeFile(file_, reason);
        EXPECT_TRUE(pe) << reason;
        auto resources = ReadResources(file_, *pe, reason);
        EXPECT_EQ(resources.has_value(), reason.empty());
        return resources;
    }

    static ByteBuffer OneResource() {
        const ByteBuffer content = BytesOf("content");
        std::string reason;
        return WithResources(SmallProgram({{".text", BytesOf("code"), 0}}),
                             {{kDataType, 201, 0, content}}, reason)
            .value();
    }

    static constexpr size_t kSection = 0x400;

    ByteBuffer file_ = OneResource();
};

TEST_F(ResourceTree, GivesTypeNumberLanguageAndBytes) {
    Put(kLanguageEntry, 0x409);
    const auto resources = Read();
    ASSERT_TRUE(resources);
    ASSERT_EQ(resources->size(), 1u);
    const Resource& resource = resources->front();
    EXPECT_EQ(resource.type, kDataType);
    EXPECT_EQ(resource.id, 201);
    EXPECT_EQ(resource.language, 0x409);
    EXPECT_EQ(ByteBuffer(resource.bytes.begin(), resource.bytes.end()), BytesOf("content"));
}

TEST_F(ResourceTree, LeavesNamedOnesOut) {
    for (const size_t entry : {kTypeEntry, kIdEntry}) {
        file_ = OneResource();
        Put(entry, 0x8000'0000);
        EXPECT_THAT(Read().value(), testing::IsEmpty());
    }
}

TEST_F(ResourceTree, IsEmptyWithoutADirectory) {
    file_ = SmallProgram({{".text", BytesOf("code"), 0}});
    EXPECT_THAT(Read().value(), testing::IsEmpty());
}

TEST_F(ResourceTree, AcceptsAResourceWithoutBytes) {
    Put(kDataEntry, 0);
    Put(kDataEntry + 4, 0);
    EXPECT_THAT(Read().value().front().bytes, testing::IsEmpty());
}

TEST_F(ResourceTree, RefusesWhatCannotBe) {
    struct Row {
        size_t offset;
        uint32_t number;
        const char* what;
    };
    const Row rows[] = {
        {12, 0xFFFF'FFFF, "more entries than bytes"},
        {kTypeEntry + 4, 0x8000'01F8, "a directory that leaves the section"},
        {kTypeEntry + 4, 0xFFFF'FFFF, "a directory far outside"},
        {kTypeEntry + 4, 0x8000'0000, "a directory that holds itself"},
        {kTypeEntry + 4, kDataEntry, "data on the first level"},
        {kLanguageEntry + 4, 0x8000'0000, "a directory on the last level"},
        {kLanguageEntry + 4, 0x1FC, "a data entry that leaves the section"},
        {kLanguageEntry + 4, 0x7FFF'FFFF, "a data entry far outside"},
        {kDataEntry, 0x1000'0000, "data outside of all sections"},
        {kDataEntry + 4, 0x200, "data that leaves the section"},
        {kDataEntry + 4, 0xFFFF'FFFF, "data that overflows"},
    };
    for (const Row& row : rows) {
        file_ = OneResource();
        Put(row.offset, row.number);
        EXPECT_FALSE(Read()) << row.what;
    }
}

TEST_F(ResourceTree, RefusesDirectoriesThatShareBytesToMultiplyThemselves) {
    // 20 types that all lead to one directory of 20 numbers that all lead to one language.
    const size_t types = 16;
    const size_t ids = types + 20 * 8;
    ByteBuffer section(kSmallFilePage);
    PutU16(section, 14, 20);
    PutU16(section, ids + 14, 20);
    for (size_t i = 0; i < 20; ++i) {
        PutU32(section, types + i * 8 + 4, static_cast<uint32_t>(0x8000'0000 + ids));
        PutU32(section, ids + 16 + i * 8 + 4, 0x8000'0000 + 400);
    }
    PutU16(section, 400 + 14, 1);
    PutU32(section, 400 + 16 + 4, 440);
    file_ = SmallProgram({{".text", BytesOf("code"), 0}, {".rsrc", section, kResourceDirectory}});
    EXPECT_FALSE(Read());
}

TEST(FindEmbedded, PrefersTheNeutralOne) {
    const std::vector<Resource> resources{
        {10, 1, 0x407, {}}, {10, 1, 0, {}}, {10, 2, 0x409, {}}, {10, 2, 0x40C, {}}, {3, 1, 0, {}}};
    EXPECT_EQ(FindEmbedded(resources, 10, 1), &resources[1]);
    EXPECT_EQ(FindEmbedded(resources, 10, 2), &resources[2]);
    EXPECT_EQ(FindEmbedded(resources, 3, 2), nullptr);
}

}  // namespace
