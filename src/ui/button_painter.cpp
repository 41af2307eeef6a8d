#include "ui/button_painter.h"

#include "ui/drawing.h"
#include "ui/layout.h"
#include "ui/palette.h"

namespace {

struct ButtonColours {
    Argb fill = 0;
    Argb text = 0;
    Argb border = 0;
};

ButtonColours ColoursAtRest(ButtonLook look, Argb accent) {
    switch (look) {
        case ButtonLook::Primary:
            return {accent, kPrimaryButtonText, kButtonBorder};
        case ButtonLook::Accented:
            return {kButtonFill, kButtonText, accent};
        case ButtonLook::Quiet:
            return {kQuietButtonFill, accent, kQuietButtonBorder};
        default:
            return {kButtonFill, kButtonText, kButtonBorder};
    }
}

ButtonColours ColoursFor(ButtonLook look, const ButtonPicture& button) {
    ButtonColours colours = ColoursAtRest(look, button.accentColor);
    if (look == ButtonLook::Choice) {
        colours.border = button.selected ? button.accentColor : kButtonBorder;
        colours.text = button.disabled ? kDisabledText : kButtonText;
    } else if (button.disabled) {
        colours.text = kDisabledText;
        colours.border = kDisabledBorder;
        if (look == ButtonLook::Primary) {
            colours.fill = kPrimaryButtonDisabledFill;
        }
    } else if (button.pressed) {
        colours.fill = look == ButtonLook::Quiet ? kQuietButtonPressedFill : kPressedFill;
    }
    return colours;
}

// The outline lies one pixel inside the right and bottom edges.
Box OutlineOf(const Box& box) {
    return {box.x, box.y, box.width - 1, box.height - 1};
}

// The square with the check mark; gives the box that is left for the text.
Box PaintCheckSquare(Gdiplus::GpGraphics* graphics, const Box& box, const ButtonPicture& button,
                     Argb border) {
    const Box square{box.x + kCheckSquareX, box.y + (box.height - kCheckSquareSize) / 2,
                     kCheckSquareSize, kCheckSquareSize};
    FillBox(graphics, square, button.selected ? button.accentColor : kCheckSquareFill);
    OutlineBox(graphics, square, border, kButtonPenPx);
    if (button.selected) {
        DrawLines(graphics, {square.x, square.y}, kCheckMark, kCheckMarkColour, kCheckMarkPenPx);
    }
    return {box.x + kChoiceTextX, box.y, box.width - kChoiceTextX - kChoiceTextRightMargin,
            box.height};
}

}  // namespace

void PaintButton(Gdiplus::GpGraphics* graphics, const Box& box, const ButtonPicture& button) {
    const ButtonSpec* spec = FindButton(static_cast<int>(button.id));
    const ButtonLook look = spec == nullptr ? ButtonLook::Plain : spec->look;
    const ButtonColours colours = ColoursFor(look, button);
    FillBox(graphics, box, colours.fill);
    OutlineBox(graphics, OutlineOf(box), colours.border, kButtonPenPx);
    const Box textBox =
        look == ButtonLook::Choice ? PaintCheckSquare(graphics, box, button, colours.border) : box;
    const FontSpec& font = button.id == ButtonId::CloseMark ? kCloseMarkFont : kButtonFont;
    DrawTextInBox(graphics, button.text, {font, colours.text}, textBox, TextPlacement::Middle);
}
