#include "common/tool_instance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "bench_parts/import_hook.h"

namespace {

std::wstring pretendedPath;

DWORD WINAPI GiveThePretendedPath(HMODULE module, LPWSTR buffer, DWORD size) {
    EXPECT_EQ(module, nullptr);
    EXPECT_EQ(size, 260u);
    // As Windows does it: a path that does not fit is cut, with the terminator at the end.
    const size_t fits = std::min<size_t>(pretendedPath.size(), size - 1);
    pretendedPath.copy(buffer, fits);
    buffer[fits] = L'\0';
    return fits < pretendedPath.size() ? size : static_cast<DWORD>(fits);
}

class LocateToolTest : public testing::Test {
protected:
    void TearDown() override {
        toolExePath.clear();
        toolFolder.clear();
    }

    static void LocateAt(std::wstring path) {
        pretendedPath = std::move(path);
        const bench::ImportHook hook(L"kernel32.dll", "GetModuleFileNameW",
                                     reinterpret_cast<void*>(&GiveThePretendedPath));
        ASSERT_TRUE(hook.Installed());
        LocateTool();
    }
};

TEST(ToolInstance, IsUnknownBeforeTheWindowIsCreated) {
    EXPECT_EQ(mainWindow, nullptr);
    EXPECT_TRUE(toolExePath.empty());
    EXPECT_TRUE(toolFolder.empty());
}

TEST_F(LocateToolTest, FindsTheRunningProgram) {
    LocateTool();
    EXPECT_TRUE(toolExePath.is_absolute());
    EXPECT_EQ(toolExePath.filename(), L"common_test.exe");
    EXPECT_EQ(toolFolder / toolExePath.filename(), toolExePath);
}

TEST_F(LocateToolTest, FolderIsTheTextBeforeTheLastSeparator) {
    LocateAt(L"C:\\Games\\Kar voth\\tool.exe");
    EXPECT_EQ(toolExePath.native(), L"C:\\Games\\Kar voth\\tool.exe");
    EXPECT_EQ(toolFolder.native(), L"C:\\Games\\Kar voth");
    LocateAt(L"C:\\Games/tool.exe");
    EXPECT_EQ(toolFolder.native(), L"C:\\Games");
    LocateAt(L"\\\\server\\share\\tool.exe");
    EXPECT_EQ(toolFolder.native(), L"\\\\server\\share");
    LocateAt(L"C:\\tool.exe");
    EXPECT_EQ(toolFolder.native(), L"C:");
}

TEST_F(LocateToolTest, PathThatDoesNotFitIsCut) {
    const std::wstring folder = L"C:\\" + std::wstring(200, L'f');
    LocateAt(folder + L"\\" + std::wstring(100, L't') + L".exe");
    EXPECT_EQ(toolExePath.native().size(), 259u);
    EXPECT_EQ(toolFolder.native(), folder);
}

}  // namespace
