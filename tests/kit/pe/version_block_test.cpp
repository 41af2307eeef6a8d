// That the block is what the resource compiler makes is in built_exe_test.py.

#include "kit/pe/version_block.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

VersionBlock SomeTexts() {
    return {{1, 2, 3, 4},
            0x409,
            L"0409",
            {{L"CompanyName", L"Brennick"}, {L"Empty", L""}, {L"ProductName", L"\u00C4 \u4E2D"}}};
}

TEST(ReadVersionTexts, GivesWhatMakeVersionResourceWrote) {
    const auto resource = MakeVersionResource(SomeTexts());
    ASSERT_TRUE(resource);
    const auto texts = ReadVersionTexts(*resource);
    ASSERT_EQ(texts.size(), 3u);
    for (size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(texts[i].name, SomeTexts().texts[i].name);
        EXPECT_EQ(texts[i].text, SomeTexts().texts[i].text);
    }
}

TEST(ReadVersionTexts, GivesNoneOfACutResource) {
    const ByteBuffer resource = MakeVersionResource(SomeTexts()).value();
    for (size_t size = 0; size < resource.size(); ++size) {
        ASSERT_THAT(ReadVersionTexts(ByteView(resource).first(size)), testing::IsEmpty()) << size;
    }
}

TEST(ReadVersionTexts, StopsAtABlockThatCannotBe) {
    const ByteBuffer whole = MakeVersionResource(SomeTexts()).value();
    // Offsets of the lengths of the root, the texts, their table, and the second text.
    for (const size_t offset : {0u, 92u, 128u, 204u}) {
        for (const int length : {0, 1, 5, 0xFFFF}) {
            ByteBuffer resource = whole;
            PutU16(resource, offset, static_cast<uint16_t>(length));
            EXPECT_LT(ReadVersionTexts(resource).size(), 2u) << offset << " " << length;
        }
    }
}

TEST(MakeVersionResource, RefusesTextsThatDoNotFit) {
    VersionBlock block = SomeTexts();
    block.texts[0].text.assign(32'000, L'x');
    EXPECT_TRUE(MakeVersionResource(block));
    block.texts[0].text.assign(32'767, L'x');
    EXPECT_FALSE(MakeVersionResource(block));
    block.texts[0].text.assign(1'000'000, L'x');
    EXPECT_FALSE(MakeVersionResource(block));
}

}  // namespace
