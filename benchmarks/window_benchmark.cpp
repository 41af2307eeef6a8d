// How long the tool takes to show its window, compared with a program that does only that, and how
// long a repaint takes, beside the single copy to the screen that every flicker-free one needs.

#include <array>
#include <filesystem>
#include <string>

#include "benchmarks/measure.h"
#include "common/handles.h"
#include "common/resources.h"
#include "common/windows_api.h"
#include "resource_ids.h"
#include "ui/drawing.h"
#include "ui/window_painter.h"

namespace fs = std::filesystem;

namespace {

constexpr int kStartRounds = 21;
constexpr int kPaintRounds = 101;
// The accent of the default brand, in the line below the title bar; the bare window is full of it.
constexpr COLORREF kAccent = RGB(0xFF, 0xA6, 0x40);
constexpr int kAccentX = 430;
constexpr int kAccentY = 47;
constexpr DWORD kLimitMs = 20'000;

fs::path OwnFolder() {
    std::array<wchar_t, MAX_PATH> own{};
    ::GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size()));
    return fs::path(own.data()).parent_path();
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
        ::Sleep(0);
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

void CompareStarts() {
    ShownProgram program;
    const fs::path tool = OwnFolder() / L"karvoth_repair" / L"KrvBrennickInstaller.exe";
    const fs::path bare = OwnFolder() / L"bare_window.exe";
    const Comparison comparison = CompareByTurns(
        kStartRounds, [&] { return program.Start(tool); }, [&] { return program.Start(bare); },
        [&] { return program.End(); });
    program.End();
    PrintTimes("From the start to the painted window", "bare window", comparison);
}

OwnedBitmap LoadPicture(const fs::path& tool, int id) {
    const HMODULE module = ::LoadLibraryExW(tool.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    OwnedBitmap picture = MakeBitmapFromFile(EmbeddedData(module, id));
    ::FreeLibrary(module);
    return picture;
}

void ComparePaints() {
    const GdiplusSession gdiplus;
    const fs::path tool = OwnFolder() / L"karvoth_repair" / L"KrvBrennickInstaller.exe";
    const OwnedBitmap logo = MakePanelLogo(LoadPicture(tool, ID_LOGO_IMAGE).get());
    const OwnedBitmap backdrop = MakeBackdrop(LoadPicture(tool, ID_BACKGROUND_IMAGE).get());
    WindowPicture picture;
    picture.toolName = L"KrvBrennickInstaller.exe";
    picture.clientFolder = L"C:\\Games\\Karvoth";
    picture.logo = logo.get();
    picture.backdrop = backdrop.get();
    picture.job.stage = JobStage::Finishing;
    picture.job.statusLine = L"Verifying client...";
    picture.job.detailLine = L"data\\maps\\northreach_valley.pak";
    picture.job.filesTotal = 1893;
    picture.job.filesDone = 1204;
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
    PrintTimes("One repaint", "the copy to the screen alone", comparison);
}

}  // namespace

int main() {
    CompareStarts();
    ComparePaints();
    return 0;
}
