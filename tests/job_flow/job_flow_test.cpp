#include "job/job_flow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cwchar>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/tool_instance.h"
#include "config/tool_config.h"
#include "job/job_thread.h"
#include "job_flow/game_machine.h"
#include "package/call_hook.h"
#include "package/package_source.h"
#include "system/registry_entry.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr wchar_t kZip[] = L"zip_lone_folder.zip";
constexpr wchar_t kRar[] = L"rar5_plain.rar";
constexpr wchar_t kNoUrl[] = L"No valid CDN package URL is configured.";

TEST(HasHttpScheme, AcceptsExactlyTheTwoSchemesAtTheStart) {
    const std::pair<std::wstring_view, bool> rows[] = {
        {L"http://", true},
        {L"https://", true},
        {L"http://host/a.zip", true},
        {L"https://host", true},
        {L"", false},
        {L"http:/", false},
        {L"http:/host", false},
        {L"https:/", false},
        {L"HTTP://host", false},
        {L"Https://host", false},
        {L" http://host", false},
        {L"ftp://host", false},
        {L"xhttp://host", false},
        {L"httpx://host", false},
        {L"file:///c:/http://", false},
    };
    for (const auto& [url, accepted] : rows) {
        EXPECT_EQ(HasHttpScheme(url), accepted) << std::wstring(url);
    }
}

constexpr wchar_t kKernel32[] = L"kernel32.dll";

template <class Function>
Function Real(const char* name) {
    return RealFunction<Function>(kKernel32, name);
}

// What the client should be: the package's files from below its lone top folder.
bench::Contents LoneFolderPackage() {
    return bench::Below(L"Client", bench::PackageContents(kZip));
}

class JobFlowTest : public GameMachine {
protected:
    void SetUp() override {
        toolConfig.archiveUrl = PackageUrl(kZip);
    }

    std::string RequestedName() const {
        const auto log = server_.RequestLog();
        return log.empty() ? std::string() : log.front().requestLine;
    }
};

TEST_F(JobFlowTest, RepairFillsAnEmptyClientFolder) {
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
    EXPECT_THAT(TempFolder(), IsEmpty());
}

TEST_F(JobFlowTest, RepairMendsABrokenClientAndLeavesOtherFilesAlone) {
    RunJob(JobKind::Repair);
    resetForRetry();
    bench::WriteFile(Client() / L"data" / L"maps" / L"a.map", "broken");
    fs::remove(Client() / L"client.exe");
    bench::WriteFile(Client() / L"data" / L"player settings.ini", "mine");
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    bench::Contents expected = LoneFolderPackage();
    expected[L"data/player settings.ini"] = "mine";
    EXPECT_EQ(bench::FirstDifference(expected, ClientContents()), "");
    EXPECT_EQ(snapshot().filesRepaired, 2u);
}

TEST_F(JobFlowTest, ReinstallLeavesThePackageAndTheToolOnly) {
    bench::WriteFile(Client() / L"data" / L"player settings.ini", "mine");
    bench::WriteFile(Client() / L"old" / L"deep" / L"file", "old");
    bench::WriteFile(Client() / L"client.exe", "old");
    RunJob(JobKind::Reinstall);
    ExpectSuccess(L"Reinstall complete.");
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
    EXPECT_THAT(TempFolder(), IsEmpty());
}

TEST_F(JobFlowTest, RarPackageIsUnpackedByAProgramBesideTheTool) {
    machine_.PutSevenZip(Client() / L"7z.exe");
    toolConfig.archiveUrl = PackageUrl(kRar);
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    bench::Contents client = ClientContents();
    client.erase(L"7z.exe");
    client.erase(L"7z.dll");
    EXPECT_EQ(bench::FirstDifference(bench::PackageContents(kRar), client), "");
}

TEST_F(JobFlowTest, FilesGetThePackagesTimeStamps) {
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    const uint64_t first = bench::GetWriteTime(Client() / L"client.exe");
    bench::SetWriteTime(Client() / L"client.exe", first + 50'000'000);
    resetForRetry();
    RunJob(JobKind::Repair);
    EXPECT_EQ(bench::GetWriteTime(Client() / L"client.exe"), first);
    EXPECT_EQ(snapshot().filesRepaired, 0u);
}

TEST_F(JobFlowTest, EntersTheGameIntoTheListOfInstalledPrograms) {
    toolConfig.websiteUrl = L"https://karvoth.example/";
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    const auto entry = ReadKey(kEntryKey);
    ASSERT_TRUE(entry);
    const std::wstring folder = Client().native();
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    std::array<wchar_t, 16> today{};
    std::swprintf(today.data(), today.size(), L"%04u%02u%02u", now.wYear, now.wMonth, now.wDay);
    EXPECT_EQ(entry->at(L"DisplayName"), StoredText(L"Karvoth"));
    EXPECT_EQ(entry->at(L"Publisher"), StoredText(L"Brennick"));
    EXPECT_EQ(entry->at(L"DisplayVersion"), StoredText(L"2.0.0"));
    EXPECT_EQ(entry->at(L"InstallLocation"), StoredText(folder));
    EXPECT_EQ(entry->at(L"UninstallString"), StoredText(L"\"" + folder + L"\\Uninstall.exe\""));
    EXPECT_EQ(entry->at(L"DisplayIcon"), StoredText(folder + L"\\client.exe,0"));
    EXPECT_EQ(entry->at(L"InstallDate"), StoredText(today.data()));
    EXPECT_EQ(entry->at(L"URLInfoAbout"), StoredText(L"https://karvoth.example/"));
    EXPECT_EQ(entry->at(L"NoModify"), StoredNumber(1));
    EXPECT_EQ(entry->at(L"NoRepair"), StoredNumber(1));
    uint64_t bytes = kToolBytes.size() + fs::file_size(Client() / L"Uninstall.exe");
    for (const auto& [name, content] : ClientContents()) {
        bytes += content.size();
    }
    EXPECT_EQ(entry->at(L"EstimatedSize"),
              StoredNumber(static_cast<uint32_t>((bytes + 1023) / 1024)));
    EXPECT_THAT(*entry, SizeIs(11));
}

TEST_F(JobFlowTest, WritesTheEmbeddedUninstaller) {
    bench::WriteFile(Client() / L"Uninstall.exe", std::string(10'000, 'o'));
    RunJob(JobKind::Repair);
    EXPECT_EQ(bench::ReadFile(Client() / L"Uninstall.exe"), "the uninstaller's bytes");
}

// The servers.

TEST_F(JobFlowTest, GivenUrlIsAskedInsteadOfTheConfiguredOne) {
    toolConfig.archiveUrl = server_.Url(L"status/500");
    RunJob(JobKind::Repair, L" \t" + PackageUrl(kZip) + L"\r\n");
    ExpectSuccess(kRepairSuccess);
    EXPECT_EQ(RequestedName(),
              "GET " + server_.ObjectName("archive/zip_lone_folder.zip") + " HTTP/1.1");
}

TEST_F(JobFlowTest, EachServerChoiceAsksForItsOwnPackage) {
    toolConfig.multiRepairTool = true;
    toolConfig.archiveUrl = server_.Url(L"status/501");
    toolConfig.archiveMirrorUrls = {server_.Url(L"status/502"), server_.Url(L"status/503")};
    RunJob(JobKind::Repair, ChoosePackageUrl(toolConfig, true));
    ExpectFailure(L"The server returned HTTP 501.");
    resetForRetry();
    RunJob(JobKind::Repair, ChoosePackageUrl(toolConfig, false));
    ExpectFailure(L"The server returned HTTP 502.");
    resetForRetry();
    RunJob(JobKind::Reinstall);
    ExpectFailure(L"The server returned HTTP 501.");
}

TEST_F(JobFlowTest, BlankUrlFallsBackToTheConfiguredOne) {
    RunJob(JobKind::Repair, L" \t\r\n");
    ExpectSuccess(kRepairSuccess);
    EXPECT_EQ(selectedPackageUrl, toolConfig.archiveUrl);
}

TEST_F(JobFlowTest, ConfiguredUrlWithBlanksAroundItIsStillTrimmedForTheJob) {
    toolConfig.archiveUrl = L"  " + PackageUrl(kZip) + L" ";
    RunJob(JobKind::Repair);
    EXPECT_EQ(selectedPackageUrl, toolConfig.archiveUrl);
    ExpectSuccess(kRepairSuccess);
}

// Failures, each with what it leaves.

TEST_F(JobFlowTest, UrlWithoutAnAcceptedSchemeIsRefused) {
    for (const std::wstring& url :
         {std::wstring(), std::wstring(L" \t"), std::wstring(L"ftp://h/a"),
          L"HTTP" + PackageUrl(kZip).substr(4)}) {
        toolConfig.archiveUrl = url;
        RunJob(JobKind::Repair);
        ExpectFailure(kNoUrl);
        resetForRetry();
    }
    EXPECT_THAT(server_.RequestLog(), IsEmpty());
    EXPECT_THAT(ClientContents(), IsEmpty());
}

TEST_F(JobFlowTest, SchemeAlonePassesTheTestAndFailsInTheDownload) {
    toolConfig.archiveUrl = L"http://";
    RunJob(JobKind::Repair);
    ExpectFailure(L"The package URL is not valid.");
}

TEST_F(JobFlowTest, FailedDownloadLeavesNothingBehind) {
    toolConfig.archiveUrl = server_.Url(L"status/404");
    RunJob(JobKind::Repair);
    ExpectFailure(L"The server returned HTTP 404.");
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_THAT(ClientContents(), IsEmpty());
    EXPECT_FALSE(ReadKey(kEntryKey));
}

TEST_F(JobFlowTest, PackageOfAFailedHashCheckIsDeleted) {
    toolConfig.archiveSha256 = std::wstring(64, L'0');
    RunJob(JobKind::Repair);
    ExpectFailure(L"The downloaded package hash does not match the configured SHA-256.");
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_THAT(ClientContents(), IsEmpty());
}

TEST_F(JobFlowTest, FailedUnpackingLeavesNothingBehind) {
    toolConfig.archiveUrl = PackageUrl(L"rar5_damaged.rar");
    machine_.PutSevenZip(Client() / L"7z.exe");
    RunJob(JobKind::Repair);
    ExpectFailure(
        L"RAR extraction failed with 7z.exe exit code 2.\nCheck that the CDN file is a complete, "
        L"non-password-protected .rar archive. If it still fails, install 7-Zip or place 7z.exe "
        L"beside this tool.");
    EXPECT_THAT(TempFolder(), IsEmpty());
}

TEST_F(JobFlowTest, PageInsteadOfAPackageIsNoArchive) {
    toolConfig.archiveUrl = server_.Url(L"body/1000");
    RunJob(JobKind::Repair);
    ExpectFailure(
        L"The downloaded package is not a valid ZIP or RAR archive.\nCheck that the CDN URL points "
        L"directly to the client .zip/.rar file, not an installer EXE or website page.");
    EXPECT_THAT(TempFolder(), IsEmpty());
}

TEST_F(JobFlowTest, FileThatCannotBeRepairedEndsTheJobAndCleansUp) {
    bench::WriteFile(Client() / L"data" / L"maps" / L"a.map", "broken");
    bench::SetReadOnly(Client() / L"data" / L"maps" / L"a.map", true);
    RunJob(JobKind::Repair);
    ExpectFailure(L"Could not repair this file: data\\maps\\a.map");
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_EQ(::GetFileAttributesW((Client() / L"Uninstall.exe").c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_FALSE(ReadKey(kEntryKey));
}

TEST_F(JobFlowTest, UninstallerThatCannotBeWrittenFailsWithTheClientInPlace) {
    bench::WriteFile(Client() / L"Uninstall.exe", "old");
    const bench::OpenElsewhere open(Client() / L"Uninstall.exe", FILE_SHARE_READ);
    RunJob(JobKind::Repair);
    ExpectFailure(L"Could not write Uninstall.exe to the client folder.");
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_FALSE(ReadKey(kEntryKey));
}

TEST_F(JobFlowTest, FailedRegistrationCountsAsFailureWithTheUninstallerWritten) {
    toolConfig.programsDisplayName = std::wstring(300, L'n');  // Longer than a key name may be.
    RunJob(JobKind::Repair);
    ExpectFailure(L"Could not register the game in Programs and Features.");
    EXPECT_EQ(bench::FirstDifference(LoneFolderPackage(), ClientContents()), "");
    EXPECT_EQ(bench::ReadFile(Client() / L"Uninstall.exe"), "the uninstaller's bytes");
    EXPECT_THAT(TempFolder(), IsEmpty());
}

TEST_F(JobFlowTest, FailedReinstallShowsTheHeadlineOfARepair) {
    toolConfig.archiveUrl = server_.Url(L"status/404");
    RunJob(JobKind::Reinstall);
    ExpectFailure(L"The server returned HTTP 404.");
    EXPECT_EQ(snapshot().kind, JobKind::Reinstall);
}

TEST_F(JobFlowTest, CleanOutThatBreaksOffFailsTheJobAndStillCleansUp) {
    bench::WriteFile(Client() / L"a", "x");
    bench::WriteFile(Client() / L"b", "x");
    const auto hook = HookCall<decltype(&::FindNextFileW)>(
        kKernel32, "FindNextFileW", [](HANDLE listing, LPWIN32_FIND_DATAW found) -> BOOL {
            // The clean-out is the only one that lists with this text on the screen.
            if (snapshot().statusLine == L"Preparing clean reinstall...") {
                ::SetLastError(ERROR_READ_FAULT);
                return FALSE;
            }
            return Real<decltype(&::FindNextFileW)>("FindNextFileW")(listing, found);
        });
    RunJob(JobKind::Reinstall);
    ExpectFailure(L"Could not read the client folder while removing the old client files.");
    EXPECT_THAT(TempFolder(), IsEmpty());
}

// The clean-up.

TEST_F(JobFlowTest, PackageStaysWhenCleaningItUpIsOff) {
    toolConfig.cleanupArchive = false;
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    ASSERT_THAT(TempFolder(), SizeIs(1));
    EXPECT_TRUE(TempFolder().front().starts_with(L"KrvBrennickInstaller.exe_"));
    EXPECT_TRUE(TempFolder().front().ends_with(L".zip"));
    fs::remove(fs::temp_directory_path() / TempFolder().front());
    resetForRetry();

    toolConfig.archiveSha256 = L"00";
    RunJob(JobKind::Repair);
    EXPECT_TRUE(jobProgress.failed);
    EXPECT_THAT(TempFolder(), SizeIs(1));
}

TEST_F(JobFlowTest, ScratchFolderThatCannotGoDoesNotDisturbTheSuccess) {
    // Something of it stays open, as a virus scanner would keep it.
    std::unique_ptr<bench::OpenElsewhere> scanner;
    const auto hook = HookCall<decltype(&::CopyFileW)>(
        kKernel32, "CopyFileW", [&](LPCWSTR source, LPCWSTR target, BOOL failIfExists) -> BOOL {
            if (!scanner) {
                scanner = std::make_unique<bench::OpenElsewhere>(source, FILE_SHARE_READ);
            }
            return Real<decltype(&::CopyFileW)>("CopyFileW")(source, target, failIfExists);
        });
    RunJob(JobKind::Repair);
    scanner.reset();
    ExpectSuccess(kRepairSuccess);
    ASSERT_THAT(TempFolder(), SizeIs(1));
    EXPECT_TRUE(TempFolder().front().starts_with(L"KrvBrennickRepair_"));
}

// The record on the way.

struct SeenState {
    std::wstring status;
    std::wstring detail;

    bool operator==(const SeenState&) const = default;
};

// What the record says whenever a stage begins with its call into the system: what a player sees
// while the stage works.
std::vector<SeenState> StatesSeenDuring(const std::function<void()>& job) {
    std::vector<SeenState> states;
    const auto note = [&] {
        const JobState state = snapshot();
        const SeenState seen{state.statusLine, state.detailLine};
        if (states.empty() || states.back() != seen) {
            states.push_back(seen);
        }
    };
    const auto temp = HookCall<decltype(&::GetTempPathW)>(
        kKernel32, "GetTempPathW", [&](DWORD size, LPWSTR buffer) -> DWORD {
            note();
            return Real<decltype(&::GetTempPathW)>("GetTempPathW")(size, buffer);
        });
    const auto resource = HookCall<decltype(&::FindResourceW)>(
        kKernel32, "FindResourceW", [&](HMODULE module, LPCWSTR name, LPCWSTR type) -> HRSRC {
            note();
            return Real<decltype(&::FindResourceW)>("FindResourceW")(module, name, type);
        });
    const auto key = HookCall<decltype(&::RegCreateKeyExW)>(
        L"advapi32.dll", "RegCreateKeyExW", [&](auto... arguments) -> LSTATUS {
            note();
            return RealFunction<decltype(&::RegCreateKeyExW)>(L"advapi32.dll",
                                                              "RegCreateKeyExW")(arguments...);
        });
    job();
    return states;
}

TEST_F(JobFlowTest, ShowsWhatItBeginsWith) {
    const auto repair = StatesSeenDuring([&] { RunJob(JobKind::Repair); });
    ASSERT_FALSE(repair.empty());
    EXPECT_EQ(repair.front(), (SeenState{L"Starting repair...", L"Preparing CDN package..."}));
    resetForRetry();
    const auto reinstall = StatesSeenDuring([&] { RunJob(JobKind::Reinstall); });
    ASSERT_FALSE(reinstall.empty());
    EXPECT_EQ(reinstall.front(),
              (SeenState{L"Starting reinstall...", L"Preparing CDN package..."}));
}

TEST_F(JobFlowTest, ShowsTheTwoStepsOfFinishing) {
    const auto seen = StatesSeenDuring([&] { RunJob(JobKind::Repair); });
    ASSERT_GE(seen.size(), 2u);
    EXPECT_EQ(seen[seen.size() - 2], (SeenState{L"Finishing...", L"Writing Uninstall.exe..."}));
    EXPECT_EQ(seen.back(),
              (SeenState{L"Finishing...", L"Registering Programs and Features entry..."}));
}

// The end.

struct PostedMessage {
    HWND window;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    JobStage stage;  // What the record said at that moment.
};

std::vector<PostedMessage> MessagesPostedDuring(const std::function<void()>& job) {
    std::vector<PostedMessage> messages;
    const auto hook = HookCall<decltype(&::PostMessageW)>(
        L"user32.dll", "PostMessageW",
        [&](HWND window, UINT message, WPARAM wParam, LPARAM lParam) -> BOOL {
            messages.push_back({window, message, wParam, lParam, snapshot().stage});
            return TRUE;
        });
    job();
    return messages;
}

TEST_F(JobFlowTest, SuccessPostsOneMessageToTheWindowAfterTheRecordSaysDone) {
    mainWindow = reinterpret_cast<HWND>(static_cast<uintptr_t>(0x1234));
    const auto messages = MessagesPostedDuring([&] { RunJob(JobKind::Repair); });
    mainWindow = nullptr;
    ASSERT_THAT(messages, SizeIs(1));
    EXPECT_EQ(messages[0].window, reinterpret_cast<HWND>(static_cast<uintptr_t>(0x1234)));
    EXPECT_EQ(messages[0].message, 0x8001u);
    EXPECT_EQ(messages[0].wParam, 0u);
    EXPECT_EQ(messages[0].lParam, 0);
    EXPECT_EQ(messages[0].stage, JobStage::Done);
}

TEST_F(JobFlowTest, FailurePostsNothing) {
    toolConfig.archiveUrl = server_.Url(L"status/404");
    EXPECT_THAT(MessagesPostedDuring([&] { RunJob(JobKind::Repair); }), IsEmpty());
}

TEST_F(JobFlowTest, SuccessIsPublishedAfterTheCleanUp) {
    int removals = 0;
    const auto hook = HookCall<decltype(&::SetFileInformationByHandle)>(
        kKernel32, "SetFileInformationByHandle", [&](auto...) -> BOOL {
            ++removals;
            EXPECT_TRUE(jobProgress.running);
            EXPECT_NE(snapshot().stage, JobStage::Done);
            ::SetLastError(ERROR_NOT_SUPPORTED);
            return FALSE;
        });
    RunJob(JobKind::Repair);
    ExpectSuccess(kRepairSuccess);
    EXPECT_GT(removals, 2);
    EXPECT_THAT(TempFolder(), IsEmpty());
}

// Starting and resetting.

TEST_F(JobFlowTest, StartIsRefusedWithoutAnyEffectBeforeTheLastJobIsCollected) {
    ASSERT_TRUE(beginJob(JobKind::Repair, server_.Url(L"status/404"), [] {}));
    const std::wstring firstUrl = selectedPackageUrl;
    EXPECT_FALSE(beginJob(JobKind::Reinstall, PackageUrl(kZip), [] { ADD_FAILURE(); }));
    EXPECT_EQ(selectedPackageUrl, firstUrl);
    while (jobProgress.running) {
        ::SwitchToThread();
    }
    EXPECT_FALSE(beginJob(JobKind::Reinstall, PackageUrl(kZip), [] { ADD_FAILURE(); }));
    EXPECT_EQ(snapshot().kind, JobKind::Repair);
    JoinJobThread();
    ExpectFailure(L"The server returned HTTP 404.");
}

TEST_F(JobFlowTest, WindowsShareIsDoneOnTheClearedRecordBeforeTheThreadExists) {
    reportFailure(L"an older failure");
    int calls = 0;
    ASSERT_TRUE(beginJob(JobKind::Reinstall, L" http://127.0.0.1:1/ ", [&] {
        ++calls;
        EXPECT_FALSE(JobThreadExists());
        EXPECT_TRUE(jobProgress.running);
        EXPECT_FALSE(jobProgress.failed);
        EXPECT_EQ(snapshot().stage, JobStage::Idle);
        EXPECT_EQ(snapshot().kind, JobKind::Reinstall);
        EXPECT_EQ(snapshot().detailLine, L"");
        EXPECT_EQ(selectedPackageUrl, L"http://127.0.0.1:1/");
    }));
    JoinJobThread();
    EXPECT_EQ(calls, 1);
}

TEST_F(JobFlowTest, RetryBringsBackTheReadyRecordAndForgetsTheUrl) {
    toolConfig.archiveUrl = server_.Url(L"status/404");
    ASSERT_TRUE(beginJob(JobKind::Repair, L"", [] {}));
    resetForRetry();
    EXPECT_FALSE(JobThreadExists());
    EXPECT_EQ(selectedPackageUrl, L"");
    EXPECT_EQ(snapshot().statusLine, L"Ready.");
    EXPECT_EQ(snapshot().stage, JobStage::Idle);
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_FALSE(jobProgress.finished);
}

TEST_F(JobFlowTest, KindThatIsNeitherBehavesAsARepair) {
    bench::WriteFile(Client() / L"mine", "mine");
    RunJob(static_cast<JobKind>(7));
    ExpectSuccess(kRepairSuccess);
    EXPECT_EQ(bench::ReadFile(Client() / L"mine"), "mine");
}

TEST_F(JobFlowTest, StopDuringTheDownloadEndsSilentlyAndCleansUp) {
    toolConfig.archiveUrl = server_.Url(L"stall/5000000/2200000");
    ASSERT_TRUE(beginJob(JobKind::Repair, L"", [] {}));
    while (snapshot().bytesTotal == 0) {
        ::SwitchToThread();
    }
    requestCancel();
    server_.ReleaseWaits();
    JoinJobThread();
    EXPECT_EQ(snapshot().errorMessage, L"");
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_TRUE(jobProgress.running);  // The window clears it when it closes.
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_THAT(ClientContents(), IsEmpty());
}

TEST_F(JobFlowTest, StopDuringTheUnpackingFailsAndCleansUp) {
    machine_.PutRecorder(machine_.CurrentFolder() / L"tar.exe", "hold");
    machine_.PutRecorder(machine_.CurrentFolder() / L"powershell.exe", "exit 1");
    ASSERT_TRUE(beginJob(JobKind::Repair, L"", [] {}));
    machine_.AwaitRuns(1);
    requestCancel();
    JoinJobThread();
    ExpectFailure(
        L"ZIP extraction failed.\nCheck that the downloaded package is a complete .zip archive and "
        L"that you have permission to write to the install folder.");
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_THAT(ClientContents(), IsEmpty());
}

}  // namespace
