#include <gtest/gtest.h>

#include <initializer_list>
#include <sstream>

#include "bench_parts/waiting.h"
#include "window/picture_files.h"
#include "window/tool_test.h"

namespace {

constexpr uint32_t kAccent = 0x33CC66;
constexpr uint32_t kDark = 0x18191E;
constexpr uint32_t kBright = 0xF5F5F8;
constexpr uint32_t kGrayBorder = 0x5C5766;
constexpr uint32_t kDisabledText = 0x66636E;
constexpr uint32_t kDisabledBorder = 0x323037;
constexpr uint32_t kPressedFill = 0xD28228;

struct Colors {
    uint32_t fill;
    uint32_t text;
    uint32_t border;
};

// A kind of button: its colors at rest, disabled and pressed.
struct Look {
    Colors rest;
    Colors disabled;
    Colors pressed;
};

constexpr Look kPrimary{{kAccent, 0x0A0A0C, kGrayBorder},
                        {0x504637, kDisabledText, kDisabledBorder},
                        {kPressedFill, 0x0A0A0C, kGrayBorder}};
constexpr Look kAccented{{kDark, kBright, kAccent},
                         {kDark, kDisabledText, kDisabledBorder},
                         {kPressedFill, kBright, kAccent}};
constexpr Look kPlain{{kDark, kBright, kGrayBorder},
                      {kDark, kDisabledText, kDisabledBorder},
                      {kPressedFill, kBright, kGrayBorder}};
constexpr Look kQuiet{{0x111215, kAccent, 0x2D2B32},
                      {0x111215, kDisabledText, kDisabledBorder},
                      {0x1F2025, kAccent, 0x2D2B32}};

// Points of a button that show its fill: beside the border and beside the text.
std::string FillDifference(const WindowShot& shot, const Box& button, uint32_t fill) {
    const int right = button.x + button.width - 1;
    const int bottom = button.y + button.height - 1;
    for (const Point& at : {Point{button.x + 3, button.y + 3}, Point{right - 3, button.y + 3},
                            Point{button.x + 3, bottom - 3}, Point{right - 3, bottom - 3}}) {
        if (shot.At(at.x, at.y) != fill) {
            std::ostringstream text;
            text << std::hex << "fill " << shot.At(at.x, at.y) << " for " << fill << std::dec
                 << " at " << at.x << ", " << at.y;
            return text.str();
        }
    }
    return "";
}

// The outermost row or column of each side, from end to end.
std::string BorderDifference(const WindowShot& shot, const Box& button, uint32_t border) {
    const int right = button.x + button.width - 1;
    const int bottom = button.y + button.height - 1;
    const auto check = [&](int x, int y) {
        std::ostringstream text;
        if (shot.At(x, y) != border) {
            text << std::hex << "border " << shot.At(x, y) << " for " << border << std::dec
                 << " at " << x << ", " << y;
        }
        return text.str();
    };
    for (int x = button.x; x <= right; ++x) {
        for (const int y : {button.y, bottom}) {
            if (std::string wrong = check(x, y); !wrong.empty()) {
                return wrong;
            }
        }
    }
    for (int y = button.y; y <= bottom; ++y) {
        for (const int x : {button.x, right}) {
            if (std::string wrong = check(x, y); !wrong.empty()) {
                return wrong;
            }
        }
    }
    return "";
}

// What is wrong with how the button looks; empty when nothing is.
std::string Wrong(const WindowShot& shot, const Box& button, const Colors& wanted) {
    std::string wrong = FillDifference(shot, button, wanted.fill);
    if (wrong.empty()) {
        wrong = BorderDifference(shot, button, wanted.border);
    }
    if (wrong.empty() && !shot.Holds(Shrunk(button, 4), wanted.text)) {
        wrong = "the text has another color";
    }
    return wrong;
}

class ButtonColors : public ToolTest {
protected:
    ButtonColors() {
        Set("accentHex", L"33CC66");
        Set("websiteUrl", L"http://127.0.0.1/");
        Set("discordUrl", L"http://127.0.0.1/");
        Set("offerDesktopShortcut", L"1");
    }

    // Waits until the button looks as wanted. The first that never comes to it ends the waiting.
    void ExpectColors(ButtonId id, const Colors& wanted) {
        if (HasFailure()) {
            return;
        }
        const Box place = Window().See(id).place;
        std::string wrong;
        bench::Await([&] {
            wrong = Wrong(Window().Look(), place, wanted);
            return wrong.empty();
        });
        EXPECT_EQ(wrong, "") << "button " << static_cast<int>(id);
    }

    // All three states of a button that is shown.
    void ExpectLook(ButtonId id, const Look& look) {
        const HWND button = Window().Button(id);
        ExpectColors(id, look.rest);
        ::EnableWindow(button, FALSE);
        ExpectColors(id, look.disabled);
        ::EnableWindow(button, TRUE);
        ExpectColors(id, look.rest);
        ::PostMessageW(button, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
        ExpectColors(id, look.pressed);
        // Let go beside the button, so that it is not a click.
        ::PostMessageW(button, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(-50, -50));
        ::PostMessageW(button, WM_LBUTTONUP, 0, MAKELPARAM(-50, -50));
        ExpectColors(id, look.rest);
    }
};

TEST_F(ButtonColors, ShowWhatThePrimaryButtonIs) {
    StartTool();
    ExpectLook(ButtonId::RepairClient, kPrimary);
}

TEST_F(ButtonColors, ShowWhatTheSecondButtonIs) {
    StartTool();
    ExpectLook(ButtonId::ReinstallGame, kAccented);
}

TEST_F(ButtonColors, AreTheSameForRetryAndClose) {
    Set("archiveUrl", server_.Url(L"status/404"));
    StartRepair();
    ASSERT_TRUE(bench::Await([this] { return Window().CanPress(ButtonId::Retry); }));
    ExpectLook(ButtonId::Retry, kAccented);
    ExpectLook(ButtonId::Close, kAccented);
}

TEST_F(ButtonColors, LeaveTheHelpersGray) {
    StartTool();
    ExpectLook(ButtonId::CreateShortcut, kPlain);
    ExpectLook(ButtonId::RunPatcher, kPlain);
}

TEST_F(ButtonColors, AreQuietForLinksAndMarks) {
    StartTool();
    ExpectLook(ButtonId::Website, kQuiet);
    ExpectLook(ButtonId::Community, kQuiet);
    ExpectLook(ButtonId::Minimize, kQuiet);
    ExpectLook(ButtonId::CloseMark, kQuiet);
}

TEST_F(ButtonColors, ShowThatAJobIsUnderWay) {
    Set("archiveUrl", server_.Url(L"stall/2000/1000"));
    StartRepair();
    ExpectColors(ButtonId::RepairClient, kPrimary.disabled);
    ExpectColors(ButtonId::ReinstallGame, kAccented.disabled);
    ExpectColors(ButtonId::RunPatcher, kPlain.rest);
    server_.ReleaseWaits();
}

// The two download servers.
class ServerChoice : public ButtonColors {
protected:
    ServerChoice() {
        OfferSeveralServers(server_.Url(L"status/404"));
    }

    // The square inside the button, from its left edge to the text.
    static Box SquareIn(const Box& button) {
        return {button.x + 2, button.y + 2, 30, button.height - 4};
    }

    static std::string WrongChoice(const WindowShot& shot, const Box& button, bool selected) {
        std::string wrong = Wrong(shot, button, {kDark, kBright, selected ? kAccent : kGrayBorder});
        constexpr int kMostOfTheSquare = 16 * 16 / 2;
        const Box square = SquareIn(button);
        const uint32_t fill = selected ? kAccent : 0x0B0C0F;
        if (wrong.empty() && Count(shot, square, fill) < kMostOfTheSquare) {
            wrong = "the square's fill";
        }
        if (wrong.empty() && shot.Holds(square, 0x0A0A0C) != selected) {
            wrong = "the check mark";
        }
        return wrong;
    }

    void ExpectChoice(ButtonId selected, ButtonId other) {
        const Box selectedPlace = Window().See(selected).place;
        const Box otherPlace = Window().See(other).place;
        std::string wrong;
        bench::Await([&] {
            const WindowShot shot = Window().Look();
            wrong = WrongChoice(shot, selectedPlace, true) + WrongChoice(shot, otherPlace, false);
            return wrong.empty();
        });
        EXPECT_EQ(wrong, "");
    }

private:
    static int Count(const WindowShot& shot, const Box& box, uint32_t color) {
        int count = 0;
        for (int y = box.y; y < box.y + box.height; ++y) {
            for (int x = box.x; x < box.x + box.width; ++x) {
                count += shot.At(x, y) == color ? 1 : 0;
            }
        }
        return count;
    }
};

TEST_F(ServerChoice, FollowsTheClicks) {
    const ToolWindow& window = StartTool();
    ExpectChoice(ButtonId::PrimaryServer, ButtonId::SecondServer);
    window.Press(ButtonId::SecondServer);
    ExpectChoice(ButtonId::SecondServer, ButtonId::PrimaryServer);
    window.Press(ButtonId::SecondServer);
    ExpectChoice(ButtonId::SecondServer, ButtonId::PrimaryServer);
    window.Press(ButtonId::PrimaryServer);
    ExpectChoice(ButtonId::PrimaryServer, ButtonId::SecondServer);
}

// A click also moves the focus, which alone makes the system repaint both buttons.
TEST_F(ServerChoice, IsRepaintedWithoutAChangeOfFocus) {
    const ToolWindow& window = StartTool();
    ExpectChoice(ButtonId::PrimaryServer, ButtonId::SecondServer);
    window.PostCommand(ButtonId::SecondServer);
    ExpectChoice(ButtonId::SecondServer, ButtonId::PrimaryServer);
    window.PostCommand(ButtonId::PrimaryServer);
    ExpectChoice(ButtonId::PrimaryServer, ButtonId::SecondServer);
}

TEST_F(ServerChoice, OutlivesAFailureAndARetry) {
    const ToolWindow& window = StartTool();
    window.Press(ButtonId::SecondServer);
    window.Press(ButtonId::RepairClient);
    ASSERT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::Retry); }));
    window.Press(ButtonId::Retry);
    ASSERT_TRUE(bench::Await([&] { return window.CanPress(ButtonId::RepairClient); }));
    ExpectChoice(ButtonId::SecondServer, ButtonId::PrimaryServer);
}

TEST_F(ServerChoice, KeepsItsColorsWhilePressedAndWhileDisabled) {
    StartTool();
    constexpr Colors kSelected{kDark, kBright, kAccent};
    constexpr Colors kSelectedDisabled{kDark, kDisabledText, kAccent};
    constexpr Colors kOther{kDark, kBright, kGrayBorder};
    constexpr Colors kOtherDisabled{kDark, kDisabledText, kGrayBorder};
    ExpectLook(ButtonId::PrimaryServer, {kSelected, kSelectedDisabled, kSelected});
    ExpectLook(ButtonId::SecondServer, {kOther, kOtherDisabled, kOther});
}

}  // namespace
