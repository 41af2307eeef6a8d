#pragma once

#include <string>

#include "ui/button_table.h"
#include "ui/gdiplus_objects.h"

// The current appearance of one button.
struct ButtonPicture {
    ButtonId id = ButtonId::RepairClient;
    std::wstring text;
    bool pressed = false;
    bool disabled = false;
    bool selected = false;  // For the download servers: the chosen one.
    Argb accentColor = kDefaultAccent;
};

// Paints the button into `box`. There is no hover effect. Window thread.
void PaintButton(Gdiplus::GpGraphics* graphics, const Box& box, const ButtonPicture& button);
