#include "system/known_folder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

TEST(KnownFolder, IsEmptyForAnUnknownId) {
    const std::filesystem::path desktop = KnownFolder(FOLDERID_Desktop);
    EXPECT_TRUE(desktop.is_absolute());
    EXPECT_TRUE(std::filesystem::is_directory(desktop));
    constexpr GUID kUnknownId{
        0x7c1c2f6e, 0x53a1, 0x4e0b, {0x9d, 0x11, 0x42, 0x6a, 0x80, 0x3e, 0x55, 0x01}};
    EXPECT_TRUE(KnownFolder(kUnknownId).empty());
}

}  // namespace
