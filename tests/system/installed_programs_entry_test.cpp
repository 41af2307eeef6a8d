#include "system/installed_programs_entry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cwchar>
#include <set>
#include <string>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/client_folder_test.h"
#include "bench_parts/current_folder.h"
#include "bench_parts/registry_entry.h"

namespace {

namespace fs = std::filesystem;
using bench::ReadKey;
using bench::RemoveKey;
using bench::StoredNumber;
using bench::StoredText;
using bench::StoredValue;
using bench::StoredValues;
using bench::StoreValue;
using testing::ElementsAre;

constexpr wchar_t kNotWritten[] =
    L"Could not register Programs and Features because Uninstall.exe was not written.";
constexpr wchar_t kNoKey[] = L"Could not register the game in Programs and Features.";
constexpr wchar_t kNotFinished[] =
    L"Could not finish writing the Programs and Features registry entry.";

const std::wstring kUninstallKeys = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
const std::vector<std::wstring> kAllNames{L"DisplayName",     L"Publisher",       L"DisplayVersion",
                                          L"InstallLocation", L"UninstallString", L"DisplayIcon",
                                          L"InstallDate",     L"URLInfoAbout",    L"EstimatedSize",
                                          L"NoModify",        L"NoRepair"};

// What the product asks of the registry.
struct RegistryCalls {
    std::vector<std::wstring> names;  // Of the values that it writes, refused ones included.
    int opened = 0;
    int closed = 0;
};

// A client folder with an uninstaller of 3 bytes, and a game of this test's own without an entry in
// the list of installed programs.
class InstalledProgramsEntry : public bench::ClientFolderTest {
protected:
    InstalledProgramsEntry() {
        toolConfig.programsDisplayName = L" Bench: \u00fc ";
        toolConfig.websiteUrl = L"\thttps://game.example/?a=b\n";
        bench::WriteFile(Uninstaller(), "MZ!");
        RemoveKey(keyPath_);
    }
    ~InstalledProgramsEntry() override {
        RemoveKey(keyPath_);
    }

    static fs::path Uninstaller() {
        return fs::path(toolFolder) / L"Uninstall.exe";
    }

    [[nodiscard]] std::optional<StoredValue> Stored(const std::wstring& name) const {
        const std::optional<StoredValues> values = ReadKey(keyPath_);
        return values && values->contains(name) ? std::optional(values->at(name)) : std::nullopt;
    }

    static bool Register() {
        std::wstring message = L"untouched";
        const bool isRegistered = RegisterProgramsAndFeatures(message);
        EXPECT_EQ(message, L"untouched");
        return isRegistered;
    }

    static std::wstring MessageOfFailure() {
        std::wstring message;
        EXPECT_FALSE(RegisterProgramsAndFeatures(message));
        return message;
    }

    // Registers the game while the writes with these numbers, counted from 0, are refused.
    static RegistryCalls RegisterRefusing(const std::set<size_t>& refused);

    std::wstring keyPath_ = kUninstallKeys + L"Quellstone.Bench_ \u00fc";
};

RegistryCalls InstalledProgramsEntry::RegisterRefusing(const std::set<size_t>& refused) {
    RegistryCalls calls;
    const auto create = bench::WatchCall<decltype(&::RegCreateKeyExW)>(
        L"advapi32.dll", "RegCreateKeyExW",
        [&](HKEY root, LPCWSTR, DWORD, LPWSTR className, DWORD options, REGSAM access,
            auto security, auto...) {
            EXPECT_EQ(root, HKEY_CURRENT_USER);
            EXPECT_EQ(className, nullptr);
            EXPECT_EQ(options, DWORD{REG_OPTION_NON_VOLATILE});
            EXPECT_EQ(access, REGSAM{KEY_SET_VALUE});
            EXPECT_EQ(security, nullptr);
            ++calls.opened;
        });
    const auto set = bench::HookCall<decltype(&::RegSetValueExW)>(
        L"advapi32.dll", "RegSetValueExW",
        [&](HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
            DWORD size) -> LSTATUS {
            if (type == REG_SZ) {
                // Checked here: the system stores a terminator even if it was not counted.
                const auto* const text = reinterpret_cast<const wchar_t*>(data);
                EXPECT_EQ(size, (std::wcslen(text) + 1) * sizeof(wchar_t)) << fs::path(name);
            }
            calls.names.emplace_back(name);
            return refused.contains(calls.names.size() - 1)
                       ? ERROR_ACCESS_DENIED
                       : bench::RealFunction<decltype(&::RegSetValueExW)>(
                             L"advapi32.dll", "RegSetValueExW")(key, name, reserved, type, data,
                                                                size);
        });
    const auto close = bench::WatchCall<decltype(&::RegCloseKey)>(L"advapi32.dll", "RegCloseKey",
                                                                  [&](HKEY) { ++calls.closed; });
    std::wstring message;
    EXPECT_EQ(RegisterProgramsAndFeatures(message), refused.empty());
    EXPECT_EQ(message, refused.empty() ? L"" : kNotFinished);
    return calls;
}

TEST_F(InstalledProgramsEntry, HasAllValues) {
    toolConfig.programsPublisher = L" Maker ";
    toolConfig.programsDisplayVersion = L"1.2.3-\u03b2";
    bench::WriteFile(fs::path(toolFolder) / L"data" / L"pack.bin", std::string(2046, 'x'));
    const auto today = bench::HookCall<decltype(&::GetLocalTime)>(L"kernel32.dll", "GetLocalTime",
                                                                  [](LPSYSTEMTIME time) -> void {
                                                                      *time = {};
                                                                      time->wYear = 2031;
                                                                      time->wMonth = 2;
                                                                      time->wDay = 3;
                                                                  });
    EXPECT_TRUE(Register());
    const std::wstring& folder = toolFolder;
    EXPECT_EQ(ReadKey(keyPath_),
              (StoredValues{{L"DisplayName", StoredText(L"Bench: \u00fc")},
                            {L"Publisher", StoredText(L"Maker")},
                            {L"DisplayVersion", StoredText(L"1.2.3-\u03b2")},
                            {L"InstallLocation", StoredText(folder)},
                            {L"UninstallString", StoredText(L"\"" + folder + L"\\Uninstall.exe\"")},
                            {L"DisplayIcon", StoredText(folder + L"\\Uninstall.exe,0")},
                            {L"InstallDate", StoredText(L"20310203")},
                            {L"URLInfoAbout", StoredText(L"https://game.example/?a=b")},
                            {L"EstimatedSize", StoredNumber(3)},
                            {L"NoModify", StoredNumber(1)},
                            {L"NoRepair", StoredNumber(1)}}));
}

TEST_F(InstalledProgramsEntry, IsOverwrittenValueByValue) {
    StoreValue(keyPath_, L"DisplayName", StoredNumber(7));
    StoreValue(keyPath_, L"EstimatedSize", StoredText(L"much"));
    StoreValue(keyPath_, L"URLInfoAbout", StoredText(L"https://former.example/"));
    StoreValue(keyPath_, L"Comments", StoredText(L"another program's"));
    for (std::wstring* version :
         {&toolConfig.programsDisplayVersion, &toolConfig.uninstallerProductVersion,
          &toolConfig.installerProductVersion, &toolConfig.downloaderVersion,
          &toolConfig.websiteUrl}) {
        *version = L" \t";
    }
    EXPECT_TRUE(Register());
    EXPECT_EQ(Stored(L"DisplayName"), StoredText(L"Bench: \u00fc"));
    EXPECT_EQ(Stored(L"EstimatedSize"), StoredNumber(1));
    EXPECT_EQ(Stored(L"DisplayVersion"), StoredText(L""));
    // Values that are not written stay.
    EXPECT_EQ(Stored(L"URLInfoAbout"), StoredText(L"https://former.example/"));
    EXPECT_EQ(Stored(L"Comments"), StoredText(L"another program's"));
}

TEST_F(InstalledProgramsEntry, HasTheClientFolderInTheToolsForm) {
    toolFolder = Outside().native() + L"/SPIEL \u00dc\\.";
    const std::wstring folder = toolFolder;
    EXPECT_TRUE(Register());
    EXPECT_EQ(Stored(L"InstallLocation"), StoredText(folder));
    EXPECT_EQ(Stored(L"UninstallString"), StoredText(L"\"" + folder + L"\\Uninstall.exe\""));

    const bench::CurrentFolder current(toolFolder);
    toolFolder.clear();
    EXPECT_TRUE(Register());
    EXPECT_EQ(Stored(L"InstallLocation"), StoredText(L""));
    EXPECT_EQ(Stored(L"UninstallString"), StoredText(L"\"Uninstall.exe\""));
    EXPECT_EQ(Stored(L"DisplayIcon"), StoredText(L"Uninstall.exe,0"));
    EXPECT_EQ(Stored(L"EstimatedSize"), StoredNumber(0));
}

TEST_F(InstalledProgramsEntry, HasTheIconOfTheStartupProgramIfThereIsOne) {
    bench::WriteFile(fs::path(toolFolder) / L"bin" / L"start.exe", "MZ");
    bench::WriteFile(Outside() / L"run.exe", "MZ");
    fs::create_directory(fs::path(toolFolder) / L"folder.exe");
    const std::pair<std::wstring, fs::path> cases[] = {
        {L"bin\\start.exe", fs::path(toolFolder) / L"bin" / L"start.exe"},
        {Outside() / L"run.exe", Outside() / L"run.exe"},
        {L"", Uninstaller()},
        {L"missing.exe", Uninstaller()},
        {L"folder.exe", Uninstaller()},
    };
    for (const auto& [startupExe, icon] : cases) {
        toolConfig.startupExe = startupExe;
        EXPECT_TRUE(Register());
        EXPECT_EQ(Stored(L"DisplayIcon"), StoredText(icon.native() + L",0"));
    }
}

TEST_F(InstalledProgramsEntry, IsNotWrittenWithoutAnUninstaller) {
    fs::remove(Uninstaller());
    EXPECT_EQ(MessageOfFailure(), kNotWritten);
    fs::create_directory(Uninstaller());
    EXPECT_EQ(MessageOfFailure(), kNotWritten);
    EXPECT_FALSE(ReadKey(keyPath_));
}

TEST_F(InstalledProgramsEntry, FailsWithoutAKey) {
    {
        const auto hook = bench::HookCall<decltype(&::RegCreateKeyExW)>(
            L"advapi32.dll", "RegCreateKeyExW",
            [](auto, auto, auto, auto, auto, auto, auto, PHKEY key, auto) -> LSTATUS {
                *key = nullptr;
                return ERROR_SUCCESS;
            });
        EXPECT_EQ(MessageOfFailure(), kNoKey);
    }
    // Longer than a key's name can be.
    toolConfig.programsDisplayName = std::wstring(300, L'x');
    EXPECT_EQ(MessageOfFailure(), kNoKey);
}

TEST_F(InstalledProgramsEntry, GetsEveryValueThatIsNotRefused) {
    std::set<size_t> all;
    for (size_t refused = 0; refused < kAllNames.size(); ++refused) {
        RemoveKey(keyPath_);
        const RegistryCalls calls = RegisterRefusing({refused});
        EXPECT_EQ(calls.names, kAllNames);
        EXPECT_EQ(calls.opened, 1);
        EXPECT_EQ(calls.closed, 1);
        const std::optional<StoredValues> values = ReadKey(keyPath_);
        ASSERT_TRUE(values);
        EXPECT_EQ(values->size(), kAllNames.size() - 1);
        EXPECT_FALSE(values->contains(kAllNames[refused]));
        all.insert(refused);
    }
    EXPECT_EQ(RegisterRefusing(all).names, kAllNames);
}

TEST_F(InstalledProgramsEntry, NamesTheRegisteredFolder) {
    EXPECT_EQ(RegisteredFolder(toolConfig), std::nullopt);
    EXPECT_TRUE(Register());
    EXPECT_EQ(RegisteredFolder(toolConfig), toolFolder);
    const std::wstring longPath(1000, L'x');
    StoreValue(keyPath_, L"InstallLocation", StoredText(longPath));
    EXPECT_EQ(RegisteredFolder(toolConfig), longPath);
    // Without its terminator, as some programs store it.
    StoredValue unterminated = StoredText(L"C:\\Games");
    unterminated.bytes.resize(unterminated.bytes.size() - sizeof(wchar_t));
    StoreValue(keyPath_, L"InstallLocation", unterminated);
    EXPECT_EQ(RegisteredFolder(toolConfig), L"C:\\Games");
    for (const StoredValue& value : {StoredText(L""), StoredNumber(1)}) {
        StoreValue(keyPath_, L"InstallLocation", value);
        EXPECT_EQ(RegisteredFolder(toolConfig), std::nullopt);
    }
}

TEST_F(InstalledProgramsEntry, IsDeletedWithTheKeysBelowIt) {
    EXPECT_TRUE(DeleteInstalledProgramsEntry(toolConfig));
    EXPECT_TRUE(Register());
    StoreValue(keyPath_ + L"\\below", L"value", StoredNumber(1));
    const std::wstring neighbor = keyPath_ + L" 2";
    StoreValue(neighbor, L"DisplayName", StoredText(L"Bench \u00fc 2"));
    EXPECT_TRUE(DeleteInstalledProgramsEntry(toolConfig));
    EXPECT_FALSE(ReadKey(keyPath_));
    EXPECT_TRUE(ReadKey(neighbor));
    RemoveKey(neighbor);
    const auto hook = bench::HookCall<decltype(&::RegDeleteTreeW)>(
        L"advapi32.dll", "RegDeleteTreeW", [](auto...) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    EXPECT_FALSE(DeleteInstalledProgramsEntry(toolConfig));
}

}  // namespace
