#include <gtest/gtest.h>

#include "bench_parts/waiting.h"
#include "window/backdrop.h"
#include "window/tool_test.h"

namespace {

constexpr Argb kWhite = 0xFFFFFFFF;

void MoveTo(const bench::ToolWindow& window, int x, int y) {
    ::SetWindowPos(window.Handle(), nullptr, x, y, 0, 0,
                   SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    window.AwaitIdle();
}

// A mark on the screen that disappears when the window is painted there.
class ForeignSpot {
public:
    explicit ForeignSpot(const bench::ToolWindow& window) : window_(window) {
        const HDC dc = ::GetDC(window_.Handle());
        const RECT spot{kPlace.x, kPlace.y, kPlace.x + 6, kPlace.y + 6};
        ::FillRect(dc, &spot, static_cast<HBRUSH>(::GetStockObject(WHITE_BRUSH)));
        ::ReleaseDC(window_.Handle(), dc);
        ::GdiFlush();
        EXPECT_TRUE(IsThere());
    }
    [[nodiscard]] bool IsThere() const {
        return window_.Screen().Value(kPlace.x, kPlace.y) == kWhite;
    }

private:
    static constexpr Point kPlace{400, 340};

    const bench::ToolWindow& window_;
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
};

TEST_F(WindowRepaint, ShowsTheSamePictureAgainWhateverHidTheWindow) {
    UseBrandPictures();
    const bench::ToolWindow& window = StartTool();
    POINT formerPointer{};
    ::GetCursorPos(&formerPointer);
    ::SetCursorPos(0, 0);
    const bench::Pixels before = window.Look();
    window.Minimize();
    window.Restore();
    window.AwaitLook(before);
    RECT place{};
    ::GetWindowRect(window.Handle(), &place);
    const int below = ::GetSystemMetrics(SM_CYSCREEN) + 10;
    for (const POINT away :
         {POINT{-500, -300}, POINT{place.right, place.bottom}, POINT{0, below}}) {
        SCOPED_TRACE(testing::Message() << "from " << away.x << ", " << away.y);
        MoveTo(window, away.x, away.y);
        MoveTo(window, place.left, place.top);
        window.AwaitLook(before);
    }
    {
        const bench::Backdrop cover({place.left + 100, place.top + 30, 500, 450});
        bench::ExpectColor(window.Screen(), kWhite, {{300, 300}});
    }
    window.AwaitLook(before);
    for (const ButtonId id : {ButtonId::RepairClient, ButtonId::CloseMark}) {
        SCOPED_TRACE(static_cast<int>(id));
        RECT button{};
        ::GetWindowRect(window.Button(id), &button);
        ::SetCursorPos((button.left + button.right) / 2, (button.top + button.bottom) / 2);
        ::SendMessageW(window.Button(id), WM_MOUSEMOVE, 0, MAKELPARAM(10, 10));
        EXPECT_TRUE(window.Look() == before) << "under the pointer";
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
