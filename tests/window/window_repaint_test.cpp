#include <gtest/gtest.h>

#include "bench_parts/waiting.h"
#include "window/backdrop.h"
#include "window/picture_files.h"
#include "window/tool_test.h"

namespace {

void MoveTo(const ToolWindow& window, int x, int y) {
    ::SetWindowPos(window.Handle(), nullptr, x, y, 0, 0,
                   SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    EXPECT_TRUE(window.AwaitIdle());
}

POINT OriginOf(const ToolWindow& window) {
    POINT origin{0, 0};
    ::ClientToScreen(window.Handle(), &origin);
    return origin;
}

// A mark on the screen that goes when the window is painted at that place.
class ForeignSpot {
public:
    static constexpr uint32_t kColor = 0x00FFFF;

    ForeignSpot(const ToolWindow& window, int x, int y) : window_(window), x_(x), y_(y) {
        const HDC dc = ::GetDC(window.Handle());
        const HBRUSH brush = ::CreateSolidBrush(RGB(0x00, 0xFF, 0xFF));
        const RECT spot{x, y, x + kSizePx, y + kSizePx};
        ::FillRect(dc, &spot, brush);
        ::DeleteObject(brush);
        ::ReleaseDC(window.Handle(), dc);
        ::GdiFlush();
        EXPECT_EQ(WindowShot(window.Handle()).At(x, y), kColor);
    }
    [[nodiscard]] bool IsThere() const {
        return WindowShot(window_.Handle()).At(x_, y_) == kColor;
    }

private:
    static constexpr int kSizePx = 6;

    const ToolWindow& window_;
    int x_;
    int y_;
};

class WindowRepaint : public ToolTest {
protected:
    // Without shared corners: behind them the screen may change.
    Backdrop behind_{WholeScreen(), 0xFF00FF};
};

TEST_F(WindowRepaint, ShowsTheSamePictureAfterMinimizingAndRestoring) {
    const ToolWindow& window = StartTool();
    const WindowShot before = window.Look();
    window.Press(ButtonId::Minimize);
    EXPECT_TRUE(bench::Await([&] { return ::IsIconic(window.Handle()) != FALSE; }));
    ::ShowWindow(window.Handle(), SW_RESTORE);
    EXPECT_FALSE(::IsIconic(window.Handle()));
    EXPECT_EQ(AwaitPicture(window, before), "");
}

TEST_F(WindowRepaint, LeavesNothingStaleAfterComingBackFromTheScreensEdge) {
    const ToolWindow& window = StartTool();
    const WindowShot before = window.Look();
    const POINT origin = OriginOf(window);
    const Box screen = WholeScreen();
    for (const POINT away : {POINT{-500, -300}, POINT{screen.width - 200, screen.height - 100},
                             POINT{-850, 0}, POINT{0, screen.height + 10}}) {
        SCOPED_TRACE(testing::Message() << "from " << away.x << ", " << away.y);
        MoveTo(window, away.x, away.y);
        MoveTo(window, origin.x, origin.y);
        EXPECT_EQ(AwaitPicture(window, before), "");
    }
}

TEST_F(WindowRepaint, ShowsTheSamePictureAfterAnotherWindowHasCoveredIt) {
    const ToolWindow& window = StartTool();
    const WindowShot before = window.Look();
    const POINT origin = OriginOf(window);
    {
        const Backdrop cover({origin.x + 100, origin.y + 30, 500, 450}, 0x00FF00);
        EXPECT_EQ(WindowShot(window.Handle()).At(300, 300), 0x00FF00U);
    }
    EXPECT_EQ(AwaitPicture(window, before), "");
}

TEST_F(WindowRepaint, PaintsNothingWhileNothingHappens) {
    const ToolWindow& window = StartTool();
    const WindowShot before = window.Look();
    EXPECT_EQ(AwaitPicture(window, before), "");
    EXPECT_FALSE(::GetUpdateRect(window.Handle(), nullptr, FALSE));
    const ForeignSpot spot(window, 400, 340);
    for (int tick = 0; tick < 5; ++tick) {
        window.PostTick();
    }
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_TRUE(spot.IsThere());
}

TEST_F(WindowRepaint, PaintsAtEachTickOfAJob) {
    Set("archiveUrl", server_.Url(L"stall/2000/1000"));
    const ToolWindow& window = StartRepair();
    for (int times = 0; times < 3; ++times) {
        EXPECT_TRUE(window.AwaitIdle());
        const ForeignSpot spot(window, 400, 340);
        EXPECT_TRUE(bench::Await([&] { return !spot.IsThere(); }));
    }
    server_.ReleaseWaits();
}

TEST_F(WindowRepaint, PaintsNothingMoreAfterAJob) {
    const ToolWindow& window = StartRepair();
    window.AwaitJobEnd();
    EXPECT_TRUE(window.AwaitIdle());
    const ForeignSpot spot(window, 400, 340);
    for (int tick = 0; tick < 5; ++tick) {
        window.PostTick();
    }
    EXPECT_TRUE(window.AwaitIdle());
    EXPECT_TRUE(spot.IsThere());
}

TEST_F(WindowRepaint, PaintsTheSameWhereverThePointerIs) {
    const ToolWindow& window = StartTool();
    POINT formerPointer{};
    ::GetCursorPos(&formerPointer);
    ::SetCursorPos(0, 0);
    const WindowShot before = window.Look();
    for (const ButtonId id : {ButtonId::RepairClient, ButtonId::ReinstallGame, ButtonId::RunPatcher,
                              ButtonId::Minimize, ButtonId::CloseMark}) {
        SCOPED_TRACE(static_cast<int>(id));
        RECT place{};
        ::GetWindowRect(window.Button(id), &place);
        ::SetCursorPos((place.left + place.right) / 2, (place.top + place.bottom) / 2);
        ::SendMessageW(window.Button(id), WM_MOUSEMOVE, 0, MAKELPARAM(10, 10));
        EXPECT_EQ(Difference(before, window.Look()), "");
    }
    ::SetCursorPos(formerPointer.x, formerPointer.y);
}

}  // namespace
