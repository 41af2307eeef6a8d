#pragma once

#include "window/tool_window.h"

// What a player does with mouse and keyboard. The desktop has one pointer, so nothing else may move
// it at the same time.

// Moves the pointer to the middle of a window, a button for instance, and presses the left mouse
// button that many times in quick succession. Respects what covers the place and what is disabled.
// A window that has just appeared can lose a click while the display gives it the focus, so a test
// that needs the click to arrive repeats it until it does.
void ClickWithMouse(HWND target, int times = 1);

// Waits until the window has taken all clicks: minimizes and restores it by one click more.
// To be used where earlier clicks should have no effect.
void AwaitClicksTaken(const ToolWindow& window);

// Presses a key, which answers the message box in front, and waits until the box is gone. Comes
// after all earlier clicks of the mouse, as a player's own answer does.
void AnswerByKey(HWND box, WORD key);

// The cross in a message box's caption, then waits until the box is gone. Windows itself disables
// it in a box with the buttons "Yes" and "No" alone, and the escape key with it.
void CloseByCaption(HWND box);
