#include "ui/button_painter.h"

#include "ui/drawing.h"
#include "ui/layout.h"
#include "ui/palette.h"

namespace {

struct ButtonColors {
    Argb fill = 0;
    Argb text = 0;
    Argb border = 0;
};

ButtonColors ColorsAtRest(ButtonLook look, Argb accent) {
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

ButtonColors ColorsFor(ButtonLook look, const ButtonPicture& button) {
    ButtonColors colors = ColorsAtRest(look, button.accentColor);
    if (look == ButtonLook::Choice) {
        colors.border = button.selected ? button.accentColor : kButtonBorder;
        colors.text = button.disabled ? kDisabledText : kButtonText;
    } else if (button.disabled) {
        colors.text = kDisabledText;
        colors.border = kDisabledBorder;
        if (look == ButtonLook::Primary) {
            colors.fill = kPrimaryButtonDisabledFill;
        }
    } else if (button.pressed) {
        colors.fill = look == ButtonLook::Quiet ? kQuietButtonPressedFill : kPressedFill;
    }
    return colors;
}

// One pixel inside the right and bottom edges.
Box OutlineOf(const Box& box) {
    return {box.x, box.y, box.width - 1, box.height - 1};
}

// Paints the square with the check mark and returns the remaining box for the text.
Box PaintCheckSquare(Gdiplus::GpGraphics* graphics, const Box& box, const ButtonPicture& button,
                     Argb border) {
    const Box square{box.x + kCheckSquareX, box.y + (box.height - kCheckSquareSize) / 2,
                     kCheckSquareSize, kCheckSquareSize};
    FillBox(graphics, square, button.selected ? button.accentColor : kCheckSquareFill);
    OutlineBox(graphics, square, border, kButtonPenPx);
    if (button.selected) {
        DrawLines(graphics, {square.x, square.y}, kCheckMark, kCheckMarkColor, kCheckMarkPenPx);
    }
    return {box.x + kChoiceTextX, box.y, box.width - kChoiceTextX - kChoiceTextRightMargin,
            box.height};
}

}  // namespace

void PaintButton(Gdiplus::GpGraphics* graphics, const Box& box, const ButtonPicture& button) {
    const ButtonLook look = SpecOf(button.id).look;
    const ButtonColors colors = ColorsFor(look, button);
    FillBox(graphics, box, colors.fill);
    OutlineBox(graphics, OutlineOf(box), colors.border, kButtonPenPx);
    const Box textBox =
        look == ButtonLook::Choice ? PaintCheckSquare(graphics, box, button, colors.border) : box;
    const FontSpec& font = button.id == ButtonId::CloseMark ? kCloseMarkFont : kButtonFont;
    DrawTextInBox(graphics, button.text, {font, colors.text}, textBox, TextPlacement::Middle);
}
