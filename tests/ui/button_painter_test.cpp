#include "ui/button_painter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ui/canvas.h"

namespace {

using namespace bench;

constexpr Argb kBehind = 0xFF203040;
constexpr Argb kGreenish = 0xFF33CC99;
constexpr Argb kReddish = 0xFFCC2211;

struct Colors {
    Argb fill = 0;
    Argb text = 0;
    Argb border = 0;
};

bool IsChoice(int id) {
    return id == 4011 || id == 4012;
}

Colors ExpectedAtRest(int id, Argb accent) {
    switch (id) {
        case 4001:
            return {accent, 0xFF0A0A0C, 0xFF5C5766};
        case 4002:
        case 4009:
        case 4010:
            return {0xFF18191E, 0xFFF5F5F8, accent};
        case 4005:
        case 4006:
        case 4007:
        case 4008:
            return {0xFF111215, accent, 0xFF2D2B32};
        default:
            return {0xFF18191E, 0xFFF5F5F8, 0xFF5C5766};
    }
}

Colors ExpectedColors(const ButtonPicture& button) {
    const int id = static_cast<int>(button.id);
    Colors colors = ExpectedAtRest(id, button.accentColor);
    if (IsChoice(id)) {
        colors.border = button.selected ? button.accentColor : 0xFF5C5766;
        colors.text = button.disabled ? 0xFF66636E : 0xFFF5F5F8;
    } else if (button.disabled) {
        colors.fill = id == 4001 ? 0xFF504637 : colors.fill;
        colors.text = 0xFF66636E;
        colors.border = 0xFF323037;
    } else if (button.pressed) {
        colors.fill = id >= 4005 && id <= 4008 ? 0xFF1F2025 : 0xFFD28228;
    }
    return colors;
}

constexpr Box kButtonBox{40, 30, 300, 44};

Pixels Paint(const ButtonPicture& button, const Box& box = kButtonBox) {
    const Canvas canvas(400, 100, kBehind);
    PaintButton(canvas.Graphics(), box, button);
    return canvas.Read();
}

// Every button in every state that the system can ask for. Only servers can look selected.
std::vector<ButtonPicture> AllPictures() {
    std::vector<ButtonPicture> pictures;
    for (const Argb accent : {kGreenish, kReddish}) {
        for (int id = 4001; id <= 4012; ++id) {
            for (int bits = 0; bits < 8; ++bits) {
                pictures.push_back({.id = static_cast<ButtonId>(id),
                                    .text = L"",
                                    .pressed = (bits & 1) != 0,
                                    .disabled = (bits & 2) != 0,
                                    .selected = (bits & 4) != 0,
                                    .accentColor = accent});
            }
        }
    }
    return pictures;
}

std::string Describe(const ButtonPicture& button) {
    return std::to_string(static_cast<int>(button.id)) + (button.pressed ? " pressed" : "") +
           (button.disabled ? " disabled" : "") + (button.selected ? " selected" : "") +
           (button.accentColor == kReddish ? " reddish" : " greenish");
}

class ButtonPainter : public PaintingTest {};

TEST_F(ButtonPainter, PaintsEachButtonInEachState) {
    const Pixels behind = Canvas(400, 100, kBehind).Read();
    for (ButtonPicture& button : AllPictures()) {
        SCOPED_TRACE(Describe(button));
        const Colors expected = ExpectedColors(button);
        const Pixels blank = Paint(button);
        ExpectColor(blank, expected.fill, {{43, 33}, {336, 33}, {43, 70}, {190, 52}, {336, 70}});
        // The border is one pixel inside the right and bottom edges.
        ExpectColor(blank, expected.border, {{40, 52}, {339, 52}, {190, 30}, {190, 73}});
        EXPECT_NE(blank.Value(340, 52), expected.border);
        EXPECT_NE(blank.Value(190, 74), expected.border);

        button.text = L"IIHH||__ Repair game on Asia Download Server and on every other one";
        const Pixels written = Paint(button);
        const Argb color = StrongestColor(blank, written);
        EXPECT_LE(ColorDistance(color, expected.text), 3) << std::hex << color;
        const auto painted = DifferingArea(behind, written);
        ASSERT_TRUE(painted.has_value());
        EXPECT_TRUE(Contains({39, 29, 302, 46}, *painted)) << "half the pen around its box";
    }
}

TEST_F(ButtonPainter, PaintsAnUnknownButtonAsAPlainOne) {
    EXPECT_EQ(Paint({.id = static_cast<ButtonId>(4999), .text = L"Text"}),
              Paint({.id = ButtonId::RunPatcher, .text = L"Text"}));
}

// Where the text shows.
Box InkOf(ButtonPicture button, const Box& box = kButtonBox) {
    const Pixels with = Paint(button, box);
    button.text.clear();
    const auto ink = DifferingArea(with, Paint(button, box));
    EXPECT_TRUE(ink.has_value());
    return ink.value_or(Box{});
}

// Where and in which font is in fonts_and_pens_test.cpp.
TEST_F(ButtonPainter, WritesOneLineHoweverLong) {
    const std::wstring words = L"HHHH HHHH HHHH HHHH HHHH HHHH HHHH HHHH HHHH HHHH HHHH HHHH HHHH";
    for (const ButtonId id : {ButtonId::RunPatcher, ButtonId::SecondServer}) {
        EXPECT_NEAR(InkOf({.id = id, .text = words}).height,
                    InkOf({.id = id, .text = L"HH"}).height, 2);
    }
}

TEST_F(ButtonPainter, HasRoomForEveryText) {
    std::vector<std::pair<ButtonSpec, std::wstring>> texts;
    for (const ButtonSpec& spec : Buttons()) {
        texts.emplace_back(spec, spec.text);
    }
    texts.emplace_back(*FindButton(4003), L"Game Shortcut Created");
    for (const auto& [spec, text] : texts) {
        SCOPED_TRACE(testing::PrintToString(text));
        for (const auto& place : {spec.place, spec.placeWithServers}) {
            if (!place) {
                continue;
            }
            const Box box{40, 30, place->width, place->height};
            const Box ink = InkOf({.id = spec.id, .text = text}, box);
            // The same text where there is plenty of room.
            const Box ample = InkOf({.id = spec.id, .text = text}, {0, 0, 399, 99});
            EXPECT_NEAR(ink.width, ample.width, 1);
            EXPECT_EQ(ink.height, ample.height);
            EXPECT_TRUE(Contains(box, ink));
        }
    }
}

// The two download servers.

constexpr Box kServerBox{40, 30, 300, 34};
constexpr Box kSquare{40 + kCheckSquareX, 39, 16, 16};
constexpr Box kInsideSquare = Shrunk(kSquare, 2);
constexpr Argb kMark = 0xFF0A0A0C;

ButtonPicture Server(bool selected, bool disabled = false) {
    return {.id = ButtonId::SecondServer,
            .text = L"",
            .disabled = disabled,
            .selected = selected,
            .accentColor = kGreenish};
}

TEST_F(ButtonPainter, MarksTheSelectedServer) {
    for (const bool disabled : {false, true}) {
        const Pixels selected = Paint(Server(true, disabled), kServerBox);
        EXPECT_GT(selected.Count(kInsideSquare, kGreenish), 72);
        ExpectColor(selected, kGreenish, {{kSquare.x, 47}, {40, 47}});
        // A tick, all of it inside the square: down to the right, then a longer way up.
        ExpectColor(selected, kMark,
                    {{kSquare.x + 5, 49}, {kSquare.x + 7, 51}, {kSquare.x + 10, 47}});
        const int markPixels = selected.Count(kInsideSquare, kMark);
        EXPECT_GT(markPixels, 15);
        EXPECT_LT(markPixels, 72);
        EXPECT_EQ(selected.Count(kServerBox, kMark), markPixels);

        const Pixels other = Paint(Server(false, disabled), kServerBox);
        EXPECT_EQ(other.Count(kInsideSquare, 0xFF0B0C0F), 12 * 12);
        ExpectColor(
            other, 0xFF5C5766,
            {{kSquare.x, 47}, {kSquare.x + 16, 47}, {kSquare.x + 8, 39}, {kSquare.x + 8, 55}});
    }
}

TEST_F(ButtonPainter, DoesNothingWithoutGraphics) {
    PaintButton(nullptr, kButtonBox, Server(true));
}

}  // namespace
