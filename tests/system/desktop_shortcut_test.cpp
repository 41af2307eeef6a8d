#include "system/desktop_shortcut.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/client_folder_test.h"
#include "common/com_apartment.h"
#include "common/handles.h"
#include "common/shell_api.h"
#include "system/known_folder.h"

namespace {

namespace fs = std::filesystem;

constexpr wchar_t kCreated[] = L"Game desktop shortcut created.";
constexpr wchar_t kNoObject[] = L"Could not create the Windows shortcut object.";
constexpr wchar_t kNotSaved[] = L"Could not save the shortcut to your Desktop.";

// What a saved shortcut contains.
struct ShortcutFields {
    std::wstring target;
    std::wstring folder;
    std::wstring description;
    std::wstring arguments;
    std::wstring icon;

    bool operator==(const ShortcutFields&) const = default;
};

ComPointer<IShellLinkW> MakeShellLink() {
    void* made = nullptr;
    EXPECT_EQ(
        ::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, &made),
        S_OK);
    return ComPointer<IShellLinkW>(static_cast<IShellLinkW*>(made));
}

ComPointer<IPersistFile> FileOf(IShellLinkW& link) {
    void* found = nullptr;
    EXPECT_EQ(link.QueryInterface(IID_IPersistFile, &found), S_OK);
    return ComPointer<IPersistFile>(static_cast<IPersistFile*>(found));
}

std::optional<ShortcutFields> ReadShortcut(const fs::path& file) {
    const ComPointer<IShellLinkW> link = MakeShellLink();
    const ComPointer<IPersistFile> persist = FileOf(*link);
    if (persist->Load(file.c_str(), STGM_READ) != S_OK) {
        return std::nullopt;
    }
    std::array<wchar_t, 1024> text{};
    const int size = static_cast<int>(text.size());
    ShortcutFields fields;
    link->GetPath(text.data(), size, nullptr, 0);
    fields.target = text.data();
    link->GetWorkingDirectory(text.data(), size);
    fields.folder = text.data();
    link->GetDescription(text.data(), size);
    fields.description = text.data();
    link->GetArguments(text.data(), size);
    fields.arguments = text.data();
    int iconIndex = 0;
    link->GetIconLocation(text.data(), size, &iconIndex);
    fields.icon = text.data();
    return fields;
}

// A startup program in the client folder, and a shortcut of this test's own name.
class DesktopShortcut : public bench::ClientFolderTest {
protected:
    DesktopShortcut() {
        toolConfig.startupExe = L"bin\\start.exe";
        toolConfig.shortcutName = L"Bench \u00fc";
        toolConfig.downloaderName = L"Bench Downloader";
        bench::WriteFile(fs::path(toolFolder) / L"bin" / L"start.exe", "MZ");
        fs::remove(linkFile_);
    }
    ~DesktopShortcut() override {
        std::error_code ignored;  // Most tests leave no file.
        fs::remove(linkFile_, ignored);
    }

    static std::wstring MessageOf(bool isCreated) {
        std::wstring message;
        EXPECT_EQ(CreateDesktopShortcut(message), isCreated);
        return message;
    }

    fs::path linkFile_ = fs::path(KnownFolder(FOLDERID_Desktop)) / L"Bench \u00fc.lnk";
    ComApartment apartment_;
};

TEST_F(DesktopShortcut, LeadsToTheStartupProgramAndReplacesTheFormerOne) {
    EXPECT_EQ(MessageOf(true), kCreated);
    EXPECT_EQ(ReadShortcut(linkFile_),
              (ShortcutFields{toolFolder + L"\\bin\\start.exe", toolFolder + L"\\bin",
                              L"Bench Downloader launcher", L"", L""}));

    toolConfig.startupExe = Outside() / L"run.exe";
    toolConfig.downloaderName = L"  Bench \u00fc\t";
    bench::WriteFile(Outside() / L"run.exe", "MZ");
    EXPECT_EQ(MessageOf(true), kCreated);
    EXPECT_EQ(ReadShortcut(linkFile_),
              (ShortcutFields{Outside().native() + L"\\run.exe", Outside().native(),
                              L"  Bench \u00fc\t launcher", L"", L""}));
}

TEST_F(DesktopShortcut, HasASafeFileName) {
    toolConfig.shortcutName = L"Bench:Game?";
    MessageOf(true);
    EXPECT_TRUE(fs::remove(fs::path(KnownFolder(FOLDERID_Desktop)) / L"Bench_Game_.lnk"));
}

TEST_F(DesktopShortcut, NeedsTheStartupProgram) {
    toolConfig.startupExe.clear();
    EXPECT_EQ(MessageOf(false), L"No startup EXE is configured for the shortcut.");
    for (const wchar_t* const startupExe : {L"missing \u00fc.exe", L"bin"}) {
        toolConfig.startupExe = startupExe;
        EXPECT_EQ(MessageOf(false),
                  L"Could not find the shortcut target: " + toolFolder + L"\\" + startupExe);
    }
    EXPECT_FALSE(fs::exists(linkFile_));
}

TEST_F(DesktopShortcut, NeedsTheUsersOwnDesktop) {
    HRESULT result = S_OK;
    bool hasPath = false;
    const wchar_t* given = nullptr;
    const auto hook = bench::HookCall<decltype(&::SHGetKnownFolderPath)>(
        L"shell32.dll", "SHGetKnownFolderPath",
        [&](REFKNOWNFOLDERID folder, DWORD flags, HANDLE token, PWSTR* path) -> HRESULT {
            EXPECT_TRUE(::IsEqualGUID(folder, FOLDERID_Desktop));
            EXPECT_EQ(flags, 0U);
            EXPECT_EQ(token, nullptr);
            constexpr std::wstring_view kPath = L"C:\\";
            *path = nullptr;
            if (hasPath) {
                *path =
                    static_cast<wchar_t*>(::CoTaskMemAlloc((kPath.size() + 1) * sizeof(wchar_t)));
                (*path)[kPath.copy(*path, kPath.size())] = L'\0';
            }
            given = *path;
            return result;
        });
    EXPECT_EQ(MessageOf(false), L"Could not locate the Desktop folder.");
    // A path that comes with an error must be freed but not used.
    result = E_FAIL;
    hasPath = true;
    int freed = 0;
    const auto watch = bench::WatchCall<decltype(&::CoTaskMemFree)>(
        L"ole32.dll", "CoTaskMemFree", [&](LPVOID memory) { freed += memory == given ? 1 : 0; });
    EXPECT_EQ(MessageOf(false), L"Could not locate the Desktop folder.");
    EXPECT_EQ(freed, 1);
}

TEST_F(DesktopShortcut, NeedsTheShellLinkObject) {
    const auto hook = bench::HookCall<decltype(&::CoCreateInstance)>(
        L"ole32.dll", "CoCreateInstance",
        [](REFCLSID id, LPUNKNOWN outer, DWORD context, REFIID interfaceId,
           LPVOID* object) -> HRESULT {
            EXPECT_TRUE(::IsEqualGUID(id, CLSID_ShellLink));
            EXPECT_TRUE(::IsEqualGUID(interfaceId, IID_IShellLinkW));
            EXPECT_EQ(outer, nullptr);
            EXPECT_EQ(context, DWORD{CLSCTX_INPROC_SERVER});
            *object = nullptr;
            return REGDB_E_CLASSNOTREG;
        });
    EXPECT_EQ(MessageOf(false), kNoObject);
}

TEST_F(DesktopShortcut, FailsOnAFolderOrAReadOnlyFileOfThatName) {
    fs::create_directory(linkFile_);
    EXPECT_EQ(MessageOf(false), kNotSaved);
    fs::remove(linkFile_);
    bench::WriteFile(linkFile_, "kept");
    bench::SetReadOnly(linkFile_, true);
    EXPECT_EQ(MessageOf(false), kNotSaved);
    EXPECT_EQ(bench::ReadFile(linkFile_), "kept");
    bench::SetReadOnly(linkFile_, false);
}

// Replaces a method of all objects of a COM class as long as this lives. `object` is one of them,
// `index` the method's place in its table.
class MethodHook {
public:
    MethodHook(void* object, size_t index, void* replacement)
        : entry_(*static_cast<void***>(object) + index), original_(Exchange(replacement)) {}
    ~MethodHook() {
        Exchange(original_);
    }
    MethodHook(const MethodHook&) = delete;
    MethodHook& operator=(const MethodHook&) = delete;

    template <class Method>
    [[nodiscard]] Method Original() const {
        return reinterpret_cast<Method>(original_);
    }

private:
    void* Exchange(void* method) {
        DWORD protection = 0;
        ::VirtualProtect(entry_, sizeof *entry_, PAGE_READWRITE, &protection);
        void* const former = std::exchange(*entry_, method);
        ::VirtualProtect(entry_, sizeof *entry_, protection, &protection);
        return former;
    }

    void** entry_;
    void* original_;
};

constexpr size_t kQueryInterface = 0;
constexpr size_t kRelease = 2;
constexpr size_t kSave = 6;
constexpr size_t kSetDescription = 7;
constexpr size_t kSetWorkingDirectory = 9;
constexpr size_t kSetPath = 20;

HRESULT(STDMETHODCALLTYPE* queryInterface)(IUnknown*, REFIID, void**) = nullptr;
ULONG(STDMETHODCALLTYPE* release)(IUnknown*) = nullptr;
HRESULT(STDMETHODCALLTYPE* saveLink)(IPersistFile*, LPCOLESTR, BOOL) = nullptr;
constexpr ULONG kNotReleased = ULONG_MAX;
ULONG referencesLeft = kNotReleased;  // After the last Release.
std::vector<BOOL> remembered;         // The "remember" of each Save.

HRESULT STDMETHODCALLTYPE RefuseFileInterface(IUnknown* link, REFIID id, void** object) {
    return ::IsEqualGUID(id, IID_IPersistFile) ? E_NOINTERFACE : queryInterface(link, id, object);
}
HRESULT STDMETHODCALLTYPE RefuseText(IShellLinkW*, LPCWSTR) {
    return E_FAIL;
}
ULONG STDMETHODCALLTYPE CountReferences(IUnknown* link) {
    return referencesLeft = release(link);
}
HRESULT STDMETHODCALLTYPE RecordSave(IPersistFile* file, LPCOLESTR name, BOOL remember) {
    remembered.push_back(remember);
    return saveLink(file, name, remember);
}

TEST_F(DesktopShortcut, IsSavedOnceAlsoWithoutAFieldThatIsRefused) {
    const ComPointer<IShellLinkW> link = MakeShellLink();
    const MethodHook save(FileOf(*link).get(), kSave, reinterpret_cast<void*>(&RecordSave));
    saveLink = save.Original<decltype(saveLink)>();
    const MethodHook count(link.get(), kRelease, reinterpret_cast<void*>(&CountReferences));
    release = count.Original<decltype(release)>();
    for (const size_t refused : {kSetPath, kSetWorkingDirectory, kSetDescription}) {
        const MethodHook refusal(link.get(), refused, reinterpret_cast<void*>(&RefuseText));
        remembered.clear();
        referencesLeft = kNotReleased;
        EXPECT_EQ(MessageOf(true), kCreated) << refused;
        EXPECT_EQ(referencesLeft, 0U);
        EXPECT_EQ(remembered, std::vector<BOOL>{TRUE});
        EXPECT_TRUE(fs::remove(linkFile_)) << refused;
    }
}

TEST_F(DesktopShortcut, FailsIfTheObjectCannotBeSaved) {
    const ComPointer<IShellLinkW> link = MakeShellLink();
    const MethodHook refusal(link.get(), kQueryInterface,
                             reinterpret_cast<void*>(&RefuseFileInterface));
    queryInterface = refusal.Original<decltype(queryInterface)>();
    const MethodHook count(link.get(), kRelease, reinterpret_cast<void*>(&CountReferences));
    release = count.Original<decltype(release)>();
    referencesLeft = kNotReleased;
    EXPECT_EQ(MessageOf(false), kNotSaved);
    EXPECT_EQ(referencesLeft, 0U);
    EXPECT_FALSE(fs::exists(linkFile_));
}

TEST_F(DesktopShortcut, HasATargetThatCanBeRead) {
    EXPECT_EQ(ReadShortcutTarget(linkFile_), std::nullopt);
    MessageOf(true);
    EXPECT_EQ(ReadShortcutTarget(linkFile_), fs::path(toolFolder) / L"bin" / L"start.exe");
    bench::WriteFile(linkFile_, "no shortcut");
    EXPECT_EQ(ReadShortcutTarget(linkFile_), std::nullopt);
    const auto hook = bench::HookCall<decltype(&::CoCreateInstance)>(
        L"ole32.dll", "CoCreateInstance", [](auto&&...) -> HRESULT { return REGDB_E_CLASSNOTREG; });
    EXPECT_EQ(ReadShortcutTarget(linkFile_), std::nullopt);
}

}  // namespace
