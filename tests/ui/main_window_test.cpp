#include "ui/main_window.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <set>
#include <tuple>
#include <vector>

#include "bench_parts/call_hook.h"
#include "common/tool_instance.h"
#include "ui/button_table.h"
#include "ui/layout.h"
#include "ui/open_window.h"
#include "ui/window_state.h"

// The window's creation: what it is, what it loads and what it leaves in the records.

namespace {

using namespace bench;
using testing::ElementsAre;
using namespace Gdiplus::DllExports;

class MainWindow : public WindowTest {};

// x, y, width, height in its parent.
using Edges = std::tuple<int, int, int, int>;

Edges PlaceOf(HWND child) {
    RECT place{};
    ::GetWindowRect(child, &place);
    ::MapWindowPoints(nullptr, ::GetParent(child), reinterpret_cast<POINT*>(&place), 2);
    return {place.left, place.top, place.right - place.left, place.bottom - place.top};
}

std::wstring ClassOf(HWND window) {
    std::array<wchar_t, 100> name{};
    ::GetClassNameW(window, name.data(), static_cast<int>(name.size()));
    return name.data();
}

TEST_F(MainWindow, IsABorderlessPopupInTheMiddleOfTheScreen) {
    const OpenWindow window;
    EXPECT_EQ(ClassOf(window.Handle()), L"Quellstone.RepairTool");
    EXPECT_EQ(::GetWindowLongW(window.Handle(), GWL_EXSTYLE), WS_EX_APPWINDOW);
    // The system adds the last one.
    EXPECT_EQ(static_cast<DWORD>(::GetWindowLongW(window.Handle(), GWL_STYLE)),
              WS_POPUP | WS_MINIMIZEBOX | WS_VISIBLE | WS_CLIPSIBLINGS);
    EXPECT_EQ(PlaceOf(window.Handle()),
              Edges((::GetSystemMetrics(SM_CXSCREEN) - 860) / 2,
                    (::GetSystemMetrics(SM_CYSCREEN) - 560) / 2, 860, 560));
    EXPECT_EQ(::GetWindow(window.Handle(), GW_OWNER), nullptr);
    EXPECT_EQ(::GetMenu(window.Handle()), nullptr);
}

TEST_F(MainWindow, IsCenteredOnASmallerScreenAsWell) {
    const auto metrics = HookCall<decltype(&::GetSystemMetrics)>(
        L"user32.dll", "GetSystemMetrics",
        [](int index) { return index == SM_CXSCREEN ? 801 : 500; });
    EXPECT_EQ(PlaceOf(OpenWindow().Handle()), Edges(-29, -30, 860, 560));
}

TEST_F(MainWindow, HasATitleUntilTheConfigurationIsRead) {
    std::vector<std::wstring> titles;
    const auto hook = WatchCall<decltype(&::CreateWindowExW)>(
        L"user32.dll", "CreateWindowExW",
        [&](DWORD, LPCWSTR, LPCWSTR title, auto...) { titles.emplace_back(title); });
    const OpenWindow window;
    EXPECT_EQ(titles.at(0), L"KrvBrennickInstaller");
}

TEST_F(MainWindow, IsPaintedAndTicksFourTimesASecond) {
    std::vector<std::tuple<HWND, UINT_PTR, UINT>> timers;
    const auto hook = WatchCall<decltype(&::SetTimer)>(
        L"user32.dll", "SetTimer", [&](HWND window, UINT_PTR id, UINT periodMs, TIMERPROC) {
            timers.emplace_back(window, id, periodMs);
        });
    const OpenWindow window;
    EXPECT_THAT(timers, ElementsAre(std::tuple(window.Handle(), UINT_PTR{1}, UINT{250})));
    EXPECT_EQ(mainWindow, window.Handle());
    EXPECT_TRUE(::IsWindowVisible(window.Handle()));
    EXPECT_FALSE(::GetUpdateRect(window.Handle(), nullptr, FALSE)) << "it has been painted";
}

TEST_F(MainWindow, IsShownAsRequested) {
    EXPECT_FALSE(
        ::IsWindowVisible(OpenWindow({.config = FullConfig(), .showCommand = SW_HIDE}).Handle()));
    EXPECT_TRUE(::IsIconic(
        OpenWindow({.config = FullConfig(), .showCommand = SW_SHOWMINNOACTIVE}).Handle()));
}

TEST_F(MainWindow, HasItsWindowClass) {
    const OpenWindow window;
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    ASSERT_TRUE(
        ::GetClassInfoExW(::GetModuleHandleW(nullptr), L"Quellstone.RepairTool", &windowClass));
    EXPECT_EQ(windowClass.style, 0U);
    EXPECT_EQ(windowClass.cbClsExtra, 0);
    EXPECT_EQ(windowClass.cbWndExtra, 0);
    EXPECT_EQ(windowClass.hCursor, ::LoadCursorW(nullptr, IDC_ARROW));
    EXPECT_EQ(windowClass.hbrBackground, ::GetStockObject(BLACK_BRUSH));
    EXPECT_EQ(windowClass.lpszMenuName, nullptr);
    EXPECT_NE(windowClass.hIcon, nullptr);
    EXPECT_NE(windowClass.hIconSm, nullptr);
}

// The icons that the class is registered with if the tool's own load as `loaded`.
std::pair<HICON, HICON> IconsWhen(std::pair<HICON, HICON> loaded) {
    std::pair<HICON, HICON> icons;
    using Load = decltype(&::LoadIconW);
    const auto load = RealFunction<Load>(L"user32.dll", "LoadIconW");
    const auto largeIcon =
        HookCall<Load>(L"user32.dll", "LoadIconW", [&](HINSTANCE instance, LPCWSTR name) {
            return instance != nullptr && name == MAKEINTRESOURCEW(101) ? loaded.first
                                                                        : load(instance, name);
        });
    const auto smallIcon =
        HookCall<decltype(&::LoadImageW)>(L"user32.dll", "LoadImageW",
                                          [&](HINSTANCE instance, LPCWSTR name, UINT type,
                                              int width, int height, UINT flags) -> HANDLE {
                                              EXPECT_EQ(instance, ::GetModuleHandleW(nullptr));
                                              EXPECT_EQ(name, MAKEINTRESOURCEW(101));
                                              EXPECT_EQ(type, static_cast<UINT>(IMAGE_ICON));
                                              EXPECT_EQ(width, ::GetSystemMetrics(SM_CXSMICON));
                                              EXPECT_EQ(height, ::GetSystemMetrics(SM_CYSMICON));
                                              EXPECT_EQ(flags & LR_SHARED, 0U);
                                              return loaded.second;
                                          });
    const auto registration = HookCall<decltype(&::RegisterClassExW)>(
        L"user32.dll", "RegisterClassExW", [&](const WNDCLASSEXW* windowClass) -> ATOM {
            icons = {windowClass->hIcon, windowClass->hIconSm};
            return 0;
        });
    EXPECT_EQ(CreateMainWindow(::GetModuleHandleW(nullptr), SW_HIDE), nullptr);
    return icons;
}

TEST_F(MainWindow, HasTheToolsIconsOrFallsBackToTheSystems) {
    // No class is registered in this test, so no window is created.
    ::UnregisterClassW(L"Quellstone.RepairTool", ::GetModuleHandleW(nullptr));
    const HICON own = ::LoadIconW(nullptr, IDI_HAND);
    const HICON ownSmall = ::LoadIconW(nullptr, IDI_ASTERISK);
    const HICON systems = ::LoadIconW(nullptr, IDI_APPLICATION);
    EXPECT_EQ(IconsWhen({own, ownSmall}), std::pair(own, ownSmall));
    EXPECT_EQ(IconsWhen({own, nullptr}), std::pair(own, own));
    EXPECT_EQ(IconsWhen({nullptr, nullptr}), std::pair(systems, systems));
}

// The large icon shrunk would be blurred.
TEST_F(MainWindow, HasASmallIconOfTheSmallSize) {
    const OpenWindow window;
    // The system gives the handle as a number.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    const auto icon = reinterpret_cast<HICON>(::GetClassLongPtrW(window.Handle(), GCLP_HICONSM));
    ICONINFO parts{};
    ASSERT_TRUE(::GetIconInfo(icon, &parts));
    BITMAP picture{};
    ::GetObjectW(parts.hbmColor, sizeof picture, &picture);
    EXPECT_EQ(picture.bmWidth, ::GetSystemMetrics(SM_CXSMICON));
    EXPECT_EQ(picture.bmHeight, ::GetSystemMetrics(SM_CYSMICON));
    ::DeleteObject(parts.hbmColor);
    ::DeleteObject(parts.hbmMask);
}

TEST_F(MainWindow, HasRoundCorners) {
    const OpenWindow window;
    const HRGN region = ::CreateRectRgn(0, 0, 0, 0);
    ASSERT_EQ(::GetWindowRgn(window.Handle(), region), COMPLEXREGION);
    const HRGN expected = ::CreateRoundRectRgn(0, 0, 861, 561, 26, 26);
    EXPECT_EQ(::CombineRgn(region, region, expected, RGN_XOR), NULLREGION) << "they differ";
    ::DeleteObject(expected);
    ::DeleteObject(region);
}

TEST_F(MainWindow, StaysRectangularWithoutARegion) {
    const auto hook = HookCall<decltype(&::CreateRoundRectRgn)>(
        L"gdi32.dll", "CreateRoundRectRgn", [](auto...) -> HRGN { return nullptr; });
    const OpenWindow window;
    const HRGN region = ::CreateRectRgn(0, 0, 0, 0);
    EXPECT_EQ(::GetWindowRgn(window.Handle(), region), ERROR);
    EXPECT_TRUE(::IsWindowVisible(window.Handle()));
    ::DeleteObject(region);
}

TEST_F(MainWindow, TakesTheConfigurationThatTheProgramCarries) {
    const OpenWindow window(Opening{});
    EXPECT_EQ(WindowText(window.Handle()), L"Brand Repair.exe");
    EXPECT_EQ(toolConfig.startupExe, L"start.exe");
    EXPECT_EQ(windowState.accentColor, 0xFF112233);
    EXPECT_THAT(window.ShownButtons(), ElementsAre(4001, 4002, 4004, 4005, 4007, 4008));
}

TEST_F(MainWindow, KeepsTheDefaultsAndFillsInMissingNames) {
    ToolConfig nameless = FullConfig();
    nameless.repairToolName.clear();
    nameless.startupExe.clear();
    nameless.accentHex.clear();
    for (const ToolConfig& config : {ToolConfig{}, nameless}) {
        const OpenWindow window({.config = config});
        EXPECT_EQ(WindowText(window.Handle()), L"KrvBrennickInstaller.exe");
        EXPECT_EQ(toolConfig.startupExe, L"patcher.exe");
        EXPECT_EQ(windowState.accentColor, 0xFFFFA640);
        EXPECT_THAT(window.ShownButtons(), testing::Contains(4004));
    }
}

TEST_F(MainWindow, LocatesTheRunningTool) {
    const OpenWindow window;
    std::array<wchar_t, MAX_PATH> path{};
    ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    EXPECT_EQ(window.LocatedExe().native(), path.data());
    EXPECT_EQ(window.LocatedFolder(), window.LocatedExe().parent_path());
}

// Whether the backdrop has other pixels than a plain fill.
bool ShowsABackground() {
    for (int x = 0; x < kWindow.width; ++x) {
        Gdiplus::ARGB color = 0;
        GdipBitmapGetPixel(windowState.backdrop.get(), x, 500, &color);
        if (color != 0xFF0A0B0C) {
            return true;
        }
    }
    return false;
}

TEST_F(MainWindow, LoadsThePicturesThatTheBrandHas) {
    ToolConfig noLogo = FullConfig();
    noLogo.showLogo = false;
    const struct {
        Opening opening;
        bool logo;
        bool background;
    } rows[] = {
        {{.config = FullConfig()}, true, true},
        {{.config = noLogo}, false, true},
        {{.config = FullConfig(), .hasPictures = false}, false, false},
    };
    for (const auto& [opening, logo, background] : rows) {
        const OpenWindow window(opening);
        EXPECT_TRUE(::IsWindowVisible(window.Handle()));
        EXPECT_EQ(windowState.panelLogo != nullptr, logo);
        EXPECT_EQ(ShowsABackground(), background);
        ReleaseImages();
        EXPECT_FALSE(windowState.panelLogo || windowState.backdrop);
    }
}

// Images may be many times larger than the window.
TEST_F(MainWindow, PreparesItsBackdropOnAnotherThreadAndKeepsNoImageInItsFullSize) {
    std::mutex mutex;
    std::vector<DWORD> decodingThreads;
    std::set<Gdiplus::GpImage*> kept;
    using Decode = decltype(&GdipCreateBitmapFromStream);
    const auto decode = HookCall<Decode>(
        L"gdiplus.dll", "GdipCreateBitmapFromStream",
        [&, real = RealFunction<Decode>(L"gdiplus.dll", "GdipCreateBitmapFromStream")](
            IStream* stream, Gdiplus::GpBitmap** bitmap) {
            const auto status = real(stream, bitmap);
            const std::lock_guard lock(mutex);
            decodingThreads.push_back(::GetCurrentThreadId());
            kept.insert(*bitmap);
            return status;
        });
    const auto dispose = WatchCall<decltype(&GdipDisposeImage)>(
        L"gdiplus.dll", "GdipDisposeImage", [&](Gdiplus::GpImage* image) {
            const std::lock_guard lock(mutex);
            kept.erase(image);
        });
    bool hadImages = false;
    const auto show =
        WatchCall<decltype(&::ShowWindow)>(L"user32.dll", "ShowWindow", [&](HWND window, int) {
            if (window == mainWindow) {
                hadImages = windowState.backdrop && windowState.panelLogo;
            }
        });
    const OpenWindow window;
    EXPECT_TRUE(hadImages) << "when it was shown";
    ASSERT_EQ(decodingThreads.size(), 2U);
    EXPECT_EQ(std::ranges::count(decodingThreads, ::GetCurrentThreadId()), 1) << "for the logo";
    EXPECT_EQ(kept.size(), 0U);
}

TEST_F(MainWindow, LendsItsFontToEveryButton) {
    const OpenWindow window;
    LOGFONTW font{};
    ASSERT_NE(::GetObjectW(windowState.uiFont, sizeof font, &font), 0);
    EXPECT_EQ(font.lfHeight, 15);
    EXPECT_EQ(font.lfWidth, 0);
    EXPECT_EQ(font.lfEscapement, 0);
    EXPECT_EQ(font.lfOrientation, 0);
    EXPECT_EQ(font.lfWeight, 400);
    EXPECT_EQ(font.lfItalic + font.lfUnderline + font.lfStrikeOut, 0);
    EXPECT_EQ(font.lfCharSet, DEFAULT_CHARSET);
    EXPECT_EQ(font.lfOutPrecision, OUT_DEFAULT_PRECIS);
    EXPECT_EQ(font.lfClipPrecision, CLIP_DEFAULT_PRECIS);
    EXPECT_EQ(font.lfQuality, CLEARTYPE_QUALITY);
    EXPECT_EQ(font.lfPitchAndFamily, 32);
    EXPECT_EQ(std::wstring(font.lfFaceName), L"Segoe UI");
    for (int id = 4001; id <= 4012; ++id) {
        EXPECT_EQ(::SendMessageW(window.Button(id), WM_GETFONT, 0, 0),
                  reinterpret_cast<LRESULT>(windowState.uiFont))
            << id;
    }
}

TEST_F(MainWindow, KeepsABackgroundBrushUntilItIsDestroyed) {
    const OpenWindow window;
    const HBRUSH brush = windowState.backgroundBrush.get();
    LOGBRUSH description{};
    ASSERT_NE(::GetObjectW(brush, sizeof description, &description), 0);
    EXPECT_EQ(description.lbStyle, static_cast<UINT>(BS_SOLID));
    EXPECT_EQ(description.lbColor, RGB(10, 11, 12));
    ::DestroyWindow(window.Handle());
    EXPECT_EQ(::GetObjectW(brush, sizeof description, &description), 0);
    EXPECT_FALSE(windowState.backgroundBrush);
}

// The table itself is in button_table_test.cpp.
TEST_F(MainWindow, PlacesAndShowsItsButtonsByTheTable) {
    for (const ToolConfig& config : {FullConfig(), TwoServers()}) {
        const OpenWindow window({.config = config});
        HWND button = ::GetWindow(window.Handle(), GW_CHILD);
        for (const ButtonSpec& spec : Buttons()) {
            const int id = static_cast<int>(spec.id);
            SCOPED_TRACE(id);
            EXPECT_EQ(::GetDlgCtrlID(button), id) << "the order of their creation";
            const Box box = (config.multiRepairTool ? spec.placeWithServers : spec.place)
                                .value_or(Box{0, 0, 10, 10});
            EXPECT_EQ(PlaceOf(button), Edges(box.x, box.y, box.width, box.height));
            EXPECT_TRUE(::IsWindowEnabled(button));
            EXPECT_EQ(ClassOf(button), L"Button");
            EXPECT_EQ(::GetWindowLongW(button, GWL_STYLE) & ~WS_VISIBLE,
                      WS_CHILD | WS_TABSTOP | BS_OWNERDRAW);
            button = ::GetWindow(button, GW_HWNDNEXT);
        }
        EXPECT_EQ(window.ShownButtons(),
                  config.multiRepairTool
                      ? std::vector({4001, 4003, 4004, 4005, 4006, 4007, 4008, 4011, 4012})
                      : std::vector({4001, 4002, 4003, 4004, 4005, 4006, 4007, 4008}));
    }
}

}  // namespace
