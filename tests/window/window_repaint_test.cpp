#include <gtest/gtest.h>

#include "bench_parts/waiting.h"
#include "window/backdrop.h"
#include "window/tool_test.h"

namespace {

void MoveTo(const bench::ToolWindow& window, int x, int y) {
    ::SetWindowPos(window.Handle(), nullptr, x, y, 0, 0,
                   SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    window.AwaitIdle();
}

// A mark on the screen that disappears when the window is painted there.
class ForeignSpot {
public:
    explicit ForeignSpot(const bench::ToolWindow& window) : window_(window.Handle()) {
        const HDC dc = ::GetDC(window_);
        const HBRUSH brush = ::CreateSolidBrush(RGB(0x00, 0xFF, 0xFF));
        const RECT spot{kX, kY, kX + 6, kY + 6};
        ::FillRect(dc, &spot, brush);
        ::DeleteObject(brush);
        ::ReleaseDC(window_, dc);
        ::GdiFlush();
        EXPECT_TRUE(IsThere());
    }
    [[nodiscard]] bool IsThere() const {
        return bench::WindowShot(window_).At(kX, kY) == 0x00FFFF;
    }

private:
    static constexpr int kX = 400;
    static constexpr int kY = 340;

    HWND window_;
};

class WindowRepaint : public bench::ToolTest {
protected:
    void ExpectNoPaintAtTicks() {
        static_cast<void>(Window().Look());  // All pending painting is done then.
        EXPECT_FALSE(::GetUpdateRect(Window().Handle(), nullptr, FALSE));
        const ForeignSpot spot(Window());
        ExpectQuiet();
        EXPECT_TRUE(spot.IsThere());
    }

    // The corners show this instead of a screen that can change.
    bench::Backdrop behind_{bench::WholeScreen(), 0xFF00FF};
};

TEST_F(WindowRepaint, ShowsTheSamePictureAgainWhateverHidTheWindow) {
    UseBrandPictures();
    const bench::ToolWindow& window = StartTool();
    POINT formerPointer{};
    ::GetCursorPos(&formerPointer);
    ::SetCursorPos(0, 0);
    const bench::WindowShot before = window.Look();
    window.Minimize();
    window.Restore();
    window.AwaitLook(before);
    RECT origin{};
    ::GetWindowRect(window.Handle(), &origin);
    const Box screen = bench::WholeScreen();
    for (const POINT away : {POINT{-500, -300}, POINT{screen.width - 200, screen.height - 100},
                             POINT{0, screen.height + 10}}) {
        SCOPED_TRACE(testing::Message() << "from " << away.x << ", " << away.y);
        MoveTo(window, away.x, away.y);
        MoveTo(window, origin.left, origin.top);
        window.AwaitLook(before);
    }
    {
        const bench::Backdrop cover({origin.left + 100, origin.top + 30, 500, 450}, 0x00FF00);
        EXPECT_EQ(bench::WindowShot(window.Handle()).At(300, 300), 0x00FF00U);
    }
    window.AwaitLook(before);
    for (const ButtonId id : {ButtonId::RepairClient, ButtonId::Minimize, ButtonId::CloseMark}) {
        SCOPED_TRACE(static_cast<int>(id));
        RECT place{};
        ::GetWindowRect(window.Button(id), &place);
        ::SetCursorPos((place.left + place.right) / 2, (place.top + place.bottom) / 2);
        ::SendMessageW(window.Button(id), WM_MOUSEMOVE, 0, MAKELPARAM(10, 10));
        EXPECT_EQ(before.Difference(window.Look()), "") << "under the pointer";
    }
    ::SetCursorPos(formerPointer.x, formerPointer.y);
}

TEST_F(WindowRepaint, HappensAtEachTickOfAJobOnly) {
    const bench::ToolWindow& window = StartTool();
    ExpectNoPaintAtTicks();
    HoldRepair();
    for (int times = 0; times < 3; ++times) {
        window.AwaitIdle();
        const ForeignSpot spot(window);
        EXPECT_TRUE(bench::Await([&] { return !spot.IsThere(); }));
    }
    LetItSucceed();
    window.AwaitJobEnd();
    ExpectNoPaintAtTicks();
}

}  // namespace
