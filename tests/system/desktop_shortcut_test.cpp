#include "system/desktop_shortcut.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "bench_parts/client_folder_test.h"
#include "bench_parts/import_hook.h"
#include "common/com_apartment.h"
#include "common/handles.h"
#include "common/paths.h"
#include "common/shell_api.h"
#include "system/known_folder.h"

namespace {

namespace fs = std::filesystem;
using bench::ImportHook;

TEST(FileNameExtension, FollowsTheRulesForFileNames) {
    const struct {
        const wchar_t* path;
        const wchar_t* extension;
    } cases[] = {
        {L"", L""},
        {L"game", L""},
        {L"game.lnk", L".lnk"},
        {L"Game.LnK", L".LnK"},
        {L"game.exe.lnk", L".lnk"},
        {L"game.lnk.exe", L".exe"},
        {L"game.", L"."},
        {L"game. lnk", L". lnk"},
        {L".", L""},
        {L"..", L""},
        {L"...", L"."},
        {L".lnk", L""},
        {L"..lnk", L".lnk"},
        {L".a.lnk", L".lnk"},
        {L"game.lnk:stream", L".lnk"},
        {L"game.lnk:stream.exe", L".lnk"},
        {L"game:stream.lnk", L""},
        {L"game.exe:a:b.lnk", L".exe"},
        {L":stream.lnk", L""},
        {L".lnk:stream", L""},
        {L"..:stream.lnk", L""},
        {L"folder.lnk\\game", L""},
        {L"folder.lnk/game", L""},
        {L"folder/game.lnk", L".lnk"},
        {L"folder\\.lnk", L""},
        {L"folder.lnk\\", L""},
        {L"C:\\a.b\\game.lnk", L".lnk"},
        {L"C:\\a.b\\game.lnk:s", L".lnk"},
    };
    for (const auto& [path, extension] : cases) {
        EXPECT_EQ(FileNameExtension(path), extension) << path;
    }
}

class ShortcutFileNameTest : public bench::ClientFolderTest {};

TEST_F(ShortcutFileNameTest, IsASafeNameThatEndsInLnk) {
    const struct {
        const wchar_t* shortcutName;
        const wchar_t* fileName;
    } cases[] = {
        {L"Game", L"Game.lnk"},
        {L"My:Game?", L"My_Game_.lnk"},
        {L"", L"Karvoth.lnk"},
        {L" \t\r\n", L"Karvoth.lnk"},
        {L"  Game  ", L"Game.lnk"},
        {L"Game.exe", L"Game.exe.lnk"},
        {L"Game.lnk", L"Game.lnk"},
        {L"Game.LNK", L"Game.LNK"},
        {L"Game.lNk ", L"Game.lNk"},
        {L"Game.lnk.", L"Game.lnk..lnk"},
        {L"Game.lnkx", L"Game.lnkx.lnk"},
        {L"Gamelnk", L"Gamelnk.lnk"},
        {L".lnk", L".lnk.lnk"},
        {L".", L"..lnk"},
        {L"..", L"...lnk"},
        {L"..lnk", L"..lnk"},
        // The colon goes before anybody could take what follows for a stream.
        {L"Game.lnk:stream", L"Game.lnk_stream.lnk"},
        {L"a\\b/c.lnk", L"a_b_c.lnk"},
        {L"\\/:*?\"<>|", L"_________.lnk"},
        {L"\u00dcber \u6e38\u620f", L"\u00dcber \u6e38\u620f.lnk"},
    };
    for (const auto& [shortcutName, fileName] : cases) {
        toolConfig.shortcutName = shortcutName;
        EXPECT_EQ(ShortcutFileName(toolConfig), fileName);
    }
}

// What a saved shortcut says.
struct LoadedShortcut {
    std::wstring target;
    std::wstring folder;
    std::wstring description;
    std::wstring arguments;
    std::wstring icon;
    bool loaded = false;
};

LoadedShortcut Load(const fs::path& file) {
    LoadedShortcut shortcut;
    void* found = nullptr;
    if (FAILED(::CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                  &found))) {
        return shortcut;
    }
    const ComPointer<IShellLinkW> link(static_cast<IShellLinkW*>(found));
    link->QueryInterface(IID_IPersistFile, &found);
    const ComPointer<IPersistFile> persist(static_cast<IPersistFile*>(found));
    shortcut.loaded = persist->Load(file.c_str(), STGM_READ) == S_OK;
    std::array<wchar_t, 1024> text{};
    const int size = static_cast<int>(text.size());
    link->GetPath(text.data(), size, nullptr, 0);
    shortcut.target = text.data();
    link->GetWorkingDirectory(text.data(), size);
    shortcut.folder = text.data();
    link->GetDescription(text.data(), size);
    shortcut.description = text.data();
    link->GetArguments(text.data(), size);
    shortcut.arguments = text.data();
    int iconIndex = 0;
    link->GetIconLocation(text.data(), size, &iconIndex);
    shortcut.icon = text.data();
    return shortcut;
}

// A startup program in the client folder, and a shortcut of this test's own name.
class CreateDesktopShortcutTest : public bench::ClientFolderTest {
protected:
    CreateDesktopShortcutTest() : linkFile_(KnownFolder(FOLDERID_Desktop) / L"Bench \u00fc.lnk") {
        toolConfig.startupExe = L"bin\\start.exe";
        toolConfig.shortcutName = L"Bench \u00fc";
        toolConfig.downloaderName = L"Bench Downloader";
        bench::WriteFile(toolFolder / L"bin" / L"start.exe", "MZ");
        fs::remove(linkFile_);
    }
    ~CreateDesktopShortcutTest() override {
        std::error_code ignored;  // Most tests leave no file.
        fs::remove(linkFile_, ignored);
    }

    [[nodiscard]] const fs::path& LinkFile() const {
        return linkFile_;
    }

private:
    fs::path linkFile_;
    ComApartment apartment_;
};

std::wstring MessageOfSuccess() {
    std::wstring message;
    EXPECT_TRUE(CreateDesktopShortcut(message));
    return message;
}

std::wstring MessageOfFailure() {
    std::wstring message;
    EXPECT_FALSE(CreateDesktopShortcut(message));
    return message;
}

TEST_F(CreateDesktopShortcutTest, LeadsToTheStartupProgram) {
    EXPECT_EQ(MessageOfSuccess(), L"Game desktop shortcut created.");
    const LoadedShortcut shortcut = Load(LinkFile());
    ASSERT_TRUE(shortcut.loaded);
    EXPECT_EQ(shortcut.target, toolFolder.native() + L"\\bin\\start.exe");
    EXPECT_EQ(shortcut.folder, toolFolder.native() + L"\\bin");
    EXPECT_EQ(shortcut.description, L"Bench Downloader launcher");
    EXPECT_EQ(shortcut.arguments, L"");
    EXPECT_EQ(shortcut.icon, L"");
}

TEST_F(CreateDesktopShortcutTest, LeadsToAStartupProgramElsewhere) {
    toolConfig.startupExe = Outside() / L"run.exe";
    bench::WriteFile(Outside() / L"run.exe", "MZ");
    MessageOfSuccess();
    const LoadedShortcut shortcut = Load(LinkFile());
    EXPECT_EQ(shortcut.target, Outside().native() + L"\\run.exe");
    EXPECT_EQ(shortcut.folder, Outside().native());
}

TEST_F(CreateDesktopShortcutTest, DescribesItselfWithTheUntrimmedName) {
    toolConfig.downloaderName = L"  Bench \u00fc\t";
    MessageOfSuccess();
    EXPECT_EQ(Load(LinkFile()).description, L"  Bench \u00fc\t launcher");
    toolConfig.downloaderName.clear();
    MessageOfSuccess();
    EXPECT_EQ(Load(LinkFile()).description, L" launcher");
}

TEST_F(CreateDesktopShortcutTest, TakesASafeFileName) {
    toolConfig.shortcutName = L"Bench:Game?";
    const fs::path linkFile = KnownFolder(FOLDERID_Desktop) / L"Bench_Game_.lnk";
    MessageOfSuccess();
    EXPECT_TRUE(Load(linkFile).loaded);
    fs::remove(linkFile);
}

TEST_F(CreateDesktopShortcutTest, ReplacesTheFormerOne) {
    bench::WriteFile(toolFolder / L"other.exe", "MZ");
    EXPECT_EQ(MessageOfSuccess(), L"Game desktop shortcut created.");
    toolConfig.startupExe = L"other.exe";
    EXPECT_EQ(MessageOfSuccess(), L"Game desktop shortcut created.");
    EXPECT_EQ(Load(LinkFile()).target, toolFolder.native() + L"\\other.exe");
}

TEST_F(CreateDesktopShortcutTest, NeedsAStartupProgram) {
    toolConfig.startupExe.clear();
    EXPECT_EQ(MessageOfFailure(), L"No startup EXE is configured for the shortcut.");
    EXPECT_FALSE(fs::exists(LinkFile()));
}

TEST_F(CreateDesktopShortcutTest, NeedsTheStartupProgramToBeThere) {
    toolConfig.startupExe = L"missing \u00fc.exe";
    EXPECT_EQ(MessageOfFailure(), L"Could not find the shortcut target: " + toolFolder.native() +
                                      L"\\missing \u00fc.exe");
    toolConfig.startupExe = L"bin";
    EXPECT_EQ(MessageOfFailure(),
              L"Could not find the shortcut target: " + toolFolder.native() + L"\\bin");
    EXPECT_FALSE(fs::exists(LinkFile()));
}

// With a path all the same, which is to be freed and not to be used.
HRESULT WINAPI FailToFindFolder(REFKNOWNFOLDERID, DWORD, HANDLE, PWSTR* path) {
    constexpr std::wstring_view kPath = L"C:\\";
    *path = static_cast<wchar_t*>(::CoTaskMemAlloc((kPath.size() + 1) * sizeof(wchar_t)));
    (*path)[kPath.copy(*path, kPath.size())] = L'\0';
    return E_FAIL;
}
HRESULT WINAPI FindNoFolder(REFKNOWNFOLDERID, DWORD, HANDLE, PWSTR* path) {
    *path = nullptr;
    return S_OK;
}

TEST_F(CreateDesktopShortcutTest, NeedsADesktop) {
    for (const auto replacement : {&FailToFindFolder, &FindNoFolder}) {
        const ImportHook hook(L"shell32.dll", "SHGetKnownFolderPath",
                              reinterpret_cast<void*>(replacement));
        ASSERT_TRUE(hook.Installed());
        EXPECT_EQ(MessageOfFailure(), L"Could not locate the Desktop folder.");
    }
    EXPECT_FALSE(fs::exists(LinkFile()));
}

GUID askedFolder{};
DWORD askedFlags = 0;
HANDLE askedToken = nullptr;
decltype(&::SHGetKnownFolderPath) getKnownFolderPath = nullptr;

HRESULT WINAPI RecordFolder(REFKNOWNFOLDERID folder, DWORD flags, HANDLE token, PWSTR* path) {
    askedFolder = folder;
    askedFlags = flags;
    askedToken = token;
    return getKnownFolderPath(folder, flags, token, path);
}

TEST_F(CreateDesktopShortcutTest, AsksForTheUsersOwnDesktop) {
    const ImportHook hook(L"shell32.dll", "SHGetKnownFolderPath",
                          reinterpret_cast<void*>(&RecordFolder));
    ASSERT_TRUE(hook.Installed());
    getKnownFolderPath = hook.Original<decltype(&::SHGetKnownFolderPath)>();
    askedFlags = ~DWORD{0};
    askedToken = ::GetCurrentProcess();
    MessageOfSuccess();
    EXPECT_TRUE(::IsEqualGUID(askedFolder, FOLDERID_Desktop));
    EXPECT_EQ(askedFlags, 0U);
    EXPECT_EQ(askedToken, nullptr);
}

HRESULT WINAPI CreateNoObject(REFCLSID, LPUNKNOWN, DWORD, REFIID, LPVOID* object) {
    *object = nullptr;
    return REGDB_E_CLASSNOTREG;
}

TEST_F(CreateDesktopShortcutTest, NeedsTheShellLinkObject) {
    const ImportHook hook(L"ole32.dll", "CoCreateInstance",
                          reinterpret_cast<void*>(&CreateNoObject));
    ASSERT_TRUE(hook.Installed());
    EXPECT_EQ(MessageOfFailure(), L"Could not create the Windows shortcut object.");
}

TEST_F(CreateDesktopShortcutTest, FailsOnAFolderOfThatName) {
    fs::create_directory(LinkFile());
    EXPECT_EQ(MessageOfFailure(), L"Could not save the shortcut to your Desktop.");
}

TEST_F(CreateDesktopShortcutTest, FailsOnAReadOnlyShortcut) {
    bench::WriteFile(LinkFile(), "kept");
    bench::SetReadOnly(LinkFile(), true);
    EXPECT_EQ(MessageOfFailure(), L"Could not save the shortcut to your Desktop.");
    EXPECT_EQ(bench::ReadFile(LinkFile()), "kept");
    bench::SetReadOnly(LinkFile(), false);
}

// A real shell link of which single methods are replaced, by their place in its table of methods.
// The test keeps a reference of its own, to see afterwards whether all others were given back.
constexpr size_t kQueryInterface = 0;
constexpr size_t kSetDescription = 7;
constexpr size_t kSetWorkingDirectory = 9;
constexpr size_t kSetPath = 20;
constexpr size_t kMethodCount = 21;
std::array<void*, kMethodCount> methods{};
size_t refusedMethod = kMethodCount;
IShellLinkW* createdLink = nullptr;
decltype(&::CoCreateInstance) createInstance = nullptr;

HRESULT STDMETHODCALLTYPE RefuseInterface(IUnknown*, REFIID, void** object) {
    *object = nullptr;
    return E_NOINTERFACE;
}
HRESULT STDMETHODCALLTYPE RefuseText(IShellLinkW*, LPCWSTR) {
    return E_FAIL;
}

// The same for the part of it that saves: the "remember" of each Save.
constexpr size_t kSave = 6;
constexpr size_t kSavingMethodCount = 9;
std::array<void*, kSavingMethodCount> savingMethods{};
HRESULT(STDMETHODCALLTYPE* saveLink)(IPersistFile*, LPCOLESTR, BOOL) = nullptr;
std::vector<BOOL> remembered;

HRESULT STDMETHODCALLTYPE RecordSave(IPersistFile* file, LPCOLESTR name, BOOL remember) {
    remembered.push_back(remember);
    return saveLink(file, name, remember);
}

void ObserveSaving(IShellLinkW& link) {
    void* found = nullptr;
    ASSERT_EQ(link.QueryInterface(IID_IPersistFile, &found), S_OK);
    const ComPointer<IPersistFile> file(static_cast<IPersistFile*>(found));
    auto** const table = static_cast<void***>(found);
    std::copy_n(*table, savingMethods.size(), savingMethods.begin());
    saveLink = reinterpret_cast<decltype(saveLink)>(savingMethods[kSave]);
    savingMethods[kSave] = reinterpret_cast<void*>(&RecordSave);
    *table = savingMethods.data();
}

HRESULT WINAPI CreateObservedLink(REFCLSID id, LPUNKNOWN outer, DWORD context, REFIID interfaceId,
                                  LPVOID* object) {
    EXPECT_TRUE(::IsEqualGUID(id, CLSID_ShellLink));
    EXPECT_TRUE(::IsEqualGUID(interfaceId, IID_IShellLinkW));
    EXPECT_EQ(outer, nullptr);
    EXPECT_EQ(context, DWORD{CLSCTX_INPROC_SERVER});
    const HRESULT result = createInstance(id, outer, context, interfaceId, object);
    createdLink = static_cast<IShellLinkW*>(*object);
    createdLink->AddRef();
    ObserveSaving(*createdLink);
    auto** const table = static_cast<void***>(*object);
    std::copy_n(*table, methods.size(), methods.begin());
    if (refusedMethod == kQueryInterface) {
        methods[kQueryInterface] = reinterpret_cast<void*>(&RefuseInterface);
    } else if (refusedMethod < kMethodCount) {
        methods[refusedMethod] = reinterpret_cast<void*>(&RefuseText);
    }
    *table = methods.data();
    return result;
}

class ObservedShellLink {
public:
    explicit ObservedShellLink(size_t refused) {
        refusedMethod = refused;
        createdLink = nullptr;
        remembered.clear();
        createInstance = hook_.Original<decltype(&::CoCreateInstance)>();
    }
    [[nodiscard]] bool Installed() const {
        return hook_.Installed();
    }

private:
    ImportHook hook_{L"ole32.dll", "CoCreateInstance",
                     reinterpret_cast<void*>(&CreateObservedLink)};
};

TEST_F(CreateDesktopShortcutTest, FailsWhenTheObjectCannotBeSaved) {
    const ObservedShellLink link(kQueryInterface);
    ASSERT_TRUE(link.Installed());
    EXPECT_EQ(MessageOfFailure(), L"Could not save the shortcut to your Desktop.");
    EXPECT_EQ(createdLink->Release(), 0U);
    EXPECT_FALSE(fs::exists(LinkFile()));
}

TEST_F(CreateDesktopShortcutTest, SavesAlsoWithoutAFieldThatIsRefused) {
    for (const size_t refused : {kSetPath, kSetWorkingDirectory, kSetDescription}) {
        const ObservedShellLink link(refused);
        ASSERT_TRUE(link.Installed());
        EXPECT_EQ(MessageOfSuccess(), L"Game desktop shortcut created.") << refused;
        EXPECT_EQ(createdLink->Release(), 0U);
        EXPECT_TRUE(fs::exists(LinkFile())) << refused;
        fs::remove(LinkFile());
    }
}

TEST_F(CreateDesktopShortcutTest, GivesBackTheShellLink) {
    const ObservedShellLink link(kMethodCount);
    ASSERT_TRUE(link.Installed());
    MessageOfSuccess();
    EXPECT_EQ(createdLink->Release(), 0U);
}

TEST_F(CreateDesktopShortcutTest, SavesOnceAndLetsTheObjectRememberItsFile) {
    const ObservedShellLink link(kMethodCount);
    ASSERT_TRUE(link.Installed());
    MessageOfSuccess();
    EXPECT_EQ(remembered, std::vector<BOOL>{TRUE});
    createdLink->Release();
}

class WithoutCom : public bench::ClientFolderTest {};

TEST_F(WithoutCom, NoShortcutIsCreated) {
    bench::WriteFile(toolFolder / L"patcher.exe", "MZ");
    EXPECT_EQ(MessageOfFailure(), L"Could not create the Windows shortcut object.");
}

}  // namespace
