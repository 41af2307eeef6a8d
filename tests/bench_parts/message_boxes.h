#pragma once

#include <string>
#include <vector>

#include "common/windows_api.h"

namespace bench {

// Message boxes of any process on this desktop, as a player meets them.

// The box with this caption; null if it is not open.
HWND FindBox(const wchar_t* caption);

// Waits for it. Null when it does not come; the test has then failed.
HWND AwaitBox(const wchar_t* caption);

std::wstring BoxText(HWND box);

// The ids of its buttons (IDOK, IDYES, ...) in ascending order.
std::vector<int> BoxButtons(HWND box);

// The default button, which the Enter key presses; 0 if there is none.
int DefaultButton(HWND box);

// MB_ICONWARNING, MB_ICONQUESTION, MB_ICONERROR or MB_ICONINFORMATION; 0 without a picture of the
// system's.
UINT BoxIcon(HWND box);

// Presses a button and waits until the box is closed. The answer takes effect later.
void Answer(HWND box, int button);

}  // namespace bench
