#include "uninstaller/uninstall_guard.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "bench_parts/environment_variable.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/running_copy.h"
#include "bench_parts/skipping.h"
#include "installed_game_test.h"
#include "registered_program.h"

namespace {

namespace fs = std::filesystem;

std::wstring UpperCase(std::wstring text) {
    ::CharUpperBuffW(text.data(), static_cast<DWORD>(text.size()));
    return text;
}

class JudgeClientTest : public InstalledGameTest {
protected:
    static Refusal FindRefusal() {
        return JudgeClient().refusal;
    }

    fs::path client_ = toolFolder;
    fs::path start_ = fs::path(toolFolder) / L"bin" / L"start.exe";
};

TEST_F(JudgeClientTest, ApprovesAnInstalledGameByItsRealPathsAndTouchesNothing) {
    const auto listing = bench::FolderListing(Outside());
    const auto entry = bench::ReadKey(EntryKey());
    const Verdict verdict = JudgeClient();
    EXPECT_EQ(verdict.refusal, Refusal::None);
    EXPECT_EQ(verdict.client, (ApprovedClient{client_, client_ / L"Uninstall.exe", start_}));
    EXPECT_EQ(bench::FolderListing(Outside()), listing);
    EXPECT_EQ(bench::ReadKey(EntryKey()), entry);

    ASSERT_TRUE(bench::MakeFolderLink(Outside() / L"link", client_));
    toolFolder = Outside() / L"link";
    toolExePath = fs::path(toolFolder) / L"UNINSTALL.EXE";
    toolConfig.startupExe = L"data\\..\\BIN\\START.EXE";
    EXPECT_EQ(JudgeClient().client, verdict.client);
    toolConfig.startupExe = client_ / L"bin" / L"start.exe";
    EXPECT_EQ(JudgeClient().client, verdict.client);
}

TEST_F(JudgeClientTest, ApprovesTheSameClientOnlyTheSecondTime) {
    const ApprovedClient approved = JudgeClient().client;
    EXPECT_EQ(JudgeClientAgain(approved).refusal, Refusal::None);

    Install(Outside() / L"copy");
    ASSERT_EQ(FindRefusal(), Refusal::None);
    const Verdict verdict = JudgeClientAgain(approved);
    EXPECT_EQ(verdict.refusal, Refusal::Changed);
    EXPECT_EQ(verdict.namedFolder, approved.folder);

    Install(client_);
    bench::WriteFile(client_ / L"data" / L"other.exe", "MZ");
    toolConfig.startupExe = L"data\\other.exe";
    EXPECT_EQ(JudgeClientAgain(approved).refusal, Refusal::Changed);
    toolConfig.startupExe = L"missing.exe";
    EXPECT_EQ(JudgeClientAgain(approved).refusal, Refusal::StartupProgramMissing);
}

TEST_F(JudgeClientTest, RefusesWithoutAnEntryOfThisGameThatNamesAFolder) {
    RegisterFolder(L"");
    EXPECT_EQ(FindRefusal(), Refusal::NotRegistered);
    fs::remove(start_);
    bench::RemoveKey(EntryKey());
    EXPECT_EQ(FindRefusal(), Refusal::NotRegistered);
    Install(client_);
    toolConfig.programsDisplayName = L"Other Game";
    EXPECT_EQ(FindRefusal(), Refusal::NotRegistered);
}

TEST_F(JudgeClientTest, RefusesAnyOtherFolderThanTheRegisteredOne) {
    fs::create_directory(client_.native() + L"2");
    fs::remove(start_);  // Only the first reason counts.
    for (const fs::path& registered :
         {Outside(), client_ / L"data", fs::path(client_.native() + L"2"), client_ / L"missing",
          fs::path(client_.native().substr(0, client_.native().size() - 1)), fs::path(L"C:\\"),
          fs::path(L"."), fs::path(L"a*b?"), client_ / L"Uninstall.exe"}) {
        RegisterFolder(registered);
        const Verdict verdict = JudgeClient();
        EXPECT_EQ(verdict.refusal, Refusal::RegisteredElsewhere) << registered;
        EXPECT_EQ(verdict.namedFolder, registered);
    }
    // A copy of the same files; the entry still names the first.
    Install(Outside() / L"copy");
    RegisterFolder(client_);
    EXPECT_EQ(FindRefusal(), Refusal::RegisteredElsewhere);
}

TEST_F(JudgeClientTest, RecognizesTheFolderByOtherNames) {
    const std::wstring folder = client_;
    const std::wstring link = Outside() / L"link";
    std::wstring slashes = folder;
    std::replace(slashes.begin(), slashes.end(), L'\\', L'/');
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(link, client_), "links for this user");
    for (const std::wstring& registered : {UpperCase(folder), slashes, folder + L"\\",
                                           folder + L"\\data\\..", L"\\\\?\\" + folder, link}) {
        RegisterFolder(registered);
        EXPECT_EQ(FindRefusal(), Refusal::None) << registered;
    }
}

// A path that exists but leads to no drive or share that has a name.
TEST_F(JudgeClientTest, NamesTheFolderThatCannotBeResolved) {
    const fs::path registered = Outside() / L"elsewhere";
    fs::create_directory(registered);
    RegisterFolder(registered);
    fs::path unresolved;
    const auto hook = bench::HookOpen([&](const std::wstring& path) -> DWORD {
        return path == unresolved ? ERROR_NOT_READY : ERROR_SUCCESS;
    });
    for (const fs::path& folder : {client_, registered}) {
        unresolved = folder;
        const Verdict verdict = JudgeClient();
        EXPECT_EQ(verdict.refusal, Refusal::UnresolvedFolder);
        EXPECT_EQ(verdict.namedFolder, folder);
    }
}

TEST_F(JudgeClientTest, RefusesWithoutTheUninstallersFileInTheFolder) {
    for (const fs::path& elsewhere :
         {Outside() / L"Uninstall.exe", client_ / L"data" / L"Uninstall.exe"}) {
        bench::WriteFile(elsewhere, "MZ uninstaller");
        toolExePath = elsewhere;
        EXPECT_EQ(FindRefusal(), Refusal::UnsafeFolder) << elsewhere;
    }
    toolExePath = client_ / L"Uninstall.exe";
    fs::remove(toolExePath);
    EXPECT_EQ(FindRefusal(), Refusal::UnsafeFolder);
    fs::create_directory(toolExePath);
    EXPECT_EQ(FindRefusal(), Refusal::UnsafeFolder);
}

// The rules are those of a reinstall.
TEST_F(JudgeClientTest, RefusesAFolderThatIsNotSafeToEmpty) {
    const GameInFolder game(L"C:\\qz");
    Install(L"C:\\qz");
    EXPECT_EQ(FindRefusal(), Refusal::UnsafeFolder);
}

TEST_F(JudgeClientTest, RefusesAFolderWithAnotherProgram) {
    const RegisteredProgram other(HKEY_CURRENT_USER, L"Mod Loader");
    other.Store(L"InstallLocation", client_.native() + L"\\data");
    const Verdict verdict = JudgeClient();
    EXPECT_EQ(verdict.refusal, Refusal::OtherProgram);
    EXPECT_EQ(verdict.namedFolder, client_.native() + L"\\data");
    EXPECT_EQ(verdict.namedProgram, L"Mod Loader");
}

TEST_F(JudgeClientTest, RefusesWithoutTheStartupProgramInTheFolder) {
    bench::WriteFile(Outside() / L"elsewhere" / L"run.exe", "MZ");
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(client_ / L"link", Outside() / L"elsewhere"),
                            "links for this user");
    for (const std::wstring& startupExe :
         {std::wstring(), std::wstring(L"missing.exe"), std::wstring(L"bin"),
          Outside().native() + L"\\elsewhere\\run.exe", std::wstring(L"..\\elsewhere\\run.exe"),
          std::wstring(L"bin\\..\\..\\elsewhere\\run.exe"), std::wstring(L"link\\run.exe")}) {
        toolConfig.startupExe = startupExe;
        EXPECT_EQ(FindRefusal(), Refusal::StartupProgramMissing) << startupExe;
    }
}

TEST_F(JudgeClientTest, RefusesWhileTheGameOrTheRepairToolIsRunning) {
    for (const wchar_t* const program : {L"bin\\start.exe", L"repair.exe"}) {
        const bench::RunningCopy running(L"child_program.exe", client_ / program, L"sleep 60000");
        ASSERT_TRUE(running.Process());
        EXPECT_EQ(FindRefusal(), Refusal::InUse) << program;
    }
}

TEST_F(JudgeClientTest, AllowsARunningOriginalAndReadOnlyOrOpenPrograms) {
    const bench::RunningCopy running(L"child_program.exe", toolExePath, L"sleep 60000");
    ASSERT_TRUE(running.Process());
    for (const DWORD access : {DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}, DWORD{DELETE}}) {
        const bench::OpenElsewhere open(
            start_, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, access);
        EXPECT_EQ(FindRefusal(), Refusal::None) << access;
    }
    bench::SetReadOnly(start_, true);
    EXPECT_EQ(FindRefusal(), Refusal::None);
}

// Reports one known folder at a place of the test's choice, and no others.
class SharedFolder : public JudgeClientTest {
protected:
    [[nodiscard]] auto PlaceFolders() {
        return bench::HookCall<decltype(&::SHGetKnownFolderPath)>(
            L"shell32.dll", "SHGetKnownFolderPath",
            [this](REFKNOWNFOLDERID id, DWORD flags, HANDLE, PWSTR* path) -> HRESULT {
                EXPECT_EQ(flags, DWORD{KF_FLAG_DONT_VERIFY});  // Its drive may be away.
                *path = nullptr;
                if (!::IsEqualGUID(id, placedId_)) {
                    return E_FAIL;
                }
                const std::wstring& text = place_.native();
                *path =
                    static_cast<wchar_t*>(::CoTaskMemAlloc((text.size() + 1) * sizeof(wchar_t)));
                (*path)[text.copy(*path, text.size())] = L'\0';
                return S_OK;
            });
    }

    GUID placedId_ = FOLDERID_Documents;
    fs::path place_;
};

TEST_F(SharedFolder, IsAnyOfTheKnownFolders) {
    const auto hook = PlaceFolders();
    place_ = client_;
    // Repeats the product's list on purpose: none may be lost from there.
    for (const KNOWNFOLDERID& id : {FOLDERID_Windows,         FOLDERID_System,
                                    FOLDERID_SystemX86,       FOLDERID_ProgramFiles,
                                    FOLDERID_ProgramFilesX86, FOLDERID_ProgramFilesCommon,
                                    FOLDERID_ProgramData,     FOLDERID_ProgramFilesCommonX86,
                                    FOLDERID_Profile,         FOLDERID_UserProgramFiles,
                                    FOLDERID_UserProfiles,    FOLDERID_Public,
                                    FOLDERID_Desktop,         FOLDERID_PublicDesktop,
                                    FOLDERID_Documents,       FOLDERID_PublicDocuments,
                                    FOLDERID_Downloads,       FOLDERID_PublicDownloads,
                                    FOLDERID_Pictures,        FOLDERID_PublicPictures,
                                    FOLDERID_Music,           FOLDERID_PublicMusic,
                                    FOLDERID_Videos,          FOLDERID_PublicVideos,
                                    FOLDERID_RoamingAppData,  FOLDERID_LocalAppData,
                                    FOLDERID_LocalAppDataLow, FOLDERID_SavedGames,
                                    FOLDERID_Favorites,       FOLDERID_SkyDrive,
                                    FOLDERID_StartMenu,       FOLDERID_Programs,
                                    FOLDERID_Startup}) {
        placedId_ = id;
        EXPECT_EQ(FindRefusal(), Refusal::SharedFolder) << id.Data1;
    }
}

TEST_F(SharedFolder, MayBeInTheClientAndForWindowsAboveIt) {
    const auto hook = PlaceFolders();
    for (const bool isWindows : {true, false}) {
        placedId_ = isWindows ? FOLDERID_Windows : FOLDERID_Documents;
        const std::pair<fs::path, Refusal> cases[] = {
            {client_ / L"data" / L"not there", Refusal::SharedFolder},
            {UpperCase(client_), Refusal::SharedFolder},
            {Outside(), isWindows ? Refusal::SharedFolder : Refusal::None},
            {client_.native() + L"2", Refusal::None},
        };
        for (const auto& [place, refusal] : cases) {
            place_ = place;
            EXPECT_EQ(FindRefusal(), refusal) << place;
        }
    }
}

TEST_F(SharedFolder, IsRecognizedAlsoIfItCannotBeResolved) {
    const auto place = PlaceFolders();
    const auto closed = bench::HookOpen([&](const std::wstring& path) -> DWORD {
        // Opened without the separator at its end.
        return path == place_ || path + L'\\' == place_ ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
    });
    for (const fs::path& shared :
         {client_ / L"DATA", fs::path(UpperCase(client_.native() + L"\\"))}) {
        place_ = shared;
        EXPECT_EQ(FindRefusal(), Refusal::SharedFolder) << shared;
    }
    place_ = Outside() / L"elsewhere";
    EXPECT_EQ(FindRefusal(), Refusal::None);
}

TEST_F(SharedFolder, IsTheTemporaryFolderAndWhatIsAboveIt) {
    const std::pair<fs::path, Refusal> cases[] = {{client_, Refusal::SharedFolder},
                                                  {client_ / L"data", Refusal::SharedFolder},
                                                  {Outside(), Refusal::None}};
    for (const auto& [folder, refusal] : cases) {
        const bench::EnvironmentVariable temporary(L"TMP", folder.native());
        EXPECT_EQ(FindRefusal(), refusal) << folder;
    }
}

// With the system's own answers.
TEST_F(SharedFolder, IsTheRealDesktopByAnyNameButNoGameBelowDocuments) {
    const fs::path desktop = KnownFolder(FOLDERID_Desktop);
    const fs::path link = Outside() / L"link";
    SKIP_ON_WINDOWS_WITHOUT(bench::MakeFolderLink(link, desktop), "links for this user");
    const std::pair<fs::path, Refusal> cases[] = {
        {desktop, Refusal::SharedFolder},
        {UpperCase(desktop), Refusal::SharedFolder},
        {link, Refusal::SharedFolder},
        {fs::path(KnownFolder(FOLDERID_Documents)) / L"Bench Game", Refusal::None}};
    for (const auto& [folder, refusal] : cases) {
        const GameInFolder game(folder);
        Install(folder);
        EXPECT_EQ(FindRefusal(), refusal) << folder;
    }
    const fs::path inWindows = fs::path(KnownFolder(FOLDERID_Windows)) / L"Bench Game";
    std::error_code error;
    SKIP_ON_WINDOWS_WITHOUT(fs::create_directory(inWindows, error),
                            "the right to write to the system's folder");
    fs::remove(inWindows);
    const GameInFolder game(inWindows);
    Install(inWindows);
    EXPECT_EQ(FindRefusal(), Refusal::SharedFolder);
}

}  // namespace
