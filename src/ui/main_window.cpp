#include "ui/main_window.h"

#include "common/tool_instance.h"
#include "config/config_loader.h"
#include "resource_ids.h"

namespace {

constexpr wchar_t kWindowClassName[] = L"Quellstone.RepairTool";
constexpr wchar_t kFirstTitle[] = L"KrvBrennickInstaller";  // Until the configuration is read.
constexpr int kWindowWidth = 860;
constexpr int kWindowHeight = 560;
constexpr int kCornerDiameter = 26;

void OnCreate(HWND window) {
    LoadEmbeddedConfig(nullptr, toolConfig);
    FillEmptyNames(toolConfig);
    ::SetWindowTextW(window, toolConfig.repairToolName.c_str());
    LocateTool();
}

LRESULT CALLBACK MainWindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_CREATE:
            OnCreate(window);
            break;
        case WM_DESTROY:
            ::PostQuitMessage(0);
            return 0;
        default:
            break;
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

void RegisterWindowClass(HINSTANCE instance) {
    HICON icon = ::LoadIconW(instance, MAKEINTRESOURCEW(ID_TOOL_ICON));
    if (icon == nullptr) {
        icon = ::LoadIconW(nullptr, IDI_APPLICATION);
    }
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = MainWindowProcedure;
    windowClass.hInstance = instance;
    windowClass.hIcon = icon;
    windowClass.hIconSm = icon;
    windowClass.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hbrBackground = static_cast<HBRUSH>(::GetStockObject(BLACK_BRUSH));
    windowClass.lpszClassName = kWindowClassName;
    ::RegisterClassExW(&windowClass);
}

}  // namespace

HWND CreateMainWindow(HINSTANCE instance, int showCommand) {
    RegisterWindowClass(instance);
    const int left = (::GetSystemMetrics(SM_CXSCREEN) - kWindowWidth) / 2;
    const int top = (::GetSystemMetrics(SM_CYSCREEN) - kWindowHeight) / 2;
    mainWindow = ::CreateWindowExW(WS_EX_APPWINDOW, kWindowClassName, kFirstTitle,
                                   WS_POPUP | WS_MINIMIZEBOX, left, top, kWindowWidth,
                                   kWindowHeight, nullptr, nullptr, instance, nullptr);
    if (mainWindow == nullptr) {
        return nullptr;
    }
    // A region's right and bottom edges lie outside of it, hence the extra pixel. The window owns
    // the region from here on; without one it stays rectangular.
    if (const HRGN corners = ::CreateRoundRectRgn(0, 0, kWindowWidth + 1, kWindowHeight + 1,
                                                  kCornerDiameter, kCornerDiameter)) {
        ::SetWindowRgn(mainWindow, corners, TRUE);
    }
    ::ShowWindow(mainWindow, showCommand);
    ::UpdateWindow(mainWindow);
    return mainWindow;
}
