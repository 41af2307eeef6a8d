// Names and paths that follow from the configuration alone.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

#include "config/tool_config.h"
#include "system/desktop_shortcut.h"
#include "system/startup_program.h"
#include "system/uninstaller_file.h"

namespace {

TEST(ShortcutFileName, IsASafeNameThatEndsInLnk) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"Game", L"Game.lnk"},
        {L"My:Game?", L"My_Game_.lnk"},
        {L"", L"Karvoth.lnk"},
        {L" \t\r\n", L"Karvoth.lnk"},
        {L"  Game  ", L"Game.lnk"},
        {L"Game.exe", L"Game.exe.lnk"},
        {L"Game.lnk", L"Game.lnk"},
        {L"Game.LNK", L"Game.LNK"},
        {L"Gamelnk", L"Gamelnk.lnk"},
        {L".lnk", L".lnk.lnk"},
        // The colon is replaced first, so nothing names a stream.
        {L"Game.lnk:stream", L"Game.lnk_stream.lnk"},
        {L"a\\b/c.lnk", L"a_b_c.lnk"},
        {L"\u00dcber \u6e38\u620f", L"\u00dcber \u6e38\u620f.lnk"},
    };
    ToolConfig config;
    for (const auto& [shortcutName, fileName] : cases) {
        config.shortcutName = shortcutName;
        EXPECT_EQ(ShortcutFileName(config), fileName);
    }
}

TEST(ResolveStartupExePath, IsBelowTheClientFolderIfRelative) {
    const struct {
        const wchar_t* startupExe;
        const wchar_t* clientFolder;
        const wchar_t* path;
    } cases[] = {
        {L"patcher.exe", L"D:\\Games", L"D:\\Games\\patcher.exe"},
        {L"bin\\start.exe", L"D:\\Games", L"D:\\Games\\bin\\start.exe"},
        {L"bin/start.exe", L"D:\\Games", L"D:\\Games\\bin/start.exe"},
        {L"..\\start.exe", L"D:\\Games", L"D:\\Games\\..\\start.exe"},
        {L" ", L"D:\\Games", L"D:\\Games\\ "},
        {L"\u00fcber.exe", L"D:\\Games", L"D:\\Games\\\u00fcber.exe"},
        // A bare drive means its root.
        {L"patcher.exe", L"C:", L"C:\\patcher.exe"},
        {L"bin\\start.exe", L"", L"bin\\start.exe"},
        // The shell counts this as relative; joining then starts at the root of the drive.
        {L"/run.exe", L"D:\\Games", L"D:/run.exe"},
        // Not relative.
        {L"E:\\Other\\run.exe", L"D:\\Games", L"E:\\Other\\run.exe"},
        {L"E:/Other/run.exe", L"D:\\Games", L"E:/Other/run.exe"},
        {L"\\run.exe", L"D:\\Games", L"\\run.exe"},
        {L"\\\\server\\share\\run.exe", L"D:\\Games", L"\\\\server\\share\\run.exe"},
        {L"D:run.exe", L"D:\\Games", L"D:run.exe"},
        {L"", L"D:\\Games", L""},
    };
    ToolConfig config;
    for (const auto& [startupExe, clientFolder, path] : cases) {
        config.startupExe = startupExe;
        EXPECT_EQ(ResolveStartupExePath(config, clientFolder), path);
    }
}

TEST(UninstallerPath, IsInTheClientFolder) {
    EXPECT_EQ(UninstallerPath(L"D:\\Games"), L"D:\\Games\\Uninstall.exe");
    EXPECT_EQ(UninstallerPath(L"C:"), L"C:\\Uninstall.exe");
    EXPECT_EQ(UninstallerPath(L""), L"Uninstall.exe");
}

}  // namespace
