#include "window/tool_test.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cwchar>

#include "bench_parts/message_boxes.h"
#include "bench_parts/running_copy.h"
#include "bench_parts/utf8.h"
#include "bench_parts/waiting.h"
#include "resource_ids.h"
#include "system/known_folder.h"

// Must follow the platform header.
#include <tlhelp32.h>

namespace fs = std::filesystem;

namespace bench {
namespace {

constexpr wchar_t kGameName[] = L"game.exe";
constexpr wchar_t kShortcutName[] = L"Bench window \u00fc";

std::string Escaped(const std::wstring& value) {
    std::string escaped;
    for (const char character : ToUtf8(value)) {
        if (character == '\\') {
            escaped += "\\\\";
        } else if (character == '=') {
            escaped += "\\e";
        } else if (character == '\n') {
            escaped += "\\n";
        } else {
            escaped += character;
        }
    }
    return escaped;
}

// Replaces embedded data of an exe that is not running, in both language copies that it can have.
void StampResources(const fs::path& exe, const std::map<int, std::string>& data) {
    const HANDLE update = ::BeginUpdateResourceW(exe.c_str(), FALSE);
    ASSERT_NE(update, nullptr) << ::GetLastError();
    for (const auto& [id, bytes] : data) {
        std::string copy = bytes;
        for (const WORD language : {WORD{MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL)},
                                    WORD{MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US)}}) {
            ASSERT_TRUE(::UpdateResourceW(update, RT_RCDATA, MAKEINTRESOURCEW(id), language,
                                          copy.data(), static_cast<DWORD>(copy.size())));
        }
    }
    ASSERT_TRUE(::EndUpdateResourceW(update, FALSE));
}

// Whether the tests were asked to run against an exe that the operator's kit builds.
bool UsesKit() {
    return std::wcsstr(::GetCommandLineW(), L" --kit-built") != nullptr;
}

// The exe of a brand with these files, and the default brand's where there is none.
std::string BuildWithKit(const std::map<int, std::string>& data) {
    constexpr std::pair<int, const wchar_t*> kFiles[] = {{ID_CONFIG_TEXT, L"config.txt"},
                                                         {ID_LOGO_IMAGE, L"logo.png"},
                                                         {ID_BACKGROUND_IMAGE, L"background.jpg"}};
    const ScratchFolder scratch;
    const fs::path brand = scratch.Path() / L"brand";
    fs::copy(BRAND_FOLDER, brand);
    for (const auto& [id, name] : kFiles) {
        if (const auto bytes = data.find(id); bytes != data.end()) {
            WriteFile(brand / name, bytes->second);
        }
    }
    const fs::path output = scratch.Path() / L"output";
    // Some of these brands are none that a check would let pass.
    const RunningCopy kit(
        L"repair_kit.exe", scratch.Path() / L"repair_kit.exe",
        L"build \"" + brand.native() + L"\" -o \"" + output.native() + L"\" --force --quiet");
    ::WaitForSingleObject(kit.Process(), INFINITE);
    return ReadFile(fs::directory_iterator(output)->path());
}

bool IsRunning(std::wstring_view exeName) {
    const auto processes =
        AdoptHandle<KernelHandle>(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    BOOL found = ::Process32FirstW(processes.get(), &entry);
    while (found && exeName != entry.szExeFile) {
        found = ::Process32NextW(processes.get(), &entry);
    }
    return found != FALSE;
}

// The process of a recorder that waits to be terminated. Null if it has ended.
KernelHandle OpenHeld(const ProgramRun& run) {
    if (!run.program.ends_with(L"\\tar.exe") || run.endCode) {
        return {};
    }
    constexpr DWORD kAccess = SYNCHRONIZE | PROCESS_TERMINATE | PROCESS_QUERY_LIMITED_INFORMATION;
    KernelHandle process(::OpenProcess(kAccess, FALSE, run.processId));
    const bool runs = process && ::WaitForSingleObject(process.get(), 0) == WAIT_TIMEOUT;
    return runs ? std::move(process) : KernelHandle();
}

}  // namespace

ToolTest::ToolTest() {
    Set("archiveUrl", PackageUrl(kZip));
    Set("repairToolName", L"repair.exe");
    Set("startupExe", L"client.exe");
    Set("shortcutName", kShortcutName);
    Set("runAfterInstall", L"0");
    Set("offerDesktopShortcut", L"0");
    Embed(ID_BACKGROUND_IMAGE, "no picture");
    fs::remove(ShortcutFile());
}

ToolTest::~ToolTest() {
    EndTool();
    if (tar_ && ::WaitForSingleObject(tar_.get(), 0) == WAIT_TIMEOUT) {
        EndTar(1);
    }
    std::error_code ignored;  // Most tests create none.
    fs::remove(ShortcutFile(), ignored);
    // A program that has just ended holds its exe and its current folder for a moment.
    const std::wstring ownFolder = machine_.Root().native() + L"\\";
    for (const ProgramRun& run : machine_.Runs()) {
        if (run.currentFolder.starts_with(ownFolder) &&
            run.currentFolder != machine_.CurrentFolder().native()) {
            Await([&run] {
                std::error_code error;
                fs::remove_all(run.currentFolder, error);
                return !error;
            });
        }
    }
}

void ToolTest::Set(const std::string& key, const std::wstring& value) {
    settings_[key] = Escaped(value);
}

void ToolTest::OfferSeveralServers(const std::wstring& secondServer) {
    Set("multiRepairTool", L"1");
    Set("archiveMirrorUrls", secondServer);
}

void ToolTest::OfferLinksAndShortcut() {
    Set("websiteUrl", L"http://127.0.0.1:1/site");
    Set("discordUrl", L"http://127.0.0.1:1/community");
    Set("offerDesktopShortcut", L"1");
}

void ToolTest::Embed(int id, std::string bytes) {
    embedded_[id] = std::move(bytes);
}

void ToolTest::UseBrandPictures() {
    embedded_.clear();
}

void ToolTest::PutStartupProgram() {
    const fs::path program = machine_.Root() / L"game" / kGameName;
    machine_.PutRecorder(program, "");
    Set("startupExe", program.native());
}

ToolWindow& ToolTest::StartTool(WORD showCommand) {
    std::map<int, std::string> data = embedded_;
    std::string& text = data[ID_CONFIG_TEXT] = "format=Quellstone.v1\n";
    for (const auto& [key, value] : settings_) {
        text += key;
        text += "=" + value + "\n";
    }
    EndTool();
    Await([this] {
        std::error_code held;  // For a moment after the end of the process.
        fs::remove(Tool(), held);
        return !held;
    });
    if (UsesKit()) {
        WriteFile(Tool(), BuildWithKit(data));
    } else {
        WriteFile(Tool(), ReadFile(FolderOfThisProgram() / L"karvoth_repair" /
                                   L"KrvBrennickInstaller.exe"));
        StampResources(Tool(), data);
    }
    toolBytes_ = ReadFile(Tool());
    return window_.emplace(Tool(), machine_.CurrentFolder(), showCommand);
}

void ToolTest::StartRepair() {
    Window().Press(ButtonId::RepairClient);
    Window().AwaitIdle();
}

void ToolTest::StartReinstall() {
    Window().Press(ButtonId::ReinstallGame);
    Answer(AwaitBox(L"Confirm Reinstall"), IDYES);
    Window().AwaitIdle();
}

void ToolTest::Repair() {
    StartRepair();
    Window().AwaitJobEnd();
}

HWND ToolTest::AskToClose() {
    Window().PostClose();
    return AwaitBox(L"Close Repair Tool");
}

void ToolTest::CloseTool() {
    Answer(AskToClose(), IDYES);
    ExpectExit();
    window_.reset();
}

void ToolTest::EndTool() {
    window_.reset();
}

void ToolTest::HoldJobs() const {
    machine_.PutRecorder(machine_.CurrentFolder() / L"tar.exe", "hold");
}

void ToolTest::HoldRepair() {
    HoldJobs();
    StartRepair();
    AwaitHold();
}

void ToolTest::HoldReinstall() {
    HoldJobs();
    StartReinstall();
    AwaitHold();
}

void ToolTest::AwaitHold() {
    tar_ = Await([this] {
        KernelHandle held;
        for (const ProgramRun& run : machine_.Runs()) {
            held = held ? std::move(held) : OpenHeld(run);
        }
        return held;
    });
    EXPECT_TRUE(tar_) << "no job unpacks";
    Window().PostTick();  // So that the window shows it.
    Window().AwaitIdle();
}

void ToolTest::LetItSucceed() {
    machine_.PutPowerShell();
    EndTar(1);
}

void ToolTest::LetItFail() {
    machine_.PutRecorder(machine_.CurrentFolder() / L"powershell.exe", "exit 1");
    EndTar(1);
}

void ToolTest::EndTar(DWORD exitCode) {
    EXPECT_TRUE(::TerminateProcess(tar_.get(), exitCode));
}

fs::path ToolTest::StagingFolder() const {
    for (const std::wstring& name : TempFolder()) {
        if (name.starts_with(L"KrvBrennickRepair_")) {
            return fs::temp_directory_path() / name;
        }
    }
    ADD_FAILURE() << "no scratch folder";
    return {};
}

void ToolTest::ExpectExit() {
    EXPECT_EQ(Window().AwaitExitCode(), 0U);
    EXPECT_THAT(TempFolder(), testing::IsEmpty());
}

void ToolTest::ExpectRepaired() const {
    EXPECT_EQ(FirstDifference(LoneFolderPackage(), ClientContents()), "");
}

void ToolTest::ExpectQuiet() {
    const size_t starts = SettledStartsOfTheGame();
    for (int tick = 0; tick < 5; ++tick) {
        Window().PostTick();
    }
    Window().AwaitIdle();
    EXPECT_TRUE(::IsWindowEnabled(Window().Handle())) << "a box is open";
    EXPECT_EQ(SettledStartsOfTheGame(), starts);
}

void ToolTest::ExpectBox(HWND box, const std::wstring& text, const std::vector<int>& buttons,
                         int defaultButton, UINT icon) {
    EXPECT_EQ(BoxText(box), text);
    EXPECT_EQ(BoxButtons(box), buttons);
    EXPECT_EQ(DefaultButton(box), defaultButton);
    EXPECT_EQ(BoxIcon(box), icon);
    EXPECT_EQ(::GetWindow(box, GW_OWNER), Window().Handle());
}

size_t ToolTest::StartsOfTheGame() const {
    const auto runs = machine_.Runs();
    return static_cast<size_t>(std::ranges::count_if(runs, [](const ProgramRun& run) {
        return run.program.ends_with(std::wstring(L"\\game\\") + kGameName);
    }));
}

size_t ToolTest::SettledStartsOfTheGame() const {
    EXPECT_TRUE(Await([] { return !IsRunning(kGameName); }));
    return StartsOfTheGame();
}

std::vector<std::string> ToolTest::RequestedNames() const {
    const size_t prefixLength = server_.ObjectName("").size() - 1;
    std::vector<std::string> names;
    for (const LoggedRequest& request : server_.RequestLog()) {
        // "GET /PREFIX/archive/name HTTP/1.1"
        const size_t start = request.requestLine.find(' ') + 1 + prefixLength;
        names.push_back(request.requestLine.substr(start, request.requestLine.rfind(' ') - start));
    }
    return names;
}

fs::path ToolTest::ShortcutFile() {
    return fs::path(KnownFolder(FOLDERID_Desktop)) / (std::wstring(kShortcutName) + L".lnk");
}

}  // namespace bench
