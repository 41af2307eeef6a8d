#include "common/tool_instance.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "bench_parts/call_hook.h"

namespace {

class LocateToolTest : public testing::Test {
protected:
    void TearDown() override {
        toolExePath.clear();
        toolFolder.clear();
    }
};

TEST_F(LocateToolTest, FolderIsTheTextBeforeTheLastSeparator) {
    const std::wstring longFolder = L"C:\\" + std::wstring(200, L'f');
    const struct {
        std::wstring exe;
        std::wstring folder;
    } cases[] = {
        {L"C:\\Games\\Kar voth\\tool.exe", L"C:\\Games\\Kar voth"},
        {L"C:\\Games/tool.exe", L"C:\\Games"},
        {L"\\\\server\\share\\tool.exe", L"\\\\server\\share"},
        {L"C:\\tool.exe", L"C:"},
        {longFolder + L"\\" + std::wstring(100, L't') + L".exe", longFolder},
    };
    for (const auto& [exe, folder] : cases) {
        const auto hook = bench::HookCall<decltype(&::GetModuleFileNameW)>(
            L"kernel32.dll", "GetModuleFileNameW",
            [&](HMODULE module, LPWSTR buffer, DWORD size) -> DWORD {
                EXPECT_EQ(module, nullptr);
                EXPECT_EQ(size, 260u);
                // A path that does not fit is truncated, with the terminator at the end.
                const size_t fits = std::min<size_t>(exe.size(), size - 1);
                buffer[exe.copy(buffer, fits)] = L'\0';
                return fits < exe.size() ? size : static_cast<DWORD>(fits);
            });
        LocateTool();
        EXPECT_EQ(toolExePath, exe.substr(0, 259));
        EXPECT_EQ(toolFolder, folder);
    }
}

}  // namespace
