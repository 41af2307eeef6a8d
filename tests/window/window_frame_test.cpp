#include <gmock/gmock.h>

#include <array>

#include "window/backdrop.h"
#include "window/tool_test.h"

namespace {

using testing::ElementsAre;

class WindowFrame : public bench::ToolTest {};

TEST_F(WindowFrame, IsABorderlessRoundedWindowInTheMiddleOfTheScreen) {
    Set("repairToolName", L"Grüße: \"Reparatur\".exe");
    const HWND window = StartTool().Handle();
    std::array<wchar_t, 64> className{};
    ::GetClassNameW(window, className.data(), static_cast<int>(className.size()));
    EXPECT_STREQ(className.data(), L"Quellstone.RepairTool");
    std::array<wchar_t, 64> title{};
    ::SendMessageW(window, WM_GETTEXT, title.size(), reinterpret_cast<LPARAM>(title.data()));
    EXPECT_STREQ(title.data(), L"Grüße: \"Reparatur\".exe");
    EXPECT_EQ(::GetWindowLongPtrW(window, GWL_EXSTYLE), LONG_PTR{WS_EX_APPWINDOW});
    // The system adds the two others.
    EXPECT_EQ(static_cast<DWORD>(::GetWindowLongPtrW(window, GWL_STYLE)) &
                  ~DWORD{WS_VISIBLE | WS_CLIPSIBLINGS},
              DWORD{WS_POPUP | WS_MINIMIZEBOX});
    EXPECT_EQ(::GetWindow(window, GW_OWNER), nullptr);
    RECT place{};
    ::GetWindowRect(window, &place);
    RECT client{};
    ::GetClientRect(window, &client);
    EXPECT_THAT((std::array{place.left, place.top, client.right, client.bottom}),
                ElementsAre((::GetSystemMetrics(SM_CXSCREEN) - 860) / 2,
                            (::GetSystemMetrics(SM_CYSCREEN) - 560) / 2, 860, 560));
    const HRGN expected = ::CreateRoundRectRgn(0, 0, 861, 561, 26, 26);
    const HRGN region = ::CreateRectRgn(0, 0, 0, 0);
    EXPECT_EQ(::GetWindowRgn(window, region), COMPLEXREGION);
    EXPECT_EQ(::CombineRgn(region, region, expected, RGN_XOR), NULLREGION);
    ::DeleteObject(expected);
    ::DeleteObject(region);
}

TEST_F(WindowFrame, ShowsWhatIsBehindItAtItsCorners) {
    const bench::Backdrop behind(bench::WholeScreen());
    const bench::Pixels shot = StartTool().Look();
    for (const int x : {0, kWindow.width - 1}) {
        for (const int y : {0, kWindow.height - 1}) {
            SCOPED_TRACE(testing::Message() << x << ", " << y);
            const int inwardX = x == 0 ? 1 : -1;
            const int inwardY = y == 0 ? 1 : -1;
            const Argb fill = y == 0 ? 0xFF0C0D0E : 0xFF0A0B0C;
            bench::ExpectColor(shot, 0xFFFFFFFF, {{x, y}, {x + 2 * inwardX, y + 2 * inwardY}});
            // Where the ellipse ends, and a point inside it on the diagonal.
            bench::ExpectColor(
                shot, fill,
                {{x + 14 * inwardX, y}, {x, y + 14 * inwardY}, {x + 5 * inwardX, y + 5 * inwardY}});
        }
    }
}

}  // namespace
