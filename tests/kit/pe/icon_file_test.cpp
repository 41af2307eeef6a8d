#include "kit/pe/icon_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/pe/small_program.h"

namespace {

const ByteBuffer kSmallPicture = BytesOf("a small picture");
const ByteBuffer kLargePicture = BytesOf("\x89PNG and more");

constexpr uint64_t kProgramBytes = 1000;

std::vector<IconPicture> TwoPictures() {
    return {{16, 24, 0, 1, 32, kSmallPicture}, {0, 0, 16, 1, 4, kLargePicture}};
}

std::string TextOf(ByteView bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

TEST(ReadIconFile, GivesThePictures) {
    const ByteBuffer file = IconFile(TwoPictures());
    const auto pictures = ReadIconFile(file);
    ASSERT_TRUE(pictures);
    ASSERT_EQ(pictures->size(), 2u);
    EXPECT_EQ(pictures->at(0).Width(), 16);
    EXPECT_EQ(pictures->at(0).Height(), 24);
    EXPECT_EQ(pictures->at(0).bitsPerPixel, 32);
    EXPECT_EQ(TextOf(pictures->at(0).bytes), "a small picture");
    EXPECT_EQ(pictures->at(1).Width(), 256);
    EXPECT_EQ(pictures->at(1).Height(), 256);
    EXPECT_EQ(pictures->at(1).colors, 16);
    EXPECT_EQ(TextOf(pictures->at(1).bytes), "\x89PNG and more");
    EXPECT_EQ(IconFile(*pictures), file);
}

TEST(ReadIconFile, RefusesEveryCutFile) {
    const ByteBuffer file = IconFile(TwoPictures());
    for (size_t size = 0; size < file.size(); ++size) {
        ASSERT_FALSE(ReadIconFile(ByteView(file).first(size))) << size;
    }
}

TEST(ReadIconFile, RefusesNumbersThatCannotBe) {
    struct Row {
        size_t offset;
        uint32_t number;
        const char* what;
    };
    const Row rows[] = {
        {0, 0x0001'0001, "reserved number"},
        {2, 0x0002'0002, "a cursor"},
        {2, 0x0000'0001, "no picture"},
        {2, 0xFFFF'0001, "more pictures than bytes"},
        {14, 0, "an empty picture"},
        {14, 0xFFFF'FFFF, "a picture that overflows"},
        {18, 0xFFFF'FFFF, "a picture far behind the end"},
        {18, 6, "a picture within the directory"},
    };
    for (const Row& row : rows) {
        ByteBuffer file = IconFile(TwoPictures());
        PutU32(file, row.offset, row.number);
        EXPECT_FALSE(ReadIconFile(file)) << row.what;
    }
}

TEST(ReadIconFile, RefusesPicturesThatShareBytes) {
    ByteBuffer file = IconFile(TwoPictures());
    // The second picture is all of both.
    PutU32(file, 6 + 16 + 8, 28);
    PutU32(file, 6 + 16 + 12, 6 + 32);
    EXPECT_FALSE(ReadIconFile(file));
}

TEST(IconGroup, NumbersThePicturesFromOneOn) {
    EXPECT_EQ(TextOf(IconGroup(TwoPictures())), std::string("\0\0\1\0\2\0"
                                                            "\x10\x18\0\0\1\0\x20\0\x0F\0\0\0\1\0"
                                                            "\0\0\x10\0\1\0\4\0\x0D\0\0\0\2\0",
                                                            34));
}

TEST(IconGroup, FillsInWhatIconFilesLeaveOut) {
    for (const auto& [colors, bits] : {std::pair{0, 0}, {1, 0}, {2, 1}, {16, 4}, {17, 5}}) {
        const ByteBuffer group =
            IconGroup({{16, 16, static_cast<uint8_t>(colors), 0, 0, kSmallPicture}});
        EXPECT_EQ(std::to_integer<int>(group[10]), 1) << colors;
        EXPECT_EQ(std::to_integer<int>(group[12]), bits) << colors;
    }
}

TEST(ReadIconGroup, GivesThePicturesOfTheirResources) {
    const ByteBuffer group = IconGroup(TwoPictures());
    std::vector<Resource> resources{{kIconType, 1, 0, kSmallPicture},
                                    {kIconType, 2, 0, kLargePicture},
                                    {kIconGroupType, 101, 0, group}};
    const auto pictures = ReadIconGroup(resources, 101, kProgramBytes);
    ASSERT_TRUE(pictures);
    EXPECT_EQ(IconFile(*pictures), IconFile(TwoPictures()));

    EXPECT_FALSE(ReadIconGroup(resources, 102, kProgramBytes));
    resources[2].bytes = ByteView(group).first(group.size() - 1);
    EXPECT_FALSE(ReadIconGroup(resources, 101, kProgramBytes)) << "cut";
    resources[2].bytes = group;
    resources.erase(resources.begin());
    EXPECT_FALSE(ReadIconGroup(resources, 101, kProgramBytes)) << "a picture is missing";
}

TEST(ReadIconGroup, RefusesAPictureThatIsNamedTwice) {
    ByteBuffer group = IconGroup(TwoPictures());
    PutU16(group, 6 + 14 + 12, 1);  // The number of the second picture.
    const std::vector<Resource> resources{{kIconType, 1, 0, kSmallPicture},
                                          {kIconGroupType, 101, 0, group}};
    EXPECT_FALSE(ReadIconGroup(resources, 101, kProgramBytes));
}

TEST(ReadIconGroup, RefusesPicturesLargerThanTheProgram) {
    const ByteBuffer group = IconGroup(TwoPictures());
    const std::vector<Resource> resources{{kIconType, 1, 0, kSmallPicture},
                                          {kIconType, 2, 0, kSmallPicture},
                                          {kIconGroupType, 101, 0, group}};
    EXPECT_TRUE(ReadIconGroup(resources, 101, 2 * kSmallPicture.size()));
    EXPECT_FALSE(ReadIconGroup(resources, 101, 2 * kSmallPicture.size() - 1));
}

TEST(ReadIconGroup, PrefersTheNeutralPicture) {
    const ByteBuffer group = IconGroup({TwoPictures()[0]});
    const std::vector<Resource> resources{{kIconType, 1, 0x409, kLargePicture},
                                          {kIconType, 1, 0, kSmallPicture},
                                          {kIconType, 1, 0x407, kLargePicture},
                                          {kIconGroupType, 101, 0, group}};
    const auto pictures = ReadIconGroup(resources, 101, kProgramBytes);
    ASSERT_TRUE(pictures);
    EXPECT_EQ(TextOf(pictures->at(0).bytes), "a small picture");
}

}  // namespace
