#include "ui/application.h"

#include "common/com_apartment.h"
#include "common/system_dlls.h"
#include "ui/controls_api.h"
#include "ui/gdiplus_objects.h"
#include "ui/job_control.h"
#include "ui/main_window.h"
#include "ui/window_state.h"

namespace {

// Resolved at run time because the function requires Windows 10 version 1703. Older versions scale
// the window.
void UsePhysicalPixels() {
    using SetAwareness = decltype(&::SetProcessDpiAwarenessContext);
    const auto setAwareness = reinterpret_cast<SetAwareness>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"user32.dll"), "SetProcessDpiAwarenessContext")));
    if (setAwareness != nullptr) {
        setAwareness(DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2);
    }
}

void InitializeControls() {
    const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_STANDARD_CLASSES | ICC_PROGRESS_CLASS};
    ::InitCommonControlsEx(&controls);
}

// Returns the exit code once the window is destroyed.
int RunMessageLoop() {
    MSG message{};
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
    return static_cast<int>(message.wParam);
}

}  // namespace

int RunApplication(HINSTANCE instance, int showCommand) {
    LoadDllsFromSystemFolderOnly();
    UsePhysicalPixels();
    InitializeControls();
    const ComApartment com;
    const GdiplusSession gdiplus;
    // Without a window, no WM_QUIT would ever end the loop.
    const bool hasWindow = CreateMainWindow(instance, showCommand) != nullptr;
    const int exitCode = hasWindow ? RunMessageLoop() : 0;
    StopJob();  // The loop may have ended without the close question.
    ReleaseImages();
    return exitCode;
}
