// The whole uninstaller, started as the list of installed programs starts it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "installed_game_test.h"
#include "resource_ids.h"

namespace {

namespace fs = std::filesystem;
using bench::Answer;
using bench::Await;
using bench::AwaitBox;
using bench::BoxText;
using testing::HasSubstr;

// The bench's game with the real uninstaller in its folder.
class UninstallerProgram : public InstalledGameTest {
protected:
    UninstallerProgram() {
        PutUninstaller(L"bench_uninstaller.exe");
    }
    ~UninstallerProgram() override {
        // The copy ends a moment after its last box is closed.
        Await([] { return CopiesInTempFolder() == 0; });
    }

    static void PutUninstaller(const wchar_t* program) {
        bench::WriteFile(toolExePath, bench::ReadFile(bench::FolderOfThisProgram() / program));
    }

    // Gives the uninstaller another configuration text.
    static void Configure(std::string text) {
        const HANDLE update = ::BeginUpdateResourceW(toolExePath.c_str(), FALSE);
        ASSERT_NE(update, nullptr);
        // Resource compilers differ in the language that they give a resource without one.
        for (const WORD language : {WORD{MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL)},
                                    WORD{MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US)}}) {
            EXPECT_TRUE(::UpdateResourceW(update, RT_RCDATA, MAKEINTRESOURCEW(ID_CONFIG_TEXT),
                                          language, text.data(), static_cast<DWORD>(text.size())));
        }
        EXPECT_TRUE(::EndUpdateResourceW(update, FALSE));
    }

    // Starts what the entry says, from within the client folder.
    [[nodiscard]] KernelHandle StartAsRegistered() const {
        const bench::StoredValue value = bench::ReadKey(EntryKey())->at(L"UninstallString");
        return Start(std::wstring(reinterpret_cast<const wchar_t*>(value.bytes.data())));
    }

    // The process; null when it does not start.
    static KernelHandle Start(std::wstring commandLine,
                              const fs::path& currentFolder = toolFolder) {
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION started{};
        if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                              currentFolder.c_str(), &startup, &started)) {
            return nullptr;
        }
        ::CloseHandle(started.hThread);
        return KernelHandle(started.hProcess);
    }

    // Starts a copy elsewhere as the original does, but lets the test see how it ends.
    [[nodiscard]] KernelHandle StartAsCopy() const {
        const fs::path copy = elsewhere_.Path() / L"copy.exe";
        bench::WriteFile(copy, bench::ReadFile(toolExePath));
        return Start(L"\"" + copy.native() + L"\" /remove \"" + toolExePath.native() + L"\" 0",
                     elsewhere_.Path());
    }

    static DWORD ExitCode(const KernelHandle& process) {
        DWORD code = STILL_ACTIVE;
        ::WaitForSingleObject(process.get(), 60'000);
        ::GetExitCodeProcess(process.get(), &code);
        return code;
    }

    static int CopiesInTempFolder() {
        std::wstring folder(MAX_PATH + 1, L'\0');
        folder.resize(::GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()));
        int copies = 0;
        for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
            copies += entry.path().filename().native().starts_with(L"Uninstall-") ? 1 : 0;
        }
        return copies;
    }

private:
    bench::ScratchFolder elsewhere_;
};

// The temporary folder of programs that are started while the object lives.
class TemporaryFolderAt {
public:
    explicit TemporaryFolderAt(const fs::path& folder) {
        for (Variable& variable : variables_) {
            variable.former.resize(32'767);
            variable.former.resize(::GetEnvironmentVariableW(
                variable.name, variable.former.data(), static_cast<DWORD>(variable.former.size())));
            ::SetEnvironmentVariableW(variable.name, folder.c_str());
        }
    }
    ~TemporaryFolderAt() {
        for (const Variable& variable : variables_) {
            ::SetEnvironmentVariableW(variable.name, variable.former.c_str());
        }
    }
    TemporaryFolderAt(const TemporaryFolderAt&) = delete;
    TemporaryFolderAt& operator=(const TemporaryFolderAt&) = delete;

private:
    struct Variable {
        const wchar_t* name;
        std::wstring former;
    };
    std::array<Variable, 2> variables_{Variable{L"TMP", {}}, Variable{L"TEMP", {}}};
};

TEST_F(UninstallerProgram, EndsWithZeroWhenTheGameIsGone) {
    const KernelHandle copy = StartAsCopy();
    ASSERT_TRUE(copy);
    Answer(AwaitBox(L"Uninstall Bench Game"), IDYES);
    const HWND report = AwaitBox(L"Uninstall Bench Game");
    EXPECT_EQ(BoxText(report), L"Bench Game was removed.");
    Answer(report, IDOK);
    EXPECT_EQ(ExitCode(copy), 0U);
    EXPECT_TRUE(bench::FolderListing(Outside()).empty());
}

TEST_F(UninstallerProgram, EndsWithOneAfterANo) {
    const KernelHandle copy = StartAsCopy();
    ASSERT_TRUE(copy);
    const HWND question = AwaitBox(L"Uninstall Bench Game");
    EXPECT_THAT(BoxText(question), HasSubstr(L"Do you want to remove"));
    Answer(question, IDNO);
    EXPECT_EQ(ExitCode(copy), 1U);
}

TEST_F(UninstallerProgram, SaysThatItCouldNotBeStartedAndEndsWithOne) {
    const auto listing = bench::FolderListing(Outside());
    KernelHandle original;
    {
        const TemporaryFolderAt missing(Outside() / L"missing");
        original = StartAsRegistered();
    }
    ASSERT_TRUE(original);
    const HWND box = AwaitBox(L"Uninstall Bench Game");
    ASSERT_TRUE(box);
    EXPECT_EQ(BoxText(box),
              L"The uninstaller could not be started from the temporary folder.\n\n"
              L"Nothing was removed.");
    Answer(box, IDOK);
    EXPECT_EQ(ExitCode(original), 1U);
    EXPECT_EQ(bench::FolderListing(Outside()), listing);
}

TEST_F(UninstallerProgram, RemovesTheGameAndItself) {
    PutShortcut();
    ASSERT_TRUE(StartAsRegistered());
    const HWND question = AwaitBox(L"Uninstall Bench Game");
    ASSERT_TRUE(question);
    EXPECT_EQ(bench::DefaultButton(question), IDNO);
    EXPECT_THAT(BoxText(question), HasSubstr(toolFolder.native()));
    Answer(question, IDYES);
    const HWND report = AwaitBox(L"Uninstall Bench Game");
    ASSERT_TRUE(report);
    EXPECT_EQ(BoxText(report), L"Bench Game was removed.");
    EXPECT_TRUE(bench::FolderListing(Outside()).empty());
    EXPECT_FALSE(bench::ReadKey(EntryKey()));
    EXPECT_FALSE(fs::exists(Shortcut()));
    EXPECT_EQ(CopiesInTempFolder(), 1);
    Answer(report, IDOK);
    EXPECT_TRUE(Await([] { return CopiesInTempFolder() == 0; }));
}

TEST_F(UninstallerProgram, RemovesNothingAfterANo) {
    const auto listing = bench::FolderListing(Outside());
    const auto entry = bench::ReadKey(EntryKey());
    const KernelHandle original = StartAsRegistered();
    ASSERT_TRUE(original);
    EXPECT_EQ(ExitCode(original), 0U);  // It has handed over.
    const HWND question = AwaitBox(L"Uninstall Bench Game");
    ASSERT_TRUE(question);
    Answer(question, IDNO);
    EXPECT_TRUE(Await([] { return CopiesInTempFolder() == 0; }));
    EXPECT_EQ(bench::FolderListing(Outside()), listing);
    EXPECT_EQ(bench::ReadKey(EntryKey()), entry);
}

TEST_F(UninstallerProgram, RefusesOutsideTheRegisteredFolder) {
    const fs::path stray = Outside() / L"Downloads" / L"Uninstall.exe";
    bench::WriteFile(stray, bench::ReadFile(toolExePath));
    const auto listing = bench::FolderListing(Outside());
    ASSERT_TRUE(Start(L"\"" + stray.native() + L"\""));
    const HWND refusal = AwaitBox(L"Uninstall Bench Game");
    ASSERT_TRUE(refusal);
    EXPECT_THAT(BoxText(refusal), HasSubstr(L"is installed in another folder"));
    Answer(refusal, IDOK);
    EXPECT_EQ(bench::FolderListing(Outside()), listing);
}

TEST_F(UninstallerProgram, RefusesAFolderNamedOnTheCommandLine) {
    const fs::path other = Outside() / L"other" / L"Uninstall.exe";
    bench::WriteFile(other, "MZ");
    bench::WriteFile(other.parent_path() / L"bin" / L"start.exe", "MZ");
    const auto listing = bench::FolderListing(Outside());
    ASSERT_TRUE(Start(L"\"" + toolExePath.native() + L"\" /remove \"" + other.native() + L"\" 0"));
    const HWND refusal = AwaitBox(L"Uninstall Bench Game");
    ASSERT_TRUE(refusal);
    EXPECT_THAT(BoxText(refusal), HasSubstr(L"Nothing was removed."));
    Answer(refusal, IDOK);
    EXPECT_EQ(bench::FolderListing(Outside()), listing);
}

TEST_F(UninstallerProgram, KnowsTheUsualStartupProgramOfAGameThatNamesNone) {
    Configure("format=Quellstone.v1\nprogramsDisplayName=Bench Game\nstartupExe=\n");
    bench::WriteFile(toolFolder / L"patcher.exe", "MZ");
    const KernelHandle copy = StartAsCopy();
    ASSERT_TRUE(copy);
    const HWND question = AwaitBox(L"Uninstall Bench Game");
    EXPECT_THAT(BoxText(question), HasSubstr(L"Do you want to remove"));
    Answer(question, IDNO);
    EXPECT_EQ(ExitCode(copy), 1U);
}

TEST_F(UninstallerProgram, RefusesWithoutItsConfiguration) {
    PutUninstaller(L"bare_uninstaller.exe");
    const auto listing = bench::FolderListing(Outside());
    const KernelHandle original = StartAsRegistered();
    ASSERT_TRUE(original);
    const HWND refusal = AwaitBox(L"Uninstall");
    ASSERT_TRUE(refusal);
    EXPECT_EQ(BoxText(refusal),
              L"This uninstaller does not know its game.\n\nNothing was removed.");
    Answer(refusal, IDOK);
    EXPECT_EQ(ExitCode(original), 1U);
    EXPECT_EQ(bench::FolderListing(Outside()), listing);
}

}  // namespace
