#include "common/resources.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string_view>

namespace {

std::string_view Text(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The resources are in common_test.rc.
TEST(EmbeddedData, IsTheResourceByNumberInAnyLanguage) {
    EXPECT_EQ(Text(EmbeddedData(nullptr, 901)), std::string_view("a\0b\r\n", 5));
    EXPECT_EQ(Text(EmbeddedData(nullptr, 904)), "german");
    EXPECT_THAT(Text(EmbeddedData(nullptr, 905)), testing::AnyOf("neutral", "english"));
}

TEST(EmbeddedData, IsEmptyForAMissingNumberOrAnotherType) {
    EXPECT_TRUE(EmbeddedData(nullptr, 902).empty());
    EXPECT_TRUE(EmbeddedData(nullptr, 903).empty());
    EXPECT_TRUE(EmbeddedData(::GetModuleHandleW(L"kernel32.dll"), 901).empty());
}

}  // namespace
