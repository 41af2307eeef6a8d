#include "common/com_apartment.h"
#include "ui/controls_api.h"
#include "ui/gdiplus_objects.h"
#include "ui/job_control.h"
#include "ui/main_window.h"
#include "ui/window_state.h"

namespace {

void InitialiseControls() {
    const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_STANDARD_CLASSES | ICC_PROGRESS_CLASS};
    ::InitCommonControlsEx(&controls);
}

// Until the window is gone; gives the exit code.
int RunMessageLoop() {
    MSG message{};
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int showCommand) {
    ::SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
    InitialiseControls();
    const ComApartment com;
    const GdiplusSession gdiplus;
    // Without a window no message would ever end the loop.
    const bool hasWindow = CreateMainWindow(instance, showCommand) != nullptr;
    const int exitCode = hasWindow ? RunMessageLoop() : 0;
    StopJob();  // Something else than the close question may have ended the loop.
    ReleaseImages();
    return exitCode;
}
