#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "bench_parts/call_hook.h"
#include "bench_parts/client_folder_test.h"
#include "bench_parts/registry_entry.h"
#include "common/com_apartment.h"
#include "common/paths.h"
#include "common/tool_instance.h"
#include "config/tool_config.h"
#include "system/desktop_shortcut.h"
#include "system/installed_programs_entry.h"
#include "system/known_folder.h"
#include "system/startup_program.h"
#include "uninstaller/client_removal.h"

// "Bench Game", installed as the repair tool leaves it: a client folder with the startup program
// "bin\start.exe", data and the uninstaller, and an entry in the list of installed programs. The
// uninstaller is the one that runs. Entry and shortcut are removed with the object.
class InstalledGameTest : public bench::ClientFolderTest {
protected:
    InstalledGameTest() {
        toolConfig.programsDisplayName = L"Bench Game";
        toolConfig.shortcutName = L"Bench Game";
        toolConfig.startupExe = L"bin\\start.exe";
        toolConfig.repairToolName = L"repair.exe";
        bench::RemoveKey(entryKey_);
        std::filesystem::remove(shortcut_);
        Install(toolFolder);
    }
    ~InstalledGameTest() override {
        bench::RemoveKey(entryKey_);
        std::error_code ignored;  // Most tests leave none.
        std::filesystem::remove(shortcut_, ignored);
    }

    // Puts the game there and makes that the running uninstaller's folder.
    static void Install(const std::filesystem::path& folder) {
        toolFolder = folder;
        toolExePath = folder / L"Uninstall.exe";
        bench::WriteFile(toolExePath, "MZ uninstaller");
        bench::WriteFile(folder / L"bin" / L"start.exe", "MZ start");
        bench::WriteFile(folder / L"data" / L"pack \u00fc.bin", "12345");
        std::wstring message;
        ASSERT_TRUE(RegisterProgramsAndFeatures(message));
    }

    // Makes the entry name another folder.
    void RegisterFolder(const std::wstring& folder) const {
        bench::StoreValue(entryKey_, L"InstallLocation", bench::StoredText(folder));
    }

    void PutShortcut() const {
        std::wstring message;
        ASSERT_TRUE(CreateDesktopShortcut(message));
        ASSERT_TRUE(std::filesystem::exists(shortcut_));
    }

    [[nodiscard]] const std::wstring& EntryKey() const {
        return entryKey_;
    }
    [[nodiscard]] const std::filesystem::path& Shortcut() const {
        return shortcut_;
    }

private:
    ComApartment apartment_;
    std::wstring entryKey_ =
        L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Quellstone.Bench Game";
    std::filesystem::path shortcut_ =
        std::filesystem::path(KnownFolder(FOLDERID_Desktop)) / L"Bench Game.lnk";
};

class RemoveGameTest : public InstalledGameTest {
protected:
    // What the guard approves of a client that is not in use.
    static ApprovedClient Client() {
        return {*WeaklyCanonical(toolFolder), *WeaklyCanonical(toolExePath),
                *WeaklyCanonical(ResolveStartupExePath(toolConfig, toolFolder))};
    }

    static RemovalResult RemoveInstalledGame() {
        return RemoveGame(Client());
    }

    static decltype(&::CreateFileW) RealCreateFile() {
        return bench::RealFunction<decltype(&::CreateFileW)>(bench::kKernel32, "CreateFileW");
    }
};

// Removes the game at the end from a folder that may not be the test's own, and the folder if it
// did not exist before.
class GameInFolder {
public:
    explicit GameInFolder(std::filesystem::path folder) : folder_(std::move(folder)) {}
    ~GameInFolder() {
        std::error_code ignored;
        for (const wchar_t* const entry : {L"bin", L"data", L"Uninstall.exe"}) {
            std::filesystem::remove_all(folder_ / entry, ignored);
        }
        if (!existedBefore_) {
            std::filesystem::remove(folder_, ignored);
        }
    }
    GameInFolder(const GameInFolder&) = delete;
    GameInFolder& operator=(const GameInFolder&) = delete;

private:
    std::filesystem::path folder_;
    bool existedBefore_ = std::filesystem::exists(folder_);
};
