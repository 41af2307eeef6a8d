#include "ui/window_state.h"

WindowState windowState;

void ReleaseImages() {
    windowState.panelLogo.reset();
    windowState.backdrop.reset();
}

void ClearEndOfJobMarks() {
    windowState.shortcutOffered = false;
    windowState.launchDone = false;
}

void RepaintWindow(HWND window) {
    ::InvalidateRect(window, nullptr, FALSE);
}
