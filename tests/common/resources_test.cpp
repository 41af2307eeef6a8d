#include "common/resources.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string_view>

namespace {

std::string_view Text(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

TEST(EmbeddedData, GivesTheBytesAsTheyWereEmbedded) {
    EXPECT_EQ(Text(EmbeddedData(nullptr, 901)), std::string_view("a\0b\r\n", 5));
}

TEST(EmbeddedData, IsEmptyForAMissingNumber) {
    EXPECT_TRUE(EmbeddedData(nullptr, 902).empty());
    EXPECT_TRUE(EmbeddedData(::GetModuleHandleW(L"kernel32.dll"), 901).empty());
}

TEST(EmbeddedData, IsEmptyForAnotherTypeOfResource) {
    EXPECT_TRUE(EmbeddedData(nullptr, 903).empty());
}

TEST(EmbeddedData, FindsACopyInWhateverLanguageThereIs) {
    EXPECT_EQ(Text(EmbeddedData(nullptr, 904)), "german");
}

TEST(EmbeddedData, GivesOneOfSeveralLanguages) {
    EXPECT_THAT(Text(EmbeddedData(nullptr, 905)), testing::AnyOf("neutral", "english"));
}

}  // namespace
