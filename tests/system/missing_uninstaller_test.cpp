// A tool that was built without an uninstaller: this test program has no resources.

#include <gtest/gtest.h>

#include "bench_parts/client_folder_test.h"
#include "common/resources.h"
#include "resource_ids.h"
#include "system/installed_programs_entry.h"
#include "system/uninstaller_file.h"

namespace {

class ToolWithoutUninstaller : public bench::ClientFolderTest {};

TEST_F(ToolWithoutUninstaller, WritesAndRegistersNothing) {
    ASSERT_TRUE(EmbeddedData(nullptr, ID_UNINSTALLER).empty());
    EXPECT_TRUE(WriteUninstaller());
    EXPECT_TRUE(bench::FolderListing(toolFolder).empty());
    std::wstring message;
    EXPECT_FALSE(RegisterProgramsAndFeatures(message));
    EXPECT_EQ(message,
              L"Could not register Programs and Features because Uninstall.exe was not written.");
    bench::WriteFile(std::filesystem::path(toolFolder) / L"Uninstall.exe", "from elsewhere");
    EXPECT_TRUE(WriteUninstaller());
    EXPECT_EQ(bench::ReadFile(std::filesystem::path(toolFolder) / L"Uninstall.exe"),
              "from elsewhere");
}

}  // namespace
