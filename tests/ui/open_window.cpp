#include "ui/open_window.h"

#include <array>

#include "bench_parts/call_hook.h"
#include "bench_parts/waiting.h"
#include "common/tool_instance.h"
#include "job/job_flow.h"
#include "job/job_thread.h"
#include "package/package_source.h"
#include "resource_ids.h"
#include "system/known_folder.h"
#include "ui/button_table.h"
#include "ui/main_window.h"
#include "ui/window_state.h"

namespace bench {

namespace {

void ResetRecords() {
    JoinJobThread();
    resetForRetry();
    resetJobProgress();
    ClearEndOfJobMarks();
    toolConfig = ToolConfig{};
    primaryServerChosen = true;
    mainWindow = nullptr;
}

std::vector<int> ButtonsWhere(const OpenWindow& window, bool (*holds)(HWND)) {
    std::vector<int> ids;
    for (int id = 4001; id <= 4012; ++id) {
        if (holds(window.Button(id))) {
            ids.push_back(id);
        }
    }
    return ids;
}

HWND Create(const Opening& opening) {
    using Find = decltype(&::FindResourceW);
    const auto find = RealFunction<Find>(L"kernel32.dll", "FindResourceW");
    const auto hook = HookCall<Find>(
        L"kernel32.dll", "FindResourceW", [&](HMODULE module, LPCWSTR name, LPCWSTR type) -> HRSRC {
            const bool isConfig = name == MAKEINTRESOURCEW(ID_CONFIG_TEXT);
            if ((isConfig && opening.config) || (!isConfig && !opening.hasPictures)) {
                return nullptr;
            }
            return find(module, name, type);
        });
    return CreateMainWindow(::GetModuleHandleW(nullptr), opening.showCommand);
}

}  // namespace

WindowTest::WindowTest() {
    ResetRecords();
    toolFolder = client_.Path();
    toolExePath = std::filesystem::path(toolFolder) / L"repair.exe";
    WriteFile(std::filesystem::path(toolFolder) / L"client.exe", "MZ");
}

WindowTest::~WindowTest() {
    EXPECT_TRUE(surprise_.Boxes().empty());
    std::error_code ignored;
    std::filesystem::remove(DesktopLink(), ignored);
    ResetRecords();
    toolFolder.clear();
    toolExePath.clear();
}

std::filesystem::path WindowTest::DesktopLink() {
    return std::filesystem::path(KnownFolder(FOLDERID_Desktop)) / L"Test Karvoth.lnk";
}

ToolConfig FullConfig() {
    ToolConfig config;
    config.repairToolName = L"Test Repair.exe";
    config.startupExe = L"client.exe";
    config.archiveUrl = L"none://primary.example/client.zip";
    config.websiteUrl = L"https://www.karvoth.example/";
    config.discordUrl = L"https://community.karvoth.example/";
    config.shortcutName = L"Test Karvoth";
    config.accentHex = L"33CC99";
    config.offerDesktopShortcut = true;
    config.runAfterInstall = true;
    return config;
}

ToolConfig TwoServers() {
    ToolConfig config = FullConfig();
    config.multiRepairTool = true;
    config.archiveMirrorUrls = {L"none://second.example/client.zip",
                                L"none://third.example/client.zip"};
    return config;
}

OpenWindow::OpenWindow(const Opening& opening) {
    const std::filesystem::path folder = toolFolder;
    const std::filesystem::path exePath = toolExePath;
    if (opening.config) {
        toolConfig = *opening.config;
    }
    window_ = Create(opening);
    ::KillTimer(window_, kTickTimer);
    locatedExe_ = toolExePath;
    locatedFolder_ = toolFolder;
    toolFolder = folder;
    toolExePath = exePath;
    HandleWaitingMessages();
}

OpenWindow::~OpenWindow() {
    JoinJobThread();
    if (::IsWindow(window_)) {
        ::DestroyWindow(window_);
    }
    HandleWaitingMessages();
    ReleaseImages();
    ::DeleteObject(windowState.uiFont);
    windowState.uiFont = nullptr;
}

std::vector<int> OpenWindow::ShownButtons() const {
    return ButtonsWhere(
        *this, [](HWND button) { return (::GetWindowLongW(button, GWL_STYLE) & WS_VISIBLE) != 0; });
}

std::vector<int> OpenWindow::DisabledButtons() const {
    return ButtonsWhere(*this, [](HWND button) { return ::IsWindowEnabled(button) == FALSE; });
}

void OpenWindow::Tick() const {
    ::SendMessageW(window_, WM_TIMER, kTickTimer, 0);
}

void OpenWindow::Press(int id) const {
    ::SendMessageW(window_, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED),
                   reinterpret_cast<LPARAM>(Button(id)));
}

bool OpenWindow::TakePaint() const {
    const bool needed = ::GetUpdateRect(window_, nullptr, FALSE) != FALSE;
    ::UpdateWindow(window_);
    HandleWaitingMessages();
    return needed;
}

std::wstring WindowText(HWND window) {
    std::array<wchar_t, 200> text{};
    ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
    return text.data();
}

std::optional<int> HandleWaitingMessages() {
    std::optional<int> exitCode;
    MSG message{};
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            exitCode = static_cast<int>(message.wParam);
        }
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
    return exitCode;
}

void LeaveEndedJob(JobKind kind, bool succeeded) {
    ClearForJobStart(kind);
    StartJobThread([succeeded] {
        if (succeeded) {
            ReportSuccess(L"Repair complete.");
        } else {
            reportFailure(L"The download server answered with an error.");
        }
    });
    EXPECT_TRUE(Await([] { return JobAwaitsCollection(); }));
}

RunningJob::RunningJob(JobKind kind) {
    ClearForJobStart(kind);
    StartJobThread([this] {
        Await([this] { return end_ || jobProgress.cancelRequested; });
        wasStopped_ = jobProgress.cancelRequested.load();
        if (wasStopped_) {
            reportFailure(L"The job was stopped.");
        } else {
            ReportSuccess(L"Repair complete.");
        }
    });
}

RunningJob::~RunningJob() {
    end_ = true;
    JoinJobThread();
}

void RunningJob::End() {
    end_ = true;
    EXPECT_TRUE(Await([] { return JobAwaitsCollection(); }));
}

}  // namespace bench
