#include "common/resources.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

// The resources are in common_test.rc, in no language of the bench.
TEST(EmbeddedData, IsTheRawDataByNumberInAnyLanguage) {
    const auto bytes = EmbeddedData(nullptr, 901);
    EXPECT_EQ(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
              std::string_view("a\0b\r\n", 5));
    EXPECT_TRUE(EmbeddedData(nullptr, 902).empty());
    EXPECT_TRUE(EmbeddedData(nullptr, 903).empty()) << "another type";
    EXPECT_TRUE(EmbeddedData(::GetModuleHandleW(L"kernel32.dll"), 901).empty());
}

}  // namespace
