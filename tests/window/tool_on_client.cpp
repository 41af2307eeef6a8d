#include "window/tool_on_client.h"

#include <algorithm>

#include "resource_ids.h"
#include "system/running_copy.h"

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
        } else {
            escaped += character;
        }
    }
    return escaped;
}

std::filesystem::path BrandedTool() {
    return FolderOfThisProgram() / L"karvoth_repair" / L"KrvBrennickInstaller.exe";
}

}  // namespace

ToolOnClient::ToolOnClient() {
    Set("archiveUrl", PackageUrl(kZip));
    Set("repairToolName", L"repair.exe");
    Set("startupExe", L"client.exe");
    Set("runAfterInstall", L"0");
    Set("offerDesktopShortcut", L"0");
}

void ToolOnClient::Set(const std::string& key, const std::wstring& value) {
    settings_[key] = Escaped(value);
}

void ToolOnClient::Unset(const std::string& key) {
    settings_.erase(key);
}

void ToolOnClient::OfferSeveralServers(const std::wstring& secondServer) {
    Set("multiRepairTool", L"1");
    Set("archiveMirrorUrls", secondServer);
}

ToolWindow& ToolOnClient::StartTool() {
    std::string text = "format=Quellstone.v1\n";
    for (const auto& [key, value] : settings_) {
        text += key;
        text += "=" + value + "\n";
    }
    bench::WriteFile(Tool(), bench::ReadFile(BrandedTool()));
    StampResource(Tool(), ID_CONFIG_TEXT, text);
    toolBytes_ = bench::ReadFile(Tool());
    return window_.emplace(Tool(), machine_.CurrentFolder());
}

ToolWindow& ToolOnClient::StartRepair() {
    ToolWindow& window = StartTool();
    window.Press(ButtonId::RepairClient);
    window.AwaitJobStart();
    return window;
}

void ToolOnClient::PutStartupProgram() {
    const std::filesystem::path program = machine_.Root() / L"game" / L"start.exe";
    machine_.PutRecorder(program, "");
    Set("startupExe", program.native());
}

size_t ToolOnClient::StartsOfTheGame() const {
    const auto runs = machine_.Runs();
    return static_cast<size_t>(std::ranges::count_if(runs, [](const bench::ProgramRun& run) {
        return run.program.ends_with(L"\\game\\start.exe");
    }));
}

std::vector<std::string> ToolOnClient::RequestedNames() const {
    const size_t prefixLength = server_.ObjectName("").size() - 1;
    std::vector<std::string> names;
    for (const bench::LoggedRequest& request : server_.RequestLog()) {
        // "GET /PREFIX/archive/name HTTP/1.1"
        const size_t start = request.requestLine.find(' ') + 1 + prefixLength;
        names.push_back(request.requestLine.substr(start, request.requestLine.rfind(' ') - start));
    }
    return names;
}
