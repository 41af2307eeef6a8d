#include <gmock/gmock.h>

#include <array>

#include "window/backdrop.h"
#include "window/tool_test.h"

namespace {

using testing::ElementsAre;

class WindowFrame : public bench::ToolTest {};

TEST_F(WindowFrame, IsRoundedInTheMiddleOfTheScreenAndShowsWhatIsBehindItsCorners) {
    const bench::Backdrop behind(bench::WholeScreen());
    const bench::ToolWindow& window = StartTool();
    RECT place{};
    ::GetWindowRect(window.Handle(), &place);
    EXPECT_THAT(
        (std::array{place.left, place.top, place.right - place.left, place.bottom - place.top}),
        ElementsAre((::GetSystemMetrics(SM_CXSCREEN) - 860) / 2,
                    (::GetSystemMetrics(SM_CYSCREEN) - 560) / 2, 860, 560));
    const bench::Pixels shot = window.Look();
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
