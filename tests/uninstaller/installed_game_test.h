#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "bench_parts/client_folder_test.h"
#include "bench_parts/registry_entry.h"
#include "bench_parts/running_copy.h"
#include "bench_parts/scratch_folder.h"
#include "common/com_apartment.h"
#include "common/tool_instance.h"
#include "config/tool_config.h"
#include "system/desktop_shortcut.h"
#include "system/installed_programs_entry.h"
#include "system/known_folder.h"

// "Bench Game", installed as the repair tool leaves it: a client folder with the startup program
// "bin\start.exe", data and the uninstaller, and an entry in the list of installed programs. The
// uninstaller is the one that runs. Entry and shortcut go with the object.
class InstalledGameTest : public bench::ClientFolderTest {
protected:
    InstalledGameTest() {
        toolConfig.programsDisplayName = L"Bench Game";
        toolConfig.shortcutName = L"Bench Game";
        toolConfig.startupExe = L"bin\\start.exe";
        toolConfig.repairToolName = L"repair.exe";
        bench::RemoveKey(EntryKey());
        std::filesystem::remove(Shortcut());
        Install(toolFolder);
    }
    ~InstalledGameTest() override {
        bench::RemoveKey(entryKey_);
        std::error_code ignored;  // Most tests leave none.
        std::filesystem::remove(shortcut_, ignored);
    }

    // Puts the game there and makes that the running uninstaller's folder.
    void Install(const std::filesystem::path& folder) {
        toolFolder = folder;
        toolExePath = folder / L"Uninstall.exe";
        bench::WriteFile(folder / L"Uninstall.exe", "MZ uninstaller");
        bench::WriteFile(folder / L"bin" / L"start.exe", "MZ start");
        bench::WriteFile(folder / L"data" / L"pack \u00fc.bin", "12345");
        Register();
    }

    static void Register() {
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
    std::filesystem::path shortcut_ = KnownFolder(FOLDERID_Desktop) / L"Bench Game.lnk";
};
