#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/text.h"
#include "common/tool_instance.h"
#include "job/job_flow.h"
#include "job/job_thread.h"
#include "package/package_source.h"
#include "ui/button_painter.h"
#include "ui/canvas.h"
#include "ui/drawing.h"
#include "ui/open_window.h"
#include "ui/player.h"
#include "ui/window_painter.h"
#include "ui/window_state.h"

// What the window does with each message.

namespace {

using namespace bench;

class WindowProcedure : public WindowTest {};

LRESULT HitTest(HWND window, int x, int y) {
    POINT point{x, y};
    ::ClientToScreen(window, &point);
    return ::SendMessageW(window, WM_NCHITTEST, 0,
                          MAKELPARAM(static_cast<WORD>(point.x), static_cast<WORD>(point.y)));
}

TEST_F(WindowProcedure, TheTitleBarMovesTheWindowUpToItsMarks) {
    const OpenWindow window;
    // Also left of and above the first screen, where coordinates are negative.
    for (const POINT origin : {POINT{100, 60}, POINT{-300, -200}, POINT{0, 0}}) {
        ::SetWindowPos(window.Handle(), nullptr, origin.x, origin.y, 0, 0,
                       SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
        const struct {
            int x;
            int y;
            LRESULT result;
        } rows[] = {
            {0, 0, HTCAPTION},    {430, 20, HTCAPTION}, {771, 47, HTCAPTION}, {0, 47, HTCAPTION},
            {771, 0, HTCAPTION},  {772, 0, HTCLIENT},   {772, 47, HTCLIENT},  {859, 20, HTCLIENT},
            {0, 48, HTCLIENT},    {771, 48, HTCLIENT},  {772, 48, HTCLIENT},  {430, 300, HTCLIENT},
            {859, 559, HTCLIENT},
        };
        for (const auto& [x, y, result] : rows) {
            EXPECT_EQ(HitTest(window.Handle(), x, y), result)
                << x << ',' << y << " at " << origin.x << ',' << origin.y;
        }
    }
}

TEST_F(WindowProcedure, TheSuccessMessageRepaintsTheWholeWindowAndCollectsNothing) {
    const OpenWindow window;
    LeaveEndedJob(JobKind::Repair, true);
    window.TakePaint();
    ::SendMessageW(window.Handle(), WM_APP + 1, 0, 0);
    RECT area{};
    ::GetUpdateRect(window.Handle(), &area, FALSE);
    EXPECT_EQ(area.right - area.left, 860);
    EXPECT_EQ(area.bottom - area.top, 560);
    EXPECT_TRUE(window.TakePaint());
    EXPECT_TRUE(JobThreadExists());
    EXPECT_FALSE(windowState.launchDone);
}

TEST_F(WindowProcedure, OtherPrivateMessagesDoNothing) {
    const OpenWindow window;
    window.TakePaint();
    for (const UINT message : {WM_APP + 0U, WM_APP + 2U, WM_USER + 1U}) {
        EXPECT_EQ(::SendMessageW(window.Handle(), message, 0, 0), 0);
        EXPECT_FALSE(window.TakePaint()) << message;
    }
}

// What the screen shows.
Pixels ScreenPixels(HWND window) {
    const HDC device = ::GetDC(window);
    Pixels pixels = WindowSizedPart(device, {0, 0});
    ::ReleaseDC(window, device);
    return pixels;
}

// The same after a fresh paint.
Pixels PaintedWindow(const OpenWindow& window) {
    ::InvalidateRect(window.Handle(), nullptr, FALSE);
    window.TakePaint();
    return ScreenPixels(window.Handle());
}

TEST_F(WindowProcedure, PaintingShowsConfigurationFolderJobAndPictures) {
    ToolConfig config = FullConfig();
    config.repairToolName = L" odd:name?.exe ";
    const OpenWindow window({.config = config});
    EXPECT_EQ(WindowText(window.Handle()), L" odd:name?.exe ");
    UpdateJobState([](JobState& state) {
        state.stage = JobStage::Downloading;
        state.bytesTotal = 3;
        state.bytesReceived = 1;
        state.statusLine = L"Downloading...";
        state.detailLine = L"client.zip";
    });
    const WindowPicture picture{
        .toolName = L"odd_name_.exe",
        .clientFolder = client_.Path().native(),
        .job = snapshot(),
        .accentColor = 0xFF33CC99,
        .backdrop = windowState.backdrop.get(),
        .logo = windowState.panelLogo.get(),
    };
    const Canvas expected;
    PaintWindow(expected.Graphics(), picture);
    const Pixels painted = PaintedWindow(window);
    // Between title bar and buttons, right of the round corners' reach.
    EXPECT_EQ(DifferingArea(painted, expected.Read(), Box{0, 48, 860, 348}), std::nullopt);
    EXPECT_EQ(DifferingArea(painted, expected.Read(), Box{30, 0, 700, 48}), std::nullopt);
}

TEST_F(WindowProcedure, PaintingCallsAToolWithoutANameByItsDefault) {
    const OpenWindow window;
    toolConfig.repairToolName = L"  ";
    const Pixels blank = PaintedWindow(window);
    toolConfig.repairToolName = L"KrvBrennickInstaller.exe";
    EXPECT_EQ(PaintedWindow(window), blank);
}

// Has the window draw a button in this state onto `device`.
LRESULT DrawItem(const OpenWindow& window, int id, UINT state, HDC device, const RECT& area) {
    DRAWITEMSTRUCT item{};
    item.CtlType = ODT_BUTTON;
    item.CtlID = static_cast<UINT>(id);
    item.itemAction = ODA_DRAWENTIRE;
    item.itemState = state;
    item.hwndItem = window.Button(id);
    item.hDC = device;
    item.rcItem = area;
    return ::SendMessageW(window.Handle(), WM_DRAWITEM, static_cast<WPARAM>(id),
                          reinterpret_cast<LPARAM>(&item));
}

Pixels Painted(const ButtonPicture& button, const Box& box) {
    const MemoryDevice device(400, 100);
    PaintButton(MakeGraphics(device.Dc()).get(), box, button);
    return device.Read();
}

TEST_F(WindowProcedure, DrawsEachButtonInEachState) {
    const OpenWindow window({.config = TwoServers()});
    ::SetWindowTextW(window.Button(4003), L"Game Shortcut Created");
    for (const bool primary : {true, false}) {
        primaryServerChosen = primary;
        for (int id = 4001; id <= 4012; ++id) {
            for (const UINT state : {0U, UINT{ODS_SELECTED}, UINT{ODS_DISABLED},
                                     UINT{ODS_SELECTED | ODS_DISABLED}, UINT{ODS_FOCUS}}) {
                const MemoryDevice device(400, 100);
                EXPECT_EQ(DrawItem(window, id, state, device.Dc(), {20, 10, 340, 60}), 1);
                const ButtonPicture button{
                    .id = static_cast<ButtonId>(id),
                    .text = id == 4003 ? L"Game Shortcut Created" : FindButton(id)->text,
                    .pressed = (state & ODS_SELECTED) != 0,
                    .disabled = (state & ODS_DISABLED) != 0,
                    .selected = id == (primary ? 4011 : 4012),
                    .accentColor = 0xFF33CC99,
                };
                EXPECT_EQ(device.Read(), Painted(button, {20, 10, 320, 50})) << id << ' ' << state;
            }
        }
    }
}

TEST_F(WindowProcedure, DrawsAtMost160CharactersOfAText) {
    const OpenWindow window;
    const RECT area{0, 0, 3000, 34};
    Pixels painted[3];
    const size_t lengths[] = {159, 160, 300};
    for (size_t index = 0; index < std::size(lengths); ++index) {
        ::SetWindowTextW(window.Button(4003), std::wstring(lengths[index], L'i').c_str());
        const MemoryDevice device(3000, 34);
        DrawItem(window, 4003, 0, device.Dc(), area);
        painted[index] = device.Read();
    }
    EXPECT_NE(painted[0], painted[1]);
    EXPECT_EQ(painted[1], painted[2]);
}

TEST_F(WindowProcedure, ShowsItsButtonsOnTheScreen) {
    const OpenWindow window;
    const Pixels painted = PaintedWindow(window);
    ExpectColor(painted, 0xFF33CC99, {{96, 400}, {298, 420}});  // 4001, the border of 4002
    ExpectColor(painted, 0xFF18191E, {{302, 400}});             // 4002
    ExpectColor(painted, 0xFF111215, {{28, 520}});              // 4005
}

TEST_F(WindowProcedure, PaintingKeepsOffTheVisibleButtons) {
    const OpenWindow window;
    window.TakePaint();
    const HDC device = ::GetDC(window.Handle());
    const HBRUSH brush = ::CreateSolidBrush(RGB(0xFF, 0, 0xFF));
    const RECT all{0, 0, 860, 560};
    ::FillRect(device, &all, brush);
    ::DeleteObject(brush);
    ::ReleaseDC(window.Handle(), device);
    // Erasing would show under the buttons, and flicker. They are not painted here.
    ::SendMessageW(window.Handle(), WM_APP + 1, 0, 0);
    ::SendMessageW(window.Handle(), WM_PAINT, 0, 0);
    const Pixels screen = ScreenPixels(window.Handle());
    EXPECT_EQ(screen.Count({92, 396, 188, 44}, 0xFFFF00FF), 188 * 44) << "a visible button";
    EXPECT_EQ(screen.Count({440, 396, 40, 1}, 0xFFFF00FF), 40) << "Reinstall Game";
    EXPECT_EQ(screen.Count({100, 450, 100, 50}, 0xFFFF00FF), 0) << "no button";
    EXPECT_EQ(screen.Count({281, 396, 16, 44}, 0xFFFF00FF), 0) << "only the hidden Retry";
}

}  // namespace
