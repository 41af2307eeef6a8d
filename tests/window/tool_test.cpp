#include "window/tool_test.h"

#include <algorithm>

#include "bench_parts/message_boxes.h"
#include "bench_parts/running_copy.h"
#include "bench_parts/waiting.h"
#include "resource_ids.h"

// Wants the platform header before it.
#include <tlhelp32.h>

namespace {

std::string Utf8(const std::wstring& text) {
    const std::u8string utf8 = std::filesystem::path(text).u8string();
    return {utf8.begin(), utf8.end()};
}

std::string Escaped(const std::wstring& value) {
    std::string escaped;
    for (const char character : Utf8(value)) {
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

constexpr wchar_t kGameName[] = L"game.exe";

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

std::filesystem::path BrandedTool() {
    return bench::FolderOfThisProgram() / L"karvoth_repair" / L"KrvBrennickInstaller.exe";
}

}  // namespace

ToolTest::ToolTest() : program_(BrandedTool()) {
    Set("archiveUrl", PackageUrl(kZip));
    Set("repairToolName", L"repair.exe");
    Set("startupExe", L"client.exe");
    Set("runAfterInstall", L"0");
    Set("offerDesktopShortcut", L"0");
}

ToolTest::~ToolTest() {
    EndTool();
    // A program that has just ended holds on to its exe and its current folder for a moment more.
    const std::wstring ownFolder = machine_.Root().native() + L"\\";
    for (const bench::ProgramRun& run : machine_.Runs()) {
        if (run.currentFolder.starts_with(ownFolder) &&
            run.currentFolder != machine_.CurrentFolder().native()) {
            bench::Await([&run] {
                std::error_code error;
                std::filesystem::remove_all(run.currentFolder, error);
                return !error;
            });
        }
    }
}

void ToolTest::Set(const std::string& key, const std::wstring& value) {
    settings_[key] = Escaped(value);
}

void ToolTest::Unset(const std::string& key) {
    settings_.erase(key);
}

void ToolTest::OfferSeveralServers(const std::wstring& secondServer) {
    Set("multiRepairTool", L"1");
    Set("archiveMirrorUrls", secondServer);
}

void ToolTest::HoldDownload() {
    Set("archiveUrl", server_.Url(L"stall/3000000/2000000"));
}

void ToolTest::Embed(int id, std::string bytes) {
    embedded_[id] = std::move(bytes);
}

void ToolTest::UseBareTool() {
    program_ = bench::FolderOfThisProgram() / L"bare_tool.exe";
    settings_.clear();
}

ToolWindow& ToolTest::StartTool() {
    std::string text = "format=Quellstone.v1\n";
    for (const auto& [key, value] : settings_) {
        text += key;
        text += "=" + value + "\n";
    }
    bench::WriteFile(Tool(), bench::ReadFile(program_));
    if (!settings_.empty()) {
        StampResource(Tool(), ID_CONFIG_TEXT, text);
    }
    for (const auto& [id, bytes] : embedded_) {
        StampResource(Tool(), id, bytes);
    }
    toolBytes_ = bench::ReadFile(Tool());
    return window_.emplace(Tool(), machine_.CurrentFolder());
}

ToolWindow& ToolTest::StartRepair() {
    ToolWindow& window = StartTool();
    window.Press(ButtonId::RepairClient);
    window.AwaitJobStart();
    return window;
}

void ToolTest::CloseTool() {
    window_->PostClose();
    bench::Answer(bench::AwaitBox(L"Close Repair Tool"), IDYES);
    EXPECT_EQ(window_->AwaitExitCode(), 0U);
    window_.reset();
}

void ToolTest::EndTool() {
    window_.reset();
}

void ToolTest::PutStartupProgram() {
    const std::filesystem::path program = machine_.Root() / L"game" / kGameName;
    machine_.PutRecorder(program, "");
    Set("startupExe", program.native());
}

size_t ToolTest::StartsOfTheGame() const {
    const auto runs = machine_.Runs();
    return static_cast<size_t>(std::ranges::count_if(runs, [](const bench::ProgramRun& run) {
        return run.program.ends_with(std::wstring(L"\\game\\") + kGameName);
    }));
}

size_t ToolTest::SettledStartsOfTheGame() const {
    EXPECT_TRUE(bench::Await([] { return !IsRunning(kGameName); }));
    return StartsOfTheGame();
}

std::vector<std::string> ToolTest::RequestedNames() const {
    const size_t prefixLength = server_.ObjectName("").size() - 1;
    std::vector<std::string> names;
    for (const bench::LoggedRequest& request : server_.RequestLog()) {
        // "GET /PREFIX/archive/name HTTP/1.1"
        const size_t start = request.requestLine.find(' ') + 1 + prefixLength;
        names.push_back(request.requestLine.substr(start, request.requestLine.rfind(' ') - start));
    }
    return names;
}
