// A game's folder with DLLs named like system DLLs, as mods leave them there.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include "bench_parts/registry_entry.h"
#include "bench_parts/running_copy.h"
#include "bench_parts/scratch_folder.h"
#include "extract/process_runner.h"
#include "window/tool_test.h"

// Must follow the platform header.
#include <tlhelp32.h>

namespace {

using testing::IsEmpty;

// What the tool calls, what that calls in turn, and what mods are known to use. Without
// - DLLs on Windows' list of known DLLs, which no folder can replace;
// - what Wine's own DLLs load from the exe's folder, whatever the program has asked for:
//   version.dll (its user32.dll), uxtheme.dll (comctl32.dll), msimg32.dll (uxtheme.dll),
//   windowscodecs.dll and propsys.dll (gdiplus.dll), crypt32.dll (winhttp.dll).
constexpr const wchar_t* kPlantedNames[] = {
    L"winhttp.dll",  L"bcrypt.dll",  L"gdiplus.dll",   L"comctl32.dll", L"winspool.drv",
    L"dwmapi.dll",   L"cryptsp.dll", L"cryptbase.dll", L"userenv.dll",  L"dnsapi.dll",
    L"iphlpapi.dll", L"mswsock.dll", L"secur32.dll",   L"sspicli.dll",  L"oleacc.dll",
    L"winmm.dll",    L"dinput8.dll", L"d3d9.dll",      L"dxgi.dll",     L"apphelp.dll",
    L"netapi32.dll", L"jsproxy.dll", L"usp10.dll",     L"ncrypt.dll",   L"schannel.dll",
    L"webio.dll",    L"wintypes.dll"};

void Plant(const std::filesystem::path& path) {
    bench::WriteFile(path, bench::ReadFile(bench::FolderOfThisProgram() / L"planted_dll.dll"));
}

bool WasLoaded(const std::filesystem::path& planted) {
    return std::filesystem::exists(planted.native() + L".loaded");
}

// Where a process has loaded the DLL of this name from, in lower case; empty if it has not.
std::wstring PathOfModule(HANDLE process, const std::wstring& name) {
    const auto modules = AdoptHandle<KernelHandle>(
        ::CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, ::GetProcessId(process)));
    MODULEENTRY32W module{};
    module.dwSize = sizeof module;
    BOOL found = ::Module32FirstW(modules.get(), &module);
    while (found && ::lstrcmpiW(module.szModule, name.c_str()) != 0) {
        found = ::Module32NextW(modules.get(), &module);
    }
    return found ? ::CharLowerW(module.szExePath) : L"";
}

// Wine prefers its own DLLs unless it is told otherwise, here for one program. Windows does not
// know the key.
class WineTakesPlantedDlls {
public:
    explicit WineTakesPlantedDlls(const std::wstring& program)
        : key_(L"Software\\Wine\\AppDefaults\\" + program) {
        Set(L"version");
        for (std::wstring name : kPlantedNames) {
            Set(name.ends_with(L".dll") ? name.substr(0, name.size() - 4) : name);
        }
    }
    ~WineTakesPlantedDlls() {
        bench::RemoveKey(key_);
    }
    WineTakesPlantedDlls(const WineTakesPlantedDlls&) = delete;
    WineTakesPlantedDlls& operator=(const WineTakesPlantedDlls&) = delete;

private:
    void Set(const std::wstring& name) const {
        bench::StoreValue(key_ + L"\\DllOverrides", name, bench::StoredText(L"native,builtin"));
    }

    std::wstring key_;
};

class PlantedDlls : public bench::ToolTest {
protected:
    PlantedDlls() {
        for (const wchar_t* name : kPlantedNames) {
            Plant(Client() / name);
        }
    }

    [[nodiscard]] std::vector<std::wstring> Loaded() const {
        std::vector<std::wstring> names;
        std::ranges::copy_if(kPlantedNames, std::back_inserter(names),
                             [this](const wchar_t* name) { return WasLoaded(Client() / name); });
        return names;
    }

private:
    WineTakesPlantedDlls setting_{L"repair.exe"};
};

TEST_F(PlantedDlls, AreNotLoadedByTheTool) {
    const bench::ToolWindow& window = StartTool();
    ASSERT_THAT(Loaded(), IsEmpty());
    // Version 6, which the manifest asks for, not the one in the system folder.
    EXPECT_THAT(PathOfModule(window.Process(), L"comctl32.dll"),
                testing::HasSubstr(L"\\winsxs\\amd64_microsoft.windows.common-controls_"));
    // From here on Wine's winhttp.dll would load it.
    std::filesystem::remove(Client() / L"bcrypt.dll");
    Repair();
    EXPECT_TRUE(window.CanPress(ButtonId::RepairClient)) << "the repair failed";
    CloseTool();
    EXPECT_THAT(Loaded(), IsEmpty());
}

// Without this the test above would prove nothing.
TEST(PlantedDll, IsLoadedByAProgramThatImportsItsName) {
    const WineTakesPlantedDlls setting(L"program.exe");
    const bench::ScratchFolder folder;
    const std::filesystem::path program = folder.Path() / L"program.exe";
    const std::filesystem::path planted = folder.Path() / L"version.dll";
    bench::WriteFile(program,
                     bench::ReadFile(bench::FolderOfThisProgram() / L"plain_importer.exe"));
    Plant(planted);
    ASSERT_TRUE(RunHiddenAndWait(L"\"" + program.native() + L"\""));
    EXPECT_TRUE(WasLoaded(planted));
}

}  // namespace
