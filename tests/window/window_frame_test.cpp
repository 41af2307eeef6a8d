#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "bench_parts/waiting.h"
#include "resource_ids.h"
#include "window/backdrop.h"
#include "window/tool_test.h"

namespace {

using testing::ElementsAre;

constexpr uint32_t kBehind = 0xFF00FF;
constexpr uint32_t kTitleFill = 0x0C0D0E;
constexpr int kWidth = 860;
constexpr int kHeight = 560;

std::wstring TitleOf(HWND window) {
    std::array<wchar_t, 200> title{};
    ::SendMessageW(window, WM_GETTEXT, title.size(), reinterpret_cast<LPARAM>(title.data()));
    return title.data();
}

std::array<LONG, 4> PlaceOf(HWND window) {
    RECT place{};
    ::GetWindowRect(window, &place);
    return {place.left, place.top, place.right - place.left, place.bottom - place.top};
}

class WindowFrame : public ToolTest {};

TEST_F(WindowFrame, IsABorderlessWindowOfTheTaskbar) {
    const ToolWindow& window = StartTool();
    std::array<wchar_t, 64> className{};
    ::GetClassNameW(window.Handle(), className.data(), static_cast<int>(className.size()));
    EXPECT_STREQ(className.data(), L"Quellstone.RepairTool");
    EXPECT_EQ(::GetWindowLongPtrW(window.Handle(), GWL_EXSTYLE), LONG_PTR{WS_EX_APPWINDOW});
    // The system adds that it shows the window and cuts off what lies over it.
    const auto own = static_cast<DWORD>(::GetWindowLongPtrW(window.Handle(), GWL_STYLE)) &
                     ~DWORD{WS_VISIBLE | WS_CLIPSIBLINGS};
    EXPECT_EQ(own, DWORD{WS_POPUP | WS_MINIMIZEBOX});
    EXPECT_EQ(::GetWindow(window.Handle(), GW_OWNER), nullptr);
    EXPECT_EQ(::GetMenu(window.Handle()), nullptr);
}

TEST_F(WindowFrame, StandsInTheMiddleOfTheScreen) {
    const ToolWindow& window = StartTool();
    const int screenWidth = ::GetSystemMetrics(SM_CXSCREEN);
    const int screenHeight = ::GetSystemMetrics(SM_CYSCREEN);
    EXPECT_THAT(
        PlaceOf(window.Handle()),
        ElementsAre((screenWidth - kWidth) / 2, (screenHeight - kHeight) / 2, kWidth, kHeight));
    RECT client{};
    ::GetClientRect(window.Handle(), &client);
    EXPECT_EQ(client.right, kWidth);
    EXPECT_EQ(client.bottom, kHeight);
}

TEST_F(WindowFrame, BearsTheToolsFileNameAsItsTitle) {
    Set("repairToolName", L"Grüße: \"Reparatur\".exe");
    EXPECT_EQ(TitleOf(StartTool().Handle()), L"Grüße: \"Reparatur\".exe");
}

TEST_F(WindowFrame, BearsTheDefaultTitleWithoutAName) {
    Set("repairToolName", L"");
    EXPECT_EQ(TitleOf(StartTool().Handle()), L"KrvBrennickInstaller.exe");
}

TEST_F(WindowFrame, BearsTheDefaultTitleWithoutAConfiguration) {
    UseBareTool();
    EXPECT_EQ(TitleOf(StartTool().Handle()), L"KrvBrennickInstaller.exe");
}

TEST_F(WindowFrame, HasRoundCorners) {
    const HRGN wanted = ::CreateRoundRectRgn(0, 0, kWidth + 1, kHeight + 1, 26, 26);
    const HRGN actual = ::CreateRectRgn(0, 0, 0, 0);
    EXPECT_EQ(::GetWindowRgn(StartTool().Handle(), actual), COMPLEXREGION);
    // The same points can be told in different ways.
    EXPECT_EQ(::CombineRgn(actual, actual, wanted, RGN_XOR), NULLREGION);
    ::DeleteObject(wanted);
    ::DeleteObject(actual);
}

TEST_F(WindowFrame, ShowsWhatLiesBehindAtItsCorners) {
    const Backdrop behind(WholeScreen(), kBehind);
    Embed(ID_BACKGROUND_IMAGE, "no picture");
    const WindowShot shot = StartTool().Look();
    for (const int x : {0, kWidth - 1}) {
        for (const int y : {0, kHeight - 1}) {
            const int inwardX = x == 0 ? 1 : -1;
            const int inwardY = y == 0 ? 1 : -1;
            const uint32_t fill = y == 0 ? kTitleFill : 0x0A0B0C;
            SCOPED_TRACE(testing::Message() << x << ", " << y);
            EXPECT_EQ(shot.At(x, y), kBehind);
            EXPECT_EQ(shot.At(x + 2 * inwardX, y + 2 * inwardY), kBehind);
            // The ellipse's end, and the point of the diagonal that lies inside of it.
            EXPECT_EQ(shot.At(x + 14 * inwardX, y), fill);
            EXPECT_EQ(shot.At(x, y + 14 * inwardY), fill);
            EXPECT_EQ(shot.At(x + 5 * inwardX, y + 5 * inwardY), fill);
        }
    }
}

struct HitPoint {
    int x;
    int y;
    LRESULT answer;
};

TEST_F(WindowFrame, IsDraggedByTheTitleBarUpToItsButtons) {
    constexpr HitPoint kPoints[] = {
        {0, 0, HTCAPTION},    {771, 0, HTCAPTION},  {0, 47, HTCAPTION},   {771, 47, HTCAPTION},
        {430, 24, HTCAPTION}, {-5, 20, HTCAPTION},  {430, -5, HTCAPTION}, {0, 48, HTCLIENT},
        {771, 48, HTCLIENT},  {430, 300, HTCLIENT}, {772, 0, HTCLIENT},   {772, 47, HTCLIENT},
        {859, 0, HTCLIENT},   {859, 47, HTCLIENT},  {806, 24, HTCLIENT},  {836, 24, HTCLIENT},
        {772, 48, HTCLIENT},  {859, 559, HTCLIENT},
    };
    const ToolWindow& window = StartTool();
    // Also where screen coordinates are negative.
    for (const POINT origin : {POINT{210, 120}, POINT{-700, -40}}) {
        ::SetWindowPos(window.Handle(), nullptr, origin.x, origin.y, 0, 0,
                       SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
        for (const HitPoint& point : kPoints) {
            EXPECT_EQ(::SendMessageW(window.Handle(), WM_NCHITTEST, 0,
                                     MAKELPARAM(origin.x + point.x, origin.y + point.y)),
                      point.answer)
                << point.x << ", " << point.y << " from " << origin.x << ", " << origin.y;
        }
    }
}

}  // namespace
