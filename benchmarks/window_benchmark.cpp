// How long the tool takes to show its window, compared with a program that does only that; how long
// a repaint takes, beside the single copy to the screen that every flicker-free one needs; and how
// much memory the window needs, idle and during a job. Wants the fault server.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "bench_parts/fault_server_client.h"
#include "bench_parts/scratch_folder.h"
#include "benchmarks/measure.h"
#include "common/handles.h"
#include "common/resources.h"
#include "common/windows_api.h"
#include "resource_ids.h"
#include "ui/button_table.h"
#include "ui/drawing.h"
#include "ui/window_painter.h"

namespace fs = std::filesystem;

namespace {

constexpr int kStartRounds = 31;
constexpr int kPaintRounds = 301;
constexpr int kMemoryRounds = 5;
// The accent of the default brand, in the line below the title bar; the bare window is full of it.
constexpr COLORREF kAccent = RGB(0xFF, 0xA6, 0x40);
constexpr int kAccentX = 430;
constexpr int kAccentY = 47;
constexpr DWORD kLimitMs = 20'000;
constexpr ULONGLONG kJobLimitMs = 600'000;
constexpr DWORD kPollMs = 50;
// Asking without a pause would keep a core and the display busy, which the program needs itself.
constexpr DWORD kPixelPollMs = 1;

fs::path OwnFolder() {
    std::array<wchar_t, MAX_PATH> own{};
    ::GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size()));
    return fs::path(own.data()).parent_path();
}

fs::path Tool() {
    return OwnFolder() / L"karvoth_repair" / L"KrvBrennickInstaller.exe";
}

fs::path BareGdiplusWindow() {
    return OwnFolder() / L"bare_gdiplus_window.exe";
}

class ScreenDc {
public:
    ScreenDc() : dc_(::GetDC(nullptr)) {}
    ~ScreenDc() {
        ::ReleaseDC(nullptr, dc_);
    }
    ScreenDc(const ScreenDc&) = delete;
    ScreenDc& operator=(const ScreenDc&) = delete;

    [[nodiscard]] HDC Get() const {
        return dc_;
    }

private:
    HDC dc_;
};

bool ShowsAccent() {
    const int left = (::GetSystemMetrics(SM_CXSCREEN) - kWindow.width) / 2;
    const int top = (::GetSystemMetrics(SM_CYSCREEN) - kWindow.height) / 2;
    const ScreenDc screen;
    return ::GetPixel(screen.Get(), left + kAccentX, top + kAccentY) == kAccent;
}

bool AwaitAccent(bool shown) {
    const ULONGLONG deadline = ::GetTickCount64() + kLimitMs;
    while (ShowsAccent() != shown) {
        if (::GetTickCount64() > deadline) {
            return false;
        }
        ::Sleep(kPixelPollMs);
    }
    return true;
}

// From the start of a program until its window is painted; the program keeps running.
class ShownProgram {
public:
    bool Start(const fs::path& exe) {
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION started{};
        if (!::CreateProcessW(exe.c_str(), nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                              &startup, &started)) {
            return false;
        }
        ::CloseHandle(started.hThread);
        process_.reset(started.hProcess);
        return AwaitAccent(true);
    }

    // Until all of its windows are painted.
    void AwaitIdle() const {
        ::WaitForInputIdle(process_.get(), kLimitMs);
    }

    [[nodiscard]] HANDLE Process() const {
        return process_.get();
    }

    bool End() {
        if (process_) {
            ::TerminateProcess(process_.get(), 0);
            ::WaitForSingleObject(process_.get(), kLimitMs);
            process_.reset();
        }
        return AwaitAccent(false);
    }

private:
    KernelHandle process_;
};

void CompareStarts(std::string_view figure, const fs::path& bareWindow) {
    ShownProgram program;
    const Comparison comparison = CompareByTurns(
        kStartRounds, [&] { return program.Start(Tool()); },
        [&] { return program.Start(bareWindow); }, [&] { return program.End(); });
    program.End();
    PrintTimes(figure, comparison.seconds);
}

double PeakOfShownProgram(const fs::path& exe) {
    ShownProgram program;
    program.Start(exe);
    program.AwaitIdle();
    const double peak = PeakMebibytes(program.Process());
    program.End();
    return peak;
}

void CompareWindowMemory() {
    Rounds peaks;
    for (int round = 0; round < kMemoryRounds; ++round) {
        peaks.tool.push_back(PeakOfShownProgram(Tool()));
        peaks.bare.push_back(PeakOfShownProgram(BareGdiplusWindow()));
    }
    PrintMemory("Peak memory of the window, bare: with GDI+", peaks);
}

// A copy of the tool whose configuration has only this text.
bool MakeTool(const fs::path& exe, std::string configuration) {
    fs::copy_file(Tool(), exe);
    const HANDLE update = ::BeginUpdateResourceW(exe.c_str(), FALSE);
    bool success = update != nullptr;
    for (const WORD language : {WORD{MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL)},
                                WORD{MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US)}}) {
        success = success &&
                  ::UpdateResourceW(update, RT_RCDATA, MAKEINTRESOURCEW(ID_CONFIG_TEXT), language,
                                    configuration.data(), static_cast<DWORD>(configuration.size()));
    }
    return ::EndUpdateResourceW(update, FALSE) && success;
}

// The package is downloaded and hashed, and then refused: a hash of zeros is never right.
std::string ConfigurationOfLargePackage() {
    const bench::FaultServer server;
    const std::wstring url = server.Url(L"body/4294967296");
    return "format=Quellstone.v1\narchiveUrl=" + std::string(url.begin(), url.end()) +
           "\narchiveSha256=" + std::string(64, '0') + "\n";
}

bool AwaitVisible(HWND button) {
    const ULONGLONG deadline = ::GetTickCount64() + kJobLimitMs;
    while (::GetTickCount64() < deadline) {
        if (::IsWindowVisible(button)) {
            return true;
        }
        ::Sleep(kPollMs);
    }
    return false;
}

bool RunFailingJob() {
    const HWND window = ::FindWindowW(L"Quellstone.RepairTool", nullptr);
    constexpr int kRepair = static_cast<int>(ButtonId::RepairClient);
    constexpr int kRetry = static_cast<int>(ButtonId::Retry);
    return ::PostMessageW(window, WM_COMMAND, kRepair, 0) != FALSE &&
           AwaitVisible(::GetDlgItem(window, kRetry));
}

void CompareJobMemory() {
    const bench::ScratchFolder folder;
    const fs::path exe = folder.Path() / L"repair.exe";
    ShownProgram program;
    if (!MakeTool(exe, ConfigurationOfLargePackage()) || !program.Start(exe) || !RunFailingJob()) {
        std::fputs("The job of a large package did not end as expected.\n", stderr);
        std::exit(1);
    }
    const double peak = PeakMebibytes(program.Process());
    program.End();
    PrintMemory("Peak memory of a job of 4 GiB, bare: the window with GDI+",
                {{peak}, {PeakOfShownProgram(BareGdiplusWindow())}});
}

OwnedBitmap LoadPicture(int id) {
    const HMODULE module = ::LoadLibraryExW(Tool().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    OwnedBitmap picture = MakeBitmapFromFile(EmbeddedData(module, id));
    ::FreeLibrary(module);
    return picture;
}

WindowPicture SamplePicture() {
    WindowPicture picture;
    picture.toolName = L"KrvBrennickInstaller.exe";
    picture.clientFolder = L"C:\\Games\\Karvoth";
    picture.job.stage = JobStage::Finishing;
    picture.job.statusLine = L"Verifying client...";
    picture.job.detailLine = L"data\\maps\\northreach_valley.pak";
    picture.job.filesTotal = 1893;
    picture.job.filesDone = 1204;
    return picture;
}

void ComparePaints() {
    const GdiplusSession gdiplus;
    const OwnedBitmap logo = MakePanelLogo(LoadPicture(ID_LOGO_IMAGE).get());
    const OwnedBitmap backdrop = MakeBackdrop(LoadPicture(ID_BACKGROUND_IMAGE).get());
    WindowPicture picture = SamplePicture();
    picture.logo = logo.get();
    picture.backdrop = backdrop.get();
    const OwnedBitmap offScreen = MakeBitmap(kWindow.width, kWindow.height);
    const ScreenDc screen;
    const Comparison comparison = CompareByTurns(
        kPaintRounds,
        [&] {
            PaintWindow(screen.Get(), picture);
            return true;
        },
        [&] {
            CopyImage(MakeGraphics(screen.Get()).get(), offScreen.get(), kWindow);
            return true;
        });
    PrintTimes("One repaint, bare: GDI+ copies a bitmap to the screen", comparison.seconds);
}

}  // namespace

int main() {
    CompareStarts("From the start to the painted window, warm", OwnFolder() / L"bare_window.exe");
    CompareStarts("the same, bare: with common controls, COM, GDI+ and twelve buttons",
                  OwnFolder() / L"bare_controls_window.exe");
    ComparePaints();
    CompareWindowMemory();
    CompareJobMemory();
    return 0;
}
