// The whole uninstaller, started as the list of installed programs starts it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "bench_parts/environment_variable.h"
#include "bench_parts/message_boxes.h"
#include "bench_parts/running_copy.h"
#include "bench_parts/waiting.h"
#include "common/temporary_folder.h"
#include "installed_game_test.h"

namespace {

namespace fs = std::filesystem;
using bench::Answer;
using bench::Await;
using bench::AwaitBox;
using bench::BoxText;
using testing::HasSubstr;

constexpr wchar_t kCaption[] = L"Uninstall Bench Game";

// The bench's game with the real uninstaller in its folder.
class UninstallerProgram : public InstalledGameTest {
protected:
    UninstallerProgram() {
        PutUninstaller(L"bench_uninstaller.exe");
        // Its configuration names none, so the default counts.
        bench::WriteFile(fs::path(toolFolder) / kDefaultStartupExe, "MZ start");
    }
    ~UninstallerProgram() override {
        // The copy ends a moment after its last box is closed.
        Await([] { return CopiesInTempFolder() == 0; });
    }

    static void PutUninstaller(const wchar_t* program) {
        bench::WriteFile(toolExePath, bench::ReadFile(bench::FolderOfThisProgram() / program));
    }

    // Starts what the entry says, from within the client folder.
    [[nodiscard]] KernelHandle StartAsRegistered() const {
        const bench::StoredValue value = bench::ReadKey(EntryKey())->at(L"UninstallString");
        return Start(std::wstring(reinterpret_cast<const wchar_t*>(value.bytes.data())));
    }

    // The process, which inherits handles; null when it does not start.
    static KernelHandle Start(std::wstring commandLine,
                              const fs::path& currentFolder = toolFolder) {
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION started{};
        if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                              currentFolder.c_str(), &startup, &started)) {
            return nullptr;
        }
        ::CloseHandle(started.hThread);
        return KernelHandle(started.hProcess);
    }

    // Starts a copy elsewhere as the original does, but lets the test see how it ends. `original`:
    // the handle that the copy waits for.
    [[nodiscard]] KernelHandle StartAsCopy(HANDLE original = nullptr) const {
        const fs::path copy = elsewhere_.Path() / L"copy.exe";
        bench::WriteFile(copy, bench::ReadFile(toolExePath));
        return Start(L"\"" + copy.native() + L"\" /remove \"" + toolExePath + L"\" " +
                         std::to_wstring(reinterpret_cast<uintptr_t>(original)),
                     elsewhere_.Path());
    }

    static DWORD ExitCode(const KernelHandle& process) {
        DWORD code = STILL_ACTIVE;
        ::WaitForSingleObject(process.get(), 60'000);
        ::GetExitCodeProcess(process.get(), &code);
        return code;
    }

    // Waits for a box with this text and icon and closes it.
    static void ExpectBox(const wchar_t* caption, const std::wstring& text,
                          UINT icon = MB_ICONERROR) {
        const HWND box = AwaitBox(caption);
        ASSERT_TRUE(box);
        EXPECT_EQ(BoxText(box), text);
        EXPECT_EQ(bench::BoxIcon(box), icon);
        Answer(box, IDOK);
    }

    static int CopiesInTempFolder() {
        int copies = 0;
        for (const fs::directory_entry& entry : fs::directory_iterator(TemporaryFolder())) {
            copies += entry.path().filename().native().starts_with(L"Uninstall-") ? 1 : 0;
        }
        return copies;
    }

private:
    bench::ScratchFolder elsewhere_;
};

TEST_F(UninstallerProgram, EndsWithZeroOnlyIfTheGameIsRemoved) {
    // The wait resets this event.
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    const KernelHandle original(::CreateEventW(&inheritable, FALSE, TRUE, nullptr));
    const KernelHandle declined = StartAsCopy(original.get());
    ASSERT_TRUE(declined);
    const HWND question = AwaitBox(kCaption);
    EXPECT_THAT(BoxText(question), HasSubstr(L"Do you want to remove"));
    EXPECT_EQ(::WaitForSingleObject(original.get(), 0), DWORD{WAIT_TIMEOUT});
    Answer(question, IDNO);
    EXPECT_EQ(ExitCode(declined), 1U);

    const KernelHandle confirmed = StartAsCopy();
    ASSERT_TRUE(confirmed);
    Answer(AwaitBox(kCaption), IDYES);
    ExpectBox(kCaption, L"Bench Game was removed.", MB_ICONINFORMATION);
    EXPECT_EQ(ExitCode(confirmed), 0U);
    EXPECT_TRUE(bench::FolderListing(Outside()).empty());
}

TEST_F(UninstallerProgram, RemovesTheGameAndItselfAfterAYes) {
    PutShortcut();
    const auto listing = bench::FolderListing(Outside());
    const auto entry = bench::ReadKey(EntryKey());
    const KernelHandle original = StartAsRegistered();
    ASSERT_TRUE(original);
    EXPECT_EQ(ExitCode(original), 0U);  // It has handed over.
    Answer(AwaitBox(kCaption), IDNO);
    EXPECT_TRUE(Await([] { return CopiesInTempFolder() == 0; }));
    EXPECT_EQ(bench::FolderListing(Outside()), listing);
    EXPECT_EQ(bench::ReadKey(EntryKey()), entry);

    ASSERT_TRUE(StartAsRegistered());
    const HWND question = AwaitBox(kCaption);
    ASSERT_TRUE(question);
    EXPECT_EQ(bench::DefaultButton(question), IDNO);
    EXPECT_THAT(BoxText(question), HasSubstr(toolFolder));
    Answer(question, IDYES);
    const HWND report = AwaitBox(kCaption);
    EXPECT_EQ(BoxText(report), L"Bench Game was removed.");
    EXPECT_TRUE(bench::FolderListing(Outside()).empty());
    EXPECT_FALSE(bench::ReadKey(EntryKey()));
    EXPECT_FALSE(fs::exists(Shortcut()));
    EXPECT_EQ(CopiesInTempFolder(), 1);
    Answer(report, IDOK);
    EXPECT_TRUE(Await([] { return CopiesInTempFolder() == 0; }));
}

TEST_F(UninstallerProgram, ReportsThatItCannotBeStartedAndEndsWithOne) {
    const auto listing = bench::FolderListing(Outside());
    KernelHandle original;
    {
        const bench::EnvironmentVariable tmp(L"TMP", Outside() / L"missing");
        const bench::EnvironmentVariable temp(L"TEMP", Outside() / L"missing");
        original = StartAsRegistered();
    }
    ASSERT_TRUE(original);
    ExpectBox(kCaption,
              L"The uninstaller could not be started from the temporary folder.\n\n"
              L"Nothing was removed.");
    EXPECT_EQ(ExitCode(original), 1U);
    EXPECT_EQ(bench::FolderListing(Outside()), listing);
}

TEST_F(UninstallerProgram, RefusesOtherFoldersAlsoFromTheCommandLine) {
    const fs::path other = Outside() / L"other" / L"Uninstall.exe";
    bench::WriteFile(other, bench::ReadFile(toolExePath));
    bench::WriteFile(other.parent_path() / L"bin" / L"start.exe", "MZ");
    const auto listing = bench::FolderListing(Outside());
    for (const std::wstring& commandLine :
         {L"\"" + other.native() + L"\"",
          L"\"" + toolExePath + L"\" /remove \"" + other.native() + L"\" 0"}) {
        ASSERT_TRUE(Start(commandLine));
        ExpectBox(kCaption, L"Bench Game is installed in another folder:\n" + toolFolder +
                                L"\n\nNothing was removed.");
    }
    EXPECT_EQ(bench::FolderListing(Outside()), listing);
}

TEST_F(UninstallerProgram, RefusesWithoutItsConfiguration) {
    PutUninstaller(L"bare_uninstaller.exe");
    const auto listing = bench::FolderListing(Outside());
    const KernelHandle original = StartAsRegistered();
    ASSERT_TRUE(original);
    ExpectBox(L"Uninstall", L"This uninstaller does not know its game.\n\nNothing was removed.");
    EXPECT_EQ(ExitCode(original), 1U);
    EXPECT_EQ(bench::FolderListing(Outside()), listing);
}

}  // namespace
