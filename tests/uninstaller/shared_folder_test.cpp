#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/import_hook.h"
#include "bench_parts/skipping.h"
#include "judge_client_test.h"

namespace {

namespace fs = std::filesystem;

class SharedFolder : public JudgeClientTest {};

// A system that keeps one of its folders at a place of the test's choice, and has no others.
GUID placedFolder{};
fs::path placedAt;

HRESULT WINAPI PlaceFolder(REFKNOWNFOLDERID id, DWORD, HANDLE, PWSTR* path) {
    *path = nullptr;
    if (!::IsEqualGUID(id, placedFolder)) {
        return E_FAIL;
    }
    const std::wstring& text = placedAt.native();
    *path = static_cast<wchar_t*>(::CoTaskMemAlloc((text.size() + 1) * sizeof(wchar_t)));
    (*path)[text.copy(*path, text.size())] = L'\0';
    return S_OK;
}

TEST_F(SharedFolder, RefusesFoldersThatHoldOtherThings) {
    const bench::ImportHook hook(L"shell32.dll", "SHGetKnownFolderPath",
                                 reinterpret_cast<void*>(&PlaceFolder));
    ASSERT_TRUE(hook.Installed());
    const std::vector<const KNOWNFOLDERID*> ids{&FOLDERID_Windows,
                                                &FOLDERID_System,
                                                &FOLDERID_SystemX86,
                                                &FOLDERID_ProgramFiles,
                                                &FOLDERID_ProgramFilesX86,
                                                &FOLDERID_ProgramFilesCommon,
                                                &FOLDERID_ProgramFilesCommonX86,
                                                &FOLDERID_ProgramData,
                                                &FOLDERID_UserProgramFiles,
                                                &FOLDERID_Profile,
                                                &FOLDERID_UserProfiles,
                                                &FOLDERID_Public,
                                                &FOLDERID_Desktop,
                                                &FOLDERID_PublicDesktop,
                                                &FOLDERID_Documents,
                                                &FOLDERID_PublicDocuments,
                                                &FOLDERID_Downloads,
                                                &FOLDERID_PublicDownloads,
                                                &FOLDERID_Pictures,
                                                &FOLDERID_PublicPictures,
                                                &FOLDERID_Music,
                                                &FOLDERID_PublicMusic,
                                                &FOLDERID_Videos,
                                                &FOLDERID_PublicVideos,
                                                &FOLDERID_RoamingAppData,
                                                &FOLDERID_LocalAppData,
                                                &FOLDERID_LocalAppDataLow,
                                                &FOLDERID_SavedGames,
                                                &FOLDERID_Favorites,
                                                &FOLDERID_SkyDrive,
                                                &FOLDERID_StartMenu,
                                                &FOLDERID_Programs,
                                                &FOLDERID_Startup};
    for (size_t i = 0; i < ids.size(); ++i) {
        placedFolder = *ids[i];
        placedAt = toolFolder;
        EXPECT_EQ(FindRefusal(), Refusal::SharedFolder) << i;
        placedAt = toolFolder / L"data" / L"not there";
        EXPECT_EQ(FindRefusal(), Refusal::SharedFolder) << i;
        // Everything below the folder of the system itself is the system's.
        placedAt = Outside();
        EXPECT_EQ(FindRefusal(), i == 0 ? Refusal::SharedFolder : Refusal::None) << i;
        placedAt = toolFolder.native() + L"2";
        EXPECT_EQ(FindRefusal(), Refusal::None) << i;
    }
}

TEST_F(SharedFolder, RefusesASharedFolderThatCannotBeResolved) {
    const bench::ImportHook place(L"shell32.dll", "SHGetKnownFolderPath",
                                  reinterpret_cast<void*>(&PlaceFolder));
    ASSERT_TRUE(place.Installed());
    placedFolder = FOLDERID_Documents;
    placedAt = toolFolder / L"DATA";
    const auto real = bench::RealFunction<decltype(&::CreateFileW)>(L"kernel32.dll", "CreateFileW");
    const auto closed = bench::HookCall<decltype(&::CreateFileW)>(
        L"kernel32.dll", "CreateFileW", [&](LPCWSTR path, auto... more) -> HANDLE {
            if (placedAt.native() == path) {
                ::SetLastError(ERROR_ACCESS_DENIED);
                return INVALID_HANDLE_VALUE;
            }
            return real(path, more...);
        });
    EXPECT_EQ(FindRefusal(), Refusal::SharedFolder);
    std::wstring otherCase = toolFolder.native() + L"\\";
    ::CharUpperBuffW(otherCase.data(), static_cast<DWORD>(otherCase.size()));
    placedAt = otherCase;
    EXPECT_EQ(FindRefusal(), Refusal::SharedFolder);
    placedAt = Outside() / L"elsewhere";
    EXPECT_EQ(FindRefusal(), Refusal::None);
}

TEST_F(SharedFolder, RefusesTheTemporaryFolderAndWhatIsAboveIt) {
    fs::path temporary;
    const auto hook = bench::HookCall<decltype(&::GetTempPathW)>(
        L"kernel32.dll", "GetTempPathW", [&](DWORD, LPWSTR text) -> DWORD {
            const std::wstring path = temporary.native() + L"\\";
            text[path.copy(text, MAX_PATH)] = L'\0';
            return static_cast<DWORD>(path.size());
        });
    temporary = toolFolder;
    EXPECT_EQ(FindRefusal(), Refusal::SharedFolder);
    temporary = toolFolder / L"data";
    EXPECT_EQ(FindRefusal(), Refusal::SharedFolder);
    temporary = Outside();
    EXPECT_EQ(FindRefusal(), Refusal::None);
}

TEST_F(SharedFolder, RefusesAFolderBelowTheRealSystemFolder) {
    const fs::path folder = KnownFolder(FOLDERID_Windows) / L"Bench Game";
    std::error_code error;
    SKIP_ON_WINDOWS_WITHOUT(fs::create_directory(folder, error),
                            "the right to write to the system's folder");
    fs::remove(folder);
    const GameInFolder game(folder);
    Install(folder);
    EXPECT_EQ(FindRefusal(), Refusal::SharedFolder);
}

TEST_F(SharedFolder, RefusesTheRealDesktop) {
    const GameInFolder game(KnownFolder(FOLDERID_Desktop));
    Install(KnownFolder(FOLDERID_Desktop));
    EXPECT_EQ(FindRefusal(), Refusal::SharedFolder);
}

TEST_F(SharedFolder, RefusesASharedFolderByItsOtherNames) {
    const fs::path desktop = KnownFolder(FOLDERID_Desktop);
    std::wstring otherCase = desktop.native();
    ::CharUpperBuffW(otherCase.data(), static_cast<DWORD>(otherCase.size()));
    const GameInFolder game(desktop);
    Install(otherCase);
    EXPECT_EQ(FindRefusal(), Refusal::SharedFolder);
    const fs::path link = Outside() / L"link";
    if (bench::MakeFolderLink(link, desktop)) {
        Install(link);
        EXPECT_EQ(FindRefusal(), Refusal::SharedFolder);
    }
}

TEST_F(SharedFolder, ConsentsToAGameBelowASharedFolder) {
    const fs::path folder = KnownFolder(FOLDERID_Documents) / L"Bench Game";
    const GameInFolder game(folder);
    Install(folder);
    EXPECT_EQ(FindRefusal(), Refusal::None);
}

}  // namespace
