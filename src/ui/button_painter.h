#pragma once

#include <string>

#include "ui/button_table.h"
#include "ui/gdiplus_objects.h"

// How one button looks at the moment.
struct ButtonPicture {
    ButtonId id = ButtonId::RepairClient;
    std::wstring text;
    bool pressed = false;
    bool disabled = false;
    bool selected = false;  // For the two download servers: the one that serves.
    Argb accentColor = kDefaultAccent;
};

// Paints the button into `box`. The mouse above it changes nothing. Window thread.
void PaintButton(Gdiplus::GpGraphics* graphics, const Box& box, const ButtonPicture& button);
