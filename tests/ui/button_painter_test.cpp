#include "ui/button_painter.h"

#include <gtest/gtest.h>

#include <vector>

#include "ui/canvas.h"

namespace {

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

// Every button in every state that the system can ask for, both servers selected and not.
std::vector<ButtonPicture> AllPictures() {
    std::vector<ButtonPicture> pictures;
    for (const Argb accent : {kGreenish, kReddish}) {
        for (int id = 4001; id <= 4012; ++id) {
            for (int bits = 0; bits < 8; ++bits) {
                const bool selected = (bits & 4) != 0;
                if (!selected || IsChoice(id)) {
                    pictures.push_back({.id = static_cast<ButtonId>(id),
                                        .text = L"",
                                        .pressed = (bits & 1) != 0,
                                        .disabled = (bits & 2) != 0,
                                        .selected = selected,
                                        .accentColor = accent});
                }
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

TEST_F(ButtonPainter, FillsEachButtonInEachState) {
    for (const ButtonPicture& button : AllPictures()) {
        const Pixels pixels = Paint(button);
        const Argb fill = ExpectedColors(button).fill;
        EXPECT_EQ(pixels.Value(43, 33), fill) << Describe(button);
        EXPECT_EQ(pixels.Value(336, 33), fill) << Describe(button);
        EXPECT_EQ(pixels.Value(43, 70), fill) << Describe(button);
        EXPECT_EQ(pixels.Value(190, 52), fill) << Describe(button);
        EXPECT_EQ(pixels.Value(336, 70), fill) << Describe(button);
    }
}

TEST_F(ButtonPainter, OutlinesEachButtonInEachState) {
    for (const ButtonPicture& button : AllPictures()) {
        const Pixels pixels = Paint(button);
        const Argb border = ExpectedColors(button).border;
        // One pixel inside the right and bottom edges.
        EXPECT_EQ(pixels.Value(40, 52), border) << Describe(button);
        EXPECT_EQ(pixels.Value(339, 52), border) << Describe(button);
        EXPECT_EQ(pixels.Value(190, 30), border) << Describe(button);
        EXPECT_EQ(pixels.Value(190, 73), border) << Describe(button);
        EXPECT_NE(pixels.Value(340, 52), border) << Describe(button);
        EXPECT_NE(pixels.Value(190, 74), border) << Describe(button);
    }
}

TEST_F(ButtonPainter, WritesEachTextInItsColor) {
    for (ButtonPicture& button : AllPictures()) {
        const Pixels without = Paint(button);
        button.text = L"IIHH||__";
        const Argb color = StrongestColor(without, Paint(button));
        EXPECT_LE(ColorDistance(color, ExpectedColors(button).text), 3)
            << Describe(button) << ' ' << std::hex << color;
    }
}

TEST_F(ButtonPainter, StaysInsideItsBoxButForHalfThePen) {
    for (ButtonPicture& button : AllPictures()) {
        button.text = L"Repair game on Asia Download Server and on every other one there is";
        const auto painted = DifferingArea(Canvas(400, 100, kBehind).Read(), Paint(button));
        ASSERT_TRUE(painted.has_value());
        EXPECT_TRUE(Contains({39, 29, 302, 46}, *painted)) << Describe(button);
    }
}

TEST_F(ButtonPainter, PaintsAnUnknownButtonAsAPlainOne) {
    EXPECT_EQ(Paint({.id = static_cast<ButtonId>(4999), .text = L"Text"}),
              Paint({.id = ButtonId::RunPatcher, .text = L"Text"}));
}

TEST_F(ButtonPainter, SelectsNothingButAServer) {
    for (int id = 4001; id <= 4010; ++id) {
        EXPECT_EQ(Paint({.id = static_cast<ButtonId>(id), .text = L"Text", .selected = true}),
                  Paint({.id = static_cast<ButtonId>(id), .text = L"Text"}))
            << id;
    }
}

// Where the text shows.
Box InkOf(ButtonPicture button, const Box& box = kButtonBox) {
    const Pixels with = Paint(button, box);
    button.text.clear();
    const auto ink = DifferingArea(with, Paint(button, box));
    EXPECT_TRUE(ink.has_value());
    return ink.value_or(Box{});
}

TEST_F(ButtonPainter, CentersTheTextBothWays) {
    for (const int id : {4001, 4002, 4003, 4005, 4007, 4009}) {
        const Box ink = InkOf({.id = static_cast<ButtonId>(id), .text = L"HHHHHH"});
        EXPECT_NEAR(CenterX(ink), 190, 2) << id;
        EXPECT_NEAR(CenterY(ink), 52, 3) << id;
    }
}

TEST_F(ButtonPainter, WritesTheCloseMarkLarger) {
    const Box closeMark = InkOf({.id = ButtonId::CloseMark, .text = L"xH"});
    const Box minimize = InkOf({.id = ButtonId::Minimize, .text = L"xH"});
    EXPECT_NEAR(static_cast<double>(closeMark.height) / minimize.height, 22.0 / 14.0, 0.2);
    for (int id = 4001; id <= 4012; ++id) {
        if (id != 4008) {
            EXPECT_EQ(InkOf({.id = static_cast<ButtonId>(id), .text = L"xH"}).height,
                      minimize.height)
                << id;
        }
    }
}

// Every text fits the button that it stands on, so none of it is cut off.
TEST_F(ButtonPainter, HasRoomForEveryText) {
    std::vector<std::pair<ButtonSpec, std::wstring>> texts;
    for (const ButtonSpec& spec : Buttons()) {
        texts.emplace_back(spec, spec.text);
    }
    texts.emplace_back(*FindButton(4003), L"Game Shortcut Created");
    for (const auto& [spec, text] : texts) {
        for (const auto& place : {spec.place, spec.placeWithServers}) {
            if (!place) {
                continue;
            }
            const Box box{40, 30, place->width, place->height};
            const Box ink = InkOf({.id = spec.id, .text = text}, box);
            // The same text where there is plenty of room.
            const Box ample = InkOf({.id = spec.id, .text = text}, {0, 0, 399, 99});
            EXPECT_NEAR(ink.width, ample.width, 1) << testing::PrintToString(text);
            EXPECT_EQ(ink.height, ample.height) << testing::PrintToString(text);
            EXPECT_TRUE(Contains(box, ink)) << testing::PrintToString(text);
        }
    }
}

TEST_F(ButtonPainter, KeepsATextTooLongOnOneLine) {
    const std::wstring words = L"HHHH HHHH HHHH HHHH HHHH HHHH HHHH HHHH HHHH HHHH HHHH HHHH HHHH";
    for (int id = 4001; id <= 4012; ++id) {
        const auto buttonId = static_cast<ButtonId>(id);
        EXPECT_NEAR(InkOf({.id = buttonId, .text = words}).height,
                    InkOf({.id = buttonId, .text = L"HHHH"}).height, 2)
            << id;
    }
}

// The two download servers.

constexpr Box kServerBox{40, 30, 300, 34};
constexpr Box kSquare{40 + kCheckSquareX, 39, 16, 16};
constexpr Box kInsideSquare = Shrunk(kSquare, 2);

ButtonPicture Server(bool selected, bool disabled = false) {
    return {.id = ButtonId::SecondServer,
            .text = L"",
            .disabled = disabled,
            .selected = selected,
            .accentColor = kGreenish};
}

TEST_F(ButtonPainter, MarksTheSelectedServer) {
    for (const bool disabled : {false, true}) {
        const Pixels pixels = Paint(Server(true, disabled), kServerBox);
        const int markPixels = pixels.Count(kInsideSquare, 0xFF0A0A0C);
        EXPECT_GT(markPixels, 15);
        EXPECT_LT(markPixels, 72);
        EXPECT_GT(pixels.Count(kInsideSquare, kGreenish), 72);
        EXPECT_EQ(pixels.Value(kSquare.x, 47), kGreenish);
        EXPECT_EQ(pixels.Value(40, 47), kGreenish);
    }
}

TEST_F(ButtonPainter, LeavesTheOtherServersSquareEmpty) {
    for (const bool disabled : {false, true}) {
        const Pixels pixels = Paint(Server(false, disabled), kServerBox);
        EXPECT_EQ(pixels.Count(kInsideSquare, 0xFF0B0C0F), 12 * 12);
        EXPECT_EQ(pixels.Value(kSquare.x, 47), 0xFF5C5766);
        EXPECT_EQ(pixels.Value(kSquare.x + 16, 47), 0xFF5C5766);
        EXPECT_EQ(pixels.Value(kSquare.x + 8, 39), 0xFF5C5766);
        EXPECT_EQ(pixels.Value(kSquare.x + 8, 55), 0xFF5C5766);
    }
}

// The mark is a tick: down to the right, then a longer way up to the right.
TEST_F(ButtonPainter, DrawsTheMarkAsTwoLinesInsideTheSquare) {
    const Pixels pixels = Paint(Server(true), kServerBox);
    const Argb mark = 0xFF0A0A0C;
    EXPECT_EQ(pixels.Value(kSquare.x + 5, 39 + 10), mark);
    EXPECT_EQ(pixels.Value(kSquare.x + 7, 39 + 12), mark);
    EXPECT_EQ(pixels.Value(kSquare.x + 10, 39 + 8), mark);
    EXPECT_EQ(pixels.Count(kServerBox, mark), pixels.Count(kInsideSquare, mark));
}

TEST_F(ButtonPainter, KeepsAServersTextAwayFromItsSquare) {
    for (const wchar_t* text : {L"Repair game on Asia Download Server",
                                L"HHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHHH"}) {
        for (const bool selected : {false, true}) {
            ButtonPicture button = Server(selected);
            button.text = text;
            const Box ink = InkOf(button, kServerBox);
            EXPECT_GT(ink.x, kSquare.x + kSquare.width + 1);
            EXPECT_LT(ink.x + ink.width, 40 + 300 - 1);
        }
    }
}

TEST_F(ButtonPainter, CentersTheSquareFromTopToBottom) {
    const Pixels pixels = Paint(Server(true), {40, 30, 300, 60});
    EXPECT_EQ(pixels.Value(kSquare.x + 1, 52), kGreenish);
    EXPECT_EQ(pixels.Value(kSquare.x + 1, 68), kGreenish);
    EXPECT_EQ(pixels.Value(kSquare.x + 1, 49), 0xFF18191E);
    EXPECT_EQ(pixels.Value(kSquare.x + 1, 71), 0xFF18191E);
}

TEST_F(ButtonPainter, DoesNothingWithoutGraphics) {
    PaintButton(nullptr, kButtonBox, Server(true));
}

}  // namespace
