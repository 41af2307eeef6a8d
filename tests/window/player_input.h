#pragma once

#include "window/tool_window.h"

// What a player does with mouse and keyboard. The desktop has one pointer, so nothing else may move
// it at the same time.

namespace bench {

// Moves the pointer to the middle of a window, such as a button, and clicks that many times in
// quick succession. Respects what covers the place and what is disabled. A window that has just
// appeared can lose a click while the display gives it the focus, so a test that needs the click
// repeats it.
void ClickWithMouse(HWND target, int times = 1);

// Waits until the window has handled all earlier clicks: minimizes it by one more, and restores it.
void AwaitClicksTaken(const ToolWindow& window);

// Presses a key, which answers the message box in front, and waits until the box is closed. Comes
// after all earlier clicks, like a player's own answer.
void AnswerByKey(HWND box, WORD key);

}  // namespace bench
