#include "ui/main_window.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <tuple>

#include "bench_parts/call_hook.h"
#include "common/tool_instance.h"
#include "ui/open_window.h"
#include "ui/window_state.h"

// The window's creation: what it is, what it loads and what it leaves in the records.

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MainWindow : public WindowTest {};

std::wstring TextOf(HWND window) {
    std::array<wchar_t, 200> text{};
    ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
    return text.data();
}

// x, y, width, height in its parent.
using Edges = std::tuple<int, int, int, int>;

Edges PlaceOf(HWND child) {
    RECT place{};
    ::GetWindowRect(child, &place);
    ::MapWindowPoints(nullptr, ::GetParent(child), reinterpret_cast<POINT*>(&place), 2);
    return {place.left, place.top, place.right - place.left, place.bottom - place.top};
}

struct Creation {
    DWORD extendedStyle = 0;
    std::wstring className;
    std::wstring title;
    DWORD style = 0;
    Edges place;
    HWND parent = nullptr;
    INT_PTR menu = 0;
    HINSTANCE instance = nullptr;
};

// Opens a window and tells of every window that came to be.
std::vector<Creation> CreationsOf(const Opening& opening) {
    std::vector<Creation> creations;
    using Create = decltype(&::CreateWindowExW);
    const auto create = bench::RealFunction<Create>(L"user32.dll", "CreateWindowExW");
    const auto hook = bench::HookCall<Create>(
        L"user32.dll", "CreateWindowExW",
        [&](DWORD extendedStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x, int y,
            int width, int height, HWND parent, HMENU menu, HINSTANCE instance, LPVOID extra) {
            creations.push_back({extendedStyle, className, title, style, Edges(x, y, width, height),
                                 parent, reinterpret_cast<INT_PTR>(menu), instance});
            return create(extendedStyle, className, title, style, x, y, width, height, parent, menu,
                          instance, extra);
        });
    const OpenWindow window(opening);
    return creations;
}

TEST_F(MainWindow, IsABorderlessPopupInTheMiddleOfTheScreen) {
    const Creation window = CreationsOf({.config = FullConfig()}).at(0);
    EXPECT_EQ(window.className, L"Quellstone.RepairTool");
    EXPECT_EQ(window.title, L"KrvBrennickInstaller");
    EXPECT_EQ(window.extendedStyle, static_cast<DWORD>(WS_EX_APPWINDOW));
    EXPECT_EQ(window.style, WS_POPUP | WS_MINIMIZEBOX);
    EXPECT_EQ(window.place, Edges((::GetSystemMetrics(SM_CXSCREEN) - 860) / 2,
                                  (::GetSystemMetrics(SM_CYSCREEN) - 560) / 2, 860, 560));
    EXPECT_EQ(window.parent, nullptr);
    EXPECT_EQ(window.menu, 0);
    EXPECT_EQ(window.instance, ::GetModuleHandleW(nullptr));
}

TEST_F(MainWindow, IsCenteredOnASmallerScreenAsWell) {
    const auto metrics = bench::HookCall<decltype(&::GetSystemMetrics)>(
        L"user32.dll", "GetSystemMetrics",
        [](int index) { return index == SM_CXSCREEN ? 801 : 500; });
    const Creation window = CreationsOf({.config = FullConfig()}).at(0);
    EXPECT_EQ(window.place, Edges(-29, -30, 860, 560));
}

TEST_F(MainWindow, MakesItsButtonsAsOwnerDrawnChildren) {
    const std::vector<Creation> creations = CreationsOf({.config = FullConfig()});
    std::vector<INT_PTR> ids;
    ASSERT_EQ(creations.size(), 13U);
    for (size_t index = 1; index < creations.size(); ++index) {
        const Creation& button = creations[index];
        ids.push_back(button.menu);
        EXPECT_EQ(button.className, L"BUTTON");
        EXPECT_EQ(button.extendedStyle, 0U);
        EXPECT_EQ(button.style, 0x5001000BU);
        EXPECT_EQ(button.place, Edges(0, 0, 10, 10));
        EXPECT_NE(button.parent, nullptr);
        EXPECT_EQ(button.instance, ::GetModuleHandleW(nullptr));
    }
    EXPECT_THAT(
        ids, ElementsAre(4001, 4011, 4012, 4002, 4003, 4004, 4005, 4006, 4009, 4010, 4007, 4008));
}

TEST_F(MainWindow, ReportsThatTheSystemRefusesAWindow) {
    const auto hook = bench::HookCall<decltype(&::CreateWindowExW)>(
        L"user32.dll", "CreateWindowExW", [](auto...) -> HWND { return nullptr; });
    EXPECT_EQ(CreateMainWindow(::GetModuleHandleW(nullptr), SW_SHOW), nullptr);
    EXPECT_EQ(mainWindow, nullptr);
}

TEST_F(MainWindow, IsTheWindowThatTheRecordsName) {
    const OpenWindow window;
    EXPECT_EQ(mainWindow, window.Handle());
    EXPECT_TRUE(::IsWindowVisible(window.Handle()));
    EXPECT_TRUE(window.HadTimer());
    EXPECT_FALSE(::GetUpdateRect(window.Handle(), nullptr, FALSE)) << "it has been painted";
}

TEST_F(MainWindow, TicksFourTimesASecond) {
    std::vector<std::pair<UINT_PTR, UINT>> timers;
    const auto hook = bench::HookCall<decltype(&::SetTimer)>(
        L"user32.dll", "SetTimer", [&](HWND, UINT_PTR id, UINT periodMs, TIMERPROC) {
            timers.emplace_back(id, periodMs);
            return id;
        });
    const OpenWindow window;
    EXPECT_THAT(timers, ElementsAre(std::pair<UINT_PTR, UINT>(1, 250)));
}

TEST_F(MainWindow, IsShownAsItIsTold) {
    EXPECT_FALSE(
        ::IsWindowVisible(OpenWindow({.config = FullConfig(), .showCommand = SW_HIDE}).Handle()));
    EXPECT_TRUE(::IsIconic(
        OpenWindow({.config = FullConfig(), .showCommand = SW_SHOWMINNOACTIVE}).Handle()));
}

TEST_F(MainWindow, HasTheClassThatItsUsersKnow) {
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

// The icons that the class is registered with. `loaded` are what the tool's own icon
// loads as.
std::pair<HICON, HICON> IconsWhen(std::pair<HICON, HICON> loaded) {
    std::pair<HICON, HICON> icons;
    using Load = decltype(&::LoadIconW);
    const auto load = bench::RealFunction<Load>(L"user32.dll", "LoadIconW");
    const auto largeIcon =
        bench::HookCall<Load>(L"user32.dll", "LoadIconW", [&](HINSTANCE instance, LPCWSTR name) {
            return instance != nullptr && name == MAKEINTRESOURCEW(101) ? loaded.first
                                                                        : load(instance, name);
        });
    const auto smallIcon = bench::HookCall<decltype(&::LoadImageW)>(
        L"user32.dll", "LoadImageW",
        [&](HINSTANCE instance, LPCWSTR name, UINT type, int width, int height,
            UINT flags) -> HANDLE {
            EXPECT_EQ(instance, ::GetModuleHandleW(nullptr));
            EXPECT_EQ(name, MAKEINTRESOURCEW(101));
            EXPECT_EQ(type, static_cast<UINT>(IMAGE_ICON));
            EXPECT_EQ(width, ::GetSystemMetrics(SM_CXSMICON));
            EXPECT_EQ(height, ::GetSystemMetrics(SM_CYSMICON));
            EXPECT_EQ(flags & LR_SHARED, 0U);
            return loaded.second;
        });
    const auto registration = bench::HookCall<decltype(&::RegisterClassExW)>(
        L"user32.dll", "RegisterClassExW", [&](const WNDCLASSEXW* windowClass) -> ATOM {
            icons = {windowClass->hIcon, windowClass->hIconSm};
            return 0;
        });
    CreateMainWindow(::GetModuleHandleW(nullptr), SW_HIDE);
    return icons;
}

TEST_F(MainWindow, HasTheToolsIconsOrElseTheSystems) {
    // Nothing is registered in this test, so no window comes to be.
    ::UnregisterClassW(L"Quellstone.RepairTool", ::GetModuleHandleW(nullptr));
    const HICON own = ::LoadIconW(nullptr, IDI_HAND);
    const HICON ownSmall = ::LoadIconW(nullptr, IDI_ASTERISK);
    const HICON systems = ::LoadIconW(nullptr, IDI_APPLICATION);
    EXPECT_EQ(IconsWhen({own, ownSmall}), std::pair(own, ownSmall));
    EXPECT_EQ(IconsWhen({own, nullptr}), std::pair(own, own));
    EXPECT_EQ(IconsWhen({nullptr, nullptr}), std::pair(systems, systems));
}

// Not the large icon shrunk: that is blurred.
TEST_F(MainWindow, HasASmallIconOfItsOwnSize) {
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
    RECT box{};
    ::GetRgnBox(region, &box);
    EXPECT_EQ(std::tuple(box.left, box.top, box.right, box.bottom), std::tuple(0, 0, 860, 560));
    for (const int x : {2, 857}) {
        for (const int y : {2, 557}) {
            EXPECT_FALSE(::PtInRegion(region, x, y)) << x << ',' << y;
        }
    }
    const POINT inside[] = {{430, 0}, {430, 559}, {0, 280}, {859, 280}, {13, 0},  {846, 0},
                            {0, 13},  {0, 546},   {5, 5},   {854, 5},   {5, 554}, {854, 554}};
    for (const auto& [x, y] : inside) {
        EXPECT_TRUE(::PtInRegion(region, x, y)) << x << ',' << y;
    }
    ::DeleteObject(region);
}

TEST_F(MainWindow, StaysRectangularWithoutARegion) {
    const auto hook = bench::HookCall<decltype(&::CreateRoundRectRgn)>(
        L"gdi32.dll", "CreateRoundRectRgn", [](auto...) -> HRGN { return nullptr; });
    const OpenWindow window;
    const HRGN region = ::CreateRectRgn(0, 0, 0, 0);
    EXPECT_EQ(::GetWindowRgn(window.Handle(), region), ERROR);
    EXPECT_TRUE(::IsWindowVisible(window.Handle()));
    ::DeleteObject(region);
}

TEST_F(MainWindow, TakesTheConfigurationThatTheProgramCarries) {
    const OpenWindow window(Opening{});
    EXPECT_EQ(TextOf(window.Handle()), L"Brand Repair.exe");
    EXPECT_EQ(toolConfig.startupExe, L"start.exe");
    EXPECT_EQ(windowState.accentColor, 0xFF112233);
    EXPECT_THAT(window.ShownButtons(), ElementsAre(4001, 4002, 4004, 4005, 4007, 4008));
}

TEST_F(MainWindow, KeepsTheDefaultsWithoutAConfiguration) {
    const OpenWindow window({.config = ToolConfig{}});
    EXPECT_EQ(TextOf(window.Handle()), L"KrvBrennickInstaller.exe");
    EXPECT_EQ(toolConfig.startupExe, L"patcher.exe");
    EXPECT_EQ(windowState.accentColor, 0xFFFFA640);
}

TEST_F(MainWindow, FillsInTheNamesThatAreMissing) {
    ToolConfig config = FullConfig();
    config.repairToolName.clear();
    config.startupExe.clear();
    const OpenWindow window({.config = config});
    EXPECT_EQ(TextOf(window.Handle()), L"KrvBrennickInstaller.exe");
    EXPECT_EQ(toolConfig.startupExe, L"patcher.exe");
    EXPECT_THAT(window.ShownButtons(), testing::IsSupersetOf({4003, 4004}));
}

TEST_F(MainWindow, FindsOutWhichCopyOfTheToolRuns) {
    const OpenWindow window;
    std::array<wchar_t, MAX_PATH> path{};
    ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    EXPECT_EQ(window.LocatedExe().native(), path.data());
    EXPECT_EQ(window.LocatedFolder(), window.LocatedExe().parent_path());
}

TEST_F(MainWindow, LoadsBothPictures) {
    const OpenWindow window;
    EXPECT_TRUE(windowState.logoImage);
    EXPECT_TRUE(windowState.backgroundImage);
}

TEST_F(MainWindow, LoadsNoLogoForABrandThatShowsNone) {
    ToolConfig config = FullConfig();
    config.showLogo = false;
    const OpenWindow window({.config = config});
    EXPECT_FALSE(windowState.logoImage);
    EXPECT_TRUE(windowState.backgroundImage);
}

TEST_F(MainWindow, GoesWithoutPicturesThatAreNotThere) {
    const OpenWindow window({.config = FullConfig(), .hasPictures = false});
    EXPECT_FALSE(windowState.logoImage);
    EXPECT_FALSE(windowState.backgroundImage);
    EXPECT_TRUE(::IsWindowVisible(window.Handle()));
}

TEST_F(MainWindow, ReleasesBothPicturesOnRequest) {
    const OpenWindow window;
    ReleaseImages();
    EXPECT_FALSE(windowState.logoImage);
    EXPECT_FALSE(windowState.backgroundImage);
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

TEST_F(MainWindow, KeepsABackgroundBrushUntilItGoes) {
    const OpenWindow window;
    const HBRUSH brush = windowState.backgroundBrush.get();
    LOGBRUSH description{};
    ASSERT_NE(::GetObjectW(brush, sizeof description, &description), 0);
    EXPECT_EQ(description.lbStyle, static_cast<UINT>(BS_SOLID));
    EXPECT_EQ(description.lbColor, RGB(10, 11, 12));
    ::DestroyWindow(window.Handle());
    EXPECT_EQ(::GetObjectW(brush, sizeof description, &description), 0);
    EXPECT_EQ(windowState.backgroundBrush, nullptr);
}

// Where the buttons stand with one server and with two; the others stay as they were created.

struct Place {
    int id;
    Edges place;
};

void ExpectPlaces(const OpenWindow& window, const std::vector<Place>& places) {
    for (const auto& [id, place] : places) {
        EXPECT_EQ(PlaceOf(window.Button(id)), place) << id;
    }
}

TEST_F(MainWindow, PlacesItsButtonsForOneServer) {
    const OpenWindow window;
    ExpectPlaces(window, {{4001, {92, 396, 188, 44}},
                          {4002, {298, 396, 188, 44}},
                          {4003, {504, 396, 180, 44}},
                          {4004, {342, 456, 176, 42}},
                          {4005, {24, 516, 110, 30}},
                          {4006, {142, 516, 110, 30}},
                          {4007, {792, 10, 28, 28}},
                          {4008, {822, 10, 28, 28}},
                          {4009, {244, 396, 176, 44}},
                          {4010, {440, 396, 176, 44}},
                          {4011, {0, 0, 10, 10}},
                          {4012, {0, 0, 10, 10}}});
    EXPECT_THAT(window.ShownButtons(), ElementsAre(4001, 4002, 4003, 4004, 4005, 4006, 4007, 4008));
    EXPECT_THAT(window.DisabledButtons(), IsEmpty());
}

TEST_F(MainWindow, PlacesItsButtonsForTwoServers) {
    const OpenWindow window({.config = TwoServers()});
    ExpectPlaces(window, {{4001, {342, 440, 176, 42}},
                          {4002, {0, 0, 10, 10}},
                          {4003, {178, 486, 220, 28}},
                          {4004, {462, 486, 176, 28}},
                          {4005, {24, 516, 110, 30}},
                          {4006, {142, 516, 110, 30}},
                          {4007, {792, 10, 28, 28}},
                          {4008, {822, 10, 28, 28}},
                          {4009, {244, 396, 176, 44}},
                          {4010, {440, 396, 176, 44}},
                          {4011, {112, 396, 300, 34}},
                          {4012, {448, 396, 300, 34}}});
    EXPECT_THAT(window.ShownButtons(),
                ElementsAre(4001, 4003, 4004, 4005, 4006, 4007, 4008, 4011, 4012));
}

TEST_F(MainWindow, KeepsTheOrderOfItsButtons) {
    const OpenWindow window;
    std::vector<int> ids;
    for (HWND button = ::GetWindow(window.Handle(), GW_CHILD); button != nullptr;
         button = ::GetWindow(button, GW_HWNDNEXT)) {
        ids.push_back(::GetDlgCtrlID(button));
    }
    EXPECT_THAT(
        ids, ElementsAre(4001, 4011, 4012, 4002, 4003, 4004, 4005, 4006, 4009, 4010, 4007, 4008));
}

}  // namespace
