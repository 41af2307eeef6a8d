#include "system/installed_programs_entry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cwchar>
#include <set>
#include <vector>

#include "bench_parts/client_folder_test.h"
#include "bench_parts/current_folder.h"
#include "bench_parts/import_hook.h"
#include "bench_parts/registry_entry.h"

using bench::ReadKey;
using bench::RemoveKey;
using bench::StoredNumber;
using bench::StoredText;
using bench::StoredValue;
using bench::StoredValues;
using bench::StoreValue;

namespace {

namespace fs = std::filesystem;
using bench::ImportHook;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr wchar_t kNotWritten[] =
    L"Could not register Programs and Features because Uninstall.exe was not written.";
constexpr wchar_t kNoKey[] = L"Could not register the game in Programs and Features.";
constexpr wchar_t kNotFinished[] =
    L"Could not finish writing the Programs and Features registry entry.";

const std::wstring kUninstallKeys = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";

std::wstring Today() {
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    const std::wstring digits = std::to_wstring(now.wYear * 10'000U + now.wMonth * 100U + now.wDay);
    return std::wstring(8 - digits.size(), L'0') + digits;
}

// A client folder with an uninstaller of 3 bytes, and a game of this test's own in the list of
// installed programs, which is not there yet and goes afterwards.
class RegisterProgramsAndFeaturesTest : public bench::ClientFolderTest {
protected:
    RegisterProgramsAndFeaturesTest() {
        toolConfig.programsDisplayName = L"Bench \u00fc";
        bench::WriteFile(toolFolder / L"Uninstall.exe", "MZ!");
        RemoveKey(keyPath_);
    }
    ~RegisterProgramsAndFeaturesTest() override {
        RemoveKey(keyPath_);
    }

    [[nodiscard]] const std::wstring& KeyPath() const {
        return keyPath_;
    }

    [[nodiscard]] std::optional<StoredValue> Stored(const std::wstring& name) const {
        const std::optional<StoredValues> values = ReadKey(keyPath_);
        if (!values || !values->contains(name)) {
            return std::nullopt;
        }
        return values->at(name);
    }

private:
    std::wstring keyPath_ = kUninstallKeys + L"Quellstone.Bench \u00fc";
};

bool Register() {
    std::wstring message = L"untouched";
    const bool registered = RegisterProgramsAndFeatures(message);
    EXPECT_EQ(message, L"untouched");
    return registered;
}

std::wstring MessageOfFailure() {
    std::wstring message;
    EXPECT_FALSE(RegisterProgramsAndFeatures(message));
    return message;
}

TEST_F(RegisterProgramsAndFeaturesTest, WritesTheWholeEntry) {
    toolConfig.programsPublisher = L" Maker ";
    toolConfig.programsDisplayVersion = L"1.2.3-\u03b2";
    toolConfig.websiteUrl = L"https://game.example/?a=b";
    bench::WriteFile(toolFolder / L"data" / L"pack.bin", std::string(2046, 'x'));
    const std::wstring before = Today();
    EXPECT_TRUE(Register());

    std::optional<StoredValues> values = ReadKey(KeyPath());
    ASSERT_TRUE(values);
    EXPECT_THAT((*values)[L"InstallDate"], AnyOf(StoredText(before), StoredText(Today())));
    values->erase(L"InstallDate");
    const std::wstring& folder = toolFolder.native();
    EXPECT_EQ(*values,
              (StoredValues{{L"DisplayName", StoredText(L"Bench \u00fc")},
                            {L"Publisher", StoredText(L"Maker")},
                            {L"DisplayVersion", StoredText(L"1.2.3-\u03b2")},
                            {L"InstallLocation", StoredText(folder)},
                            {L"UninstallString", StoredText(L"\"" + folder + L"\\Uninstall.exe\"")},
                            {L"DisplayIcon", StoredText(folder + L"\\Uninstall.exe,0")},
                            {L"URLInfoAbout", StoredText(L"https://game.example/?a=b")},
                            {L"EstimatedSize", StoredNumber(3)},
                            {L"NoModify", StoredNumber(1)},
                            {L"NoRepair", StoredNumber(1)}}));
}

void WINAPI TellLocalTime(LPSYSTEMTIME time) {
    *time = {};
    time->wYear = 2031;
    time->wMonth = 2;
    time->wDay = 3;
}

TEST_F(RegisterProgramsAndFeaturesTest, DatesTheEntryByTheUsersOwnCalendar) {
    const ImportHook hook(L"kernel32.dll", "GetLocalTime", reinterpret_cast<void*>(&TellLocalTime));
    ASSERT_TRUE(hook.Installed());
    EXPECT_TRUE(Register());
    EXPECT_EQ(Stored(L"InstallDate"), StoredText(L"20310203"));
}

TEST_F(RegisterProgramsAndFeaturesTest, WritesAnEmptyVersionAndNoEmptyWebsite) {
    for (std::wstring* version :
         {&toolConfig.programsDisplayVersion, &toolConfig.uninstallerProductVersion,
          &toolConfig.installerProductVersion, &toolConfig.downloaderVersion}) {
        *version = L" ";
    }
    toolConfig.websiteUrl = L"\t";
    EXPECT_TRUE(Register());
    EXPECT_EQ(Stored(L"DisplayVersion"), StoredText(L""));
    EXPECT_EQ(Stored(L"URLInfoAbout"), std::nullopt);
}

TEST_F(RegisterProgramsAndFeaturesTest, NamesTheKeyAfterTheDisplayName) {
    toolConfig.programsDisplayName = L" A/B: X?\n";
    const std::wstring keyPath = kUninstallKeys + L"Quellstone.A_B_ X_";
    RemoveKey(keyPath);
    EXPECT_TRUE(Register());
    const std::optional<StoredValues> values = ReadKey(keyPath);
    RemoveKey(keyPath);
    ASSERT_TRUE(values);
    EXPECT_EQ(values->at(L"DisplayName"), StoredText(L"A/B: X?"));
}

TEST_F(RegisterProgramsAndFeaturesTest, LeavesTheEntryOfAnOlderNameAlone) {
    EXPECT_TRUE(Register());
    const std::optional<StoredValues> former = ReadKey(KeyPath());
    toolConfig.programsDisplayName = L"Bench newer";
    const std::wstring newKeyPath = kUninstallKeys + L"Quellstone.Bench newer";
    EXPECT_TRUE(Register());
    EXPECT_TRUE(ReadKey(newKeyPath));
    RemoveKey(newKeyPath);
    EXPECT_EQ(ReadKey(KeyPath()), former);
}

TEST_F(RegisterProgramsAndFeaturesTest, OverwritesAnExistingEntryValueByValue) {
    StoreValue(KeyPath(), L"DisplayName", StoredNumber(7));
    StoreValue(KeyPath(), L"EstimatedSize", StoredText(L"much"));
    StoreValue(KeyPath(), L"URLInfoAbout", StoredText(L"https://former.example/"));
    StoreValue(KeyPath(), L"Comments", StoredText(L"somebody else's"));
    EXPECT_TRUE(Register());
    EXPECT_EQ(Stored(L"DisplayName"), StoredText(L"Bench \u00fc"));
    EXPECT_EQ(Stored(L"EstimatedSize"), StoredNumber(1));
    // What is not written stays.
    EXPECT_EQ(Stored(L"URLInfoAbout"), StoredText(L"https://former.example/"));
    EXPECT_EQ(Stored(L"Comments"), StoredText(L"somebody else's"));
}

TEST_F(RegisterProgramsAndFeaturesTest, KeepsTheClientFolderAsItIsHeld) {
    const fs::path held = Outside().native() + L"/SPIEL \u00dc\\.";
    toolFolder = held;
    EXPECT_TRUE(Register());
    EXPECT_EQ(Stored(L"InstallLocation"), StoredText(held.native()));
    EXPECT_EQ(Stored(L"UninstallString"), StoredText(L"\"" + held.native() + L"\\Uninstall.exe\""));
}

TEST_F(RegisterProgramsAndFeaturesTest, WorksInTheCurrentFolderWithoutAClientFolder) {
    const bench::CurrentFolder current(toolFolder);
    toolFolder.clear();
    EXPECT_TRUE(Register());
    EXPECT_EQ(Stored(L"InstallLocation"), StoredText(L""));
    EXPECT_EQ(Stored(L"UninstallString"), StoredText(L"\"Uninstall.exe\""));
    EXPECT_EQ(Stored(L"DisplayIcon"), StoredText(L"Uninstall.exe,0"));
    EXPECT_EQ(Stored(L"EstimatedSize"), StoredNumber(0));
}

TEST_F(RegisterProgramsAndFeaturesTest, ShowsTheIconOfTheStartupProgram) {
    toolConfig.startupExe = L"bin\\start.exe";
    bench::WriteFile(toolFolder / L"bin" / L"start.exe", "MZ");
    EXPECT_TRUE(Register());
    EXPECT_EQ(Stored(L"DisplayIcon"), StoredText(toolFolder.native() + L"\\bin\\start.exe,0"));
}

TEST_F(RegisterProgramsAndFeaturesTest, ShowsTheIconOfAStartupProgramElsewhere) {
    toolConfig.startupExe = Outside() / L"run.exe";
    bench::WriteFile(Outside() / L"run.exe", "MZ");
    EXPECT_TRUE(Register());
    EXPECT_EQ(Stored(L"DisplayIcon"), StoredText(Outside().native() + L"\\run.exe,0"));
}

TEST_F(RegisterProgramsAndFeaturesTest, ShowsTheUninstallersIconWithoutAStartupProgram) {
    const StoredValue expected = StoredText(toolFolder.native() + L"\\Uninstall.exe,0");
    fs::create_directory(toolFolder / L"folder.exe");
    for (const wchar_t* const startupExe : {L"", L"missing.exe", L"folder.exe"}) {
        toolConfig.startupExe = startupExe;
        EXPECT_TRUE(Register());
        EXPECT_EQ(Stored(L"DisplayIcon"), expected) << startupExe;
    }
}

TEST_F(RegisterProgramsAndFeaturesTest, CountsAStartedKibibyteAsWhole) {
    const struct {
        size_t bytes;
        uint32_t kibibytes;
    } cases[] = {{0, 0}, {1, 1}, {1024, 1}, {1025, 2}};
    for (const auto& [bytes, kibibytes] : cases) {
        bench::WriteFile(toolFolder / L"Uninstall.exe", std::string(bytes, 'x'));
        EXPECT_TRUE(Register());
        EXPECT_EQ(Stored(L"EstimatedSize"), StoredNumber(kibibytes)) << bytes;
    }
}

TEST_F(RegisterProgramsAndFeaturesTest, CapsTheSizeAtWhatTheValueHolds) {
    bench::WriteFile(toolFolder / L"Uninstall.exe", "");
    bench::MakeSparseFile(toolFolder / L"large", (uint64_t{4294967294U} << 10) + 1);
    EXPECT_TRUE(Register());
    EXPECT_EQ(Stored(L"EstimatedSize"), StoredNumber(4294967295U));
    bench::MakeSparseFile(toolFolder / L"large", uint64_t{1} << 42);
    EXPECT_TRUE(Register());
    EXPECT_EQ(Stored(L"EstimatedSize"), StoredNumber(4294967295U));
}

TEST_F(RegisterProgramsAndFeaturesTest, LeavesTheRegistryAloneWithoutAnUninstaller) {
    fs::remove(toolFolder / L"Uninstall.exe");
    EXPECT_EQ(MessageOfFailure(), kNotWritten);
    EXPECT_FALSE(ReadKey(KeyPath()));
    fs::create_directory(toolFolder / L"Uninstall.exe");
    EXPECT_EQ(MessageOfFailure(), kNotWritten);
    EXPECT_FALSE(ReadKey(KeyPath()));
}

TEST_F(RegisterProgramsAndFeaturesTest, FailsWhenTheKeyCannotBeCreated) {
    // Longer than a key's name can be.
    toolConfig.programsDisplayName = std::wstring(300, L'x');
    EXPECT_EQ(MessageOfFailure(), kNoKey);
}

LSTATUS WINAPI CreateNoKey(HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM, const SECURITY_ATTRIBUTES*,
                           PHKEY key, LPDWORD) {
    *key = nullptr;
    return ERROR_SUCCESS;
}

TEST_F(RegisterProgramsAndFeaturesTest, FailsWhenThereIsNoHandle) {
    const ImportHook hook(L"advapi32.dll", "RegCreateKeyExW",
                          reinterpret_cast<void*>(&CreateNoKey));
    ASSERT_TRUE(hook.Installed());
    EXPECT_EQ(MessageOfFailure(), kNoKey);
}

// What the program asks the registry for.
struct RegistryCalls {
    std::vector<REGSAM> access;
    std::vector<DWORD> options;
    std::vector<HKEY> roots;
    std::vector<std::wstring> names;
    std::set<size_t> refused;  // Which of the writes fail, counted from 0.
    std::vector<HKEY> opened;
    std::vector<HKEY> closed;
};
RegistryCalls registryCalls;
decltype(&::RegCreateKeyExW) createKey = nullptr;
decltype(&::RegSetValueExW) setValue = nullptr;
decltype(&::RegCloseKey) closeKey = nullptr;

LSTATUS WINAPI RecordCreateKey(HKEY root, LPCWSTR path, DWORD reserved, LPWSTR className,
                               DWORD options, REGSAM access, const SECURITY_ATTRIBUTES* security,
                               PHKEY key, LPDWORD disposition) {
    EXPECT_EQ(className, nullptr);
    EXPECT_EQ(security, nullptr);
    registryCalls.roots.push_back(root);
    registryCalls.options.push_back(options);
    registryCalls.access.push_back(access);
    const LSTATUS status = createKey(root, path, reserved, className, options, access,
                                     const_cast<SECURITY_ATTRIBUTES*>(security), key, disposition);
    registryCalls.opened.push_back(*key);
    return status;
}

LSTATUS WINAPI RecordSetValue(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
                              DWORD size) {
    const size_t number = registryCalls.names.size();
    registryCalls.names.emplace_back(name);
    if (type == REG_SZ) {
        // Asked here, because the system stores a terminator that was not counted all the same.
        const auto* const text = reinterpret_cast<const wchar_t*>(data);
        EXPECT_EQ(size, (std::wcslen(text) + 1) * sizeof(wchar_t)) << name;
    }
    if (registryCalls.refused.contains(number)) {
        return ERROR_ACCESS_DENIED;
    }
    return setValue(key, name, reserved, type, data, size);
}

BOOL WINAPI FindAnyFile(LPCWSTR, GET_FILEEX_INFO_LEVELS, LPVOID found) {
    *static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(found) = {};
    return TRUE;
}

LSTATUS WINAPI RecordCloseKey(HKEY key) {
    registryCalls.closed.push_back(key);
    return closeKey(key);
}

class RegistryRecorder {
public:
    RegistryRecorder() {
        registryCalls = {};
        createKey = create_.Original<decltype(&::RegCreateKeyExW)>();
        setValue = set_.Original<decltype(&::RegSetValueExW)>();
        closeKey = close_.Original<decltype(&::RegCloseKey)>();
    }
    [[nodiscard]] bool Installed() const {
        return create_.Installed() && set_.Installed() && close_.Installed();
    }

private:
    ImportHook create_{L"advapi32.dll", "RegCreateKeyExW",
                       reinterpret_cast<void*>(&RecordCreateKey)};
    ImportHook set_{L"advapi32.dll", "RegSetValueExW", reinterpret_cast<void*>(&RecordSetValue)};
    ImportHook close_{L"advapi32.dll", "RegCloseKey", reinterpret_cast<void*>(&RecordCloseKey)};
};

const std::vector<std::wstring> kAllNames{L"DisplayName",     L"Publisher",       L"DisplayVersion",
                                          L"InstallLocation", L"UninstallString", L"DisplayIcon",
                                          L"InstallDate",     L"URLInfoAbout",    L"EstimatedSize",
                                          L"NoModify",        L"NoRepair"};

TEST_F(RegisterProgramsAndFeaturesTest, AsksForWritingOfValuesOnly) {
    const RegistryRecorder recorder;
    ASSERT_TRUE(recorder.Installed());
    EXPECT_TRUE(Register());
    EXPECT_THAT(registryCalls.roots, ElementsAre(HKEY_CURRENT_USER));
    EXPECT_THAT(registryCalls.access, ElementsAre(REGSAM{KEY_SET_VALUE}));
    EXPECT_THAT(registryCalls.options, ElementsAre(DWORD{REG_OPTION_NON_VOLATILE}));
}

TEST_F(RegisterProgramsAndFeaturesTest, WritesTheValuesInTheirOrder) {
    toolConfig.websiteUrl = L"https://game.example/";
    const RegistryRecorder recorder;
    ASSERT_TRUE(recorder.Installed());
    EXPECT_TRUE(Register());
    EXPECT_EQ(registryCalls.names, kAllNames);
}

TEST_F(RegisterProgramsAndFeaturesTest, AttemptsEveryValueAndFailsWhenOneIsRefused) {
    toolConfig.websiteUrl = L"https://game.example/";
    const RegistryRecorder recorder;
    ASSERT_TRUE(recorder.Installed());
    for (size_t refused = 0; refused < kAllNames.size(); ++refused) {
        RemoveKey(KeyPath());
        registryCalls = {};
        registryCalls.refused = {refused};
        EXPECT_EQ(MessageOfFailure(), kNotFinished) << kAllNames[refused];
        EXPECT_EQ(registryCalls.names, kAllNames);
        const std::optional<StoredValues> values = ReadKey(KeyPath());
        ASSERT_TRUE(values);
        EXPECT_EQ(values->size(), kAllNames.size() - 1);
        EXPECT_FALSE(values->contains(kAllNames[refused]));
    }
}

TEST_F(RegisterProgramsAndFeaturesTest, AttemptsEveryValueWhenAllAreRefused) {
    const RegistryRecorder recorder;
    ASSERT_TRUE(recorder.Installed());
    registryCalls.refused = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    EXPECT_EQ(MessageOfFailure(), kNotFinished);
    EXPECT_EQ(registryCalls.names.size(), kAllNames.size() - 1);
    EXPECT_THAT(ReadKey(KeyPath()), testing::Optional(IsEmpty()));
}

TEST_F(RegisterProgramsAndFeaturesTest, ClosesTheKeyItOpened) {
    const RegistryRecorder recorder;
    ASSERT_TRUE(recorder.Installed());
    EXPECT_TRUE(Register());
    EXPECT_EQ(registryCalls.closed, registryCalls.opened);
    registryCalls = {};
    registryCalls.refused = {3};
    EXPECT_EQ(MessageOfFailure(), kNotFinished);
    EXPECT_EQ(registryCalls.closed, registryCalls.opened);
}

TEST_F(RegisterProgramsAndFeaturesTest, GuardsAQuoteInTheUninstallersPath) {
    // No real folder can hold a double quote, so the path stands beside the file that is found.
    const ImportHook findsEverything(L"kernel32.dll", "GetFileAttributesExW",
                                     reinterpret_cast<void*>(&FindAnyFile));
    ASSERT_TRUE(findsEverything.Installed());
    toolFolder = L"C:\\a\"b";
    EXPECT_TRUE(Register());
    EXPECT_EQ(Stored(L"UninstallString"), StoredText(L"\"C:\\a\\\"b\\Uninstall.exe\""));
}

}  // namespace
