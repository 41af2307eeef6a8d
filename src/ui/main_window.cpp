#include "ui/main_window.h"

#include "common/resources.h"
#include "common/text.h"
#include "common/tool_instance.h"
#include "config/config_loader.h"
#include "job/job_flow.h"
#include "resource_ids.h"
#include "ui/accent_color.h"
#include "ui/backdrop_preparation.h"
#include "ui/buttons.h"
#include "ui/commands.h"
#include "ui/job_control.h"
#include "ui/layout.h"
#include "ui/window_painter.h"
#include "ui/window_state.h"

namespace {

constexpr wchar_t kWindowClassName[] = L"Quellstone.RepairTool";
constexpr int kUiFontHeightPx = 15;

HFONT CreateUiFont() {
    return ::CreateFontW(kUiFontHeightPx, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                         OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY,
                         FF_SWISS | DEFAULT_PITCH, L"Segoe UI");
}

void LoadLogo() {
    if (toolConfig.showLogo) {
        const OwnedBitmap logo = MakeBitmapFromFile(EmbeddedData(nullptr, ID_LOGO_IMAGE));
        windowState.panelLogo = MakePanelLogo(logo.get());
    }
}

void OnCreate(HWND window) {
    mainWindow = window;
    windowState.backgroundBrush.reset(::CreateSolidBrush(ToColorRef(kWindowFill)));
    static_cast<void>(LoadEmbeddedConfig(nullptr, toolConfig));  // On failure the defaults stay.
    FillEmptyNames(toolConfig);
    ::SetWindowTextW(window, toolConfig.repairToolName.c_str());
    windowState.accentColor = ParseAccentColor(toolConfig.accentHex);
    LocateTool();
    LoadLogo();
    windowState.uiFont = CreateUiFont();
    CreateButtons(window, windowState.uiFont);
    RefreshButtons(window);
    ::SetTimer(window, kTickTimer, kTickMs, nullptr);
}

void OnDestroy(HWND window) {
    ::KillTimer(window, kTickTimer);
    windowState.backgroundBrush.reset();
    ::PostQuitMessage(0);
}

void OnPaint(HWND window) {
    const WindowPicture picture{
        .toolName = SanitizeFileName(toolConfig.repairToolName, kDefaultRepairToolName),
        .clientFolder = toolFolder,
        .job = snapshot(),
        .accentColor = windowState.accentColor,
        .backdrop = windowState.backdrop.get(),
        .logo = windowState.panelLogo.get(),
    };
    PAINTSTRUCT paint{};
    const HDC device = ::BeginPaint(window, &paint);
    ExcludeButtons(window, device);
    PaintWindow(device, picture);
    ::EndPaint(window, &paint);
}

// The window has no system caption, so this strip acts as one.
bool IsInDragStrip(HWND window, LPARAM screenPosition) {
    // Signed: screens left of or above the primary one have negative coordinates.
    POINT point{static_cast<short>(LOWORD(screenPosition)),
                static_cast<short>(HIWORD(screenPosition))};
    ::ScreenToClient(window, &point);
    return point.y < kTitleBar.height && point.x < kDragStripWidth;
}

// noexcept: an exception must not pass through system code, so it terminates the program instead.
LRESULT CALLBACK MainWindowProcedure(HWND window, UINT message, WPARAM wParam,
                                     LPARAM lParam) noexcept {
    switch (message) {
        case WM_CREATE:
            OnCreate(window);
            break;
        case WM_DESTROY:
            OnDestroy(window);
            return 0;
        case WM_PAINT:
            OnPaint(window);
            return 0;
        case WM_DRAWITEM:
            // lParam holds a pointer.
            // NOLINTNEXTLINE(performance-no-int-to-ptr)
            DrawButton(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
            return TRUE;
        case WM_CLOSE:
            CloseAfterQuestion(window);
            return 0;
        case WM_NCHITTEST:
            if (IsInDragStrip(window, lParam)) {
                return HTCAPTION;
            }
            break;
        case WM_COMMAND:
            RunCommand(window, LOWORD(wParam));
            break;
        case WM_TIMER:
            OnTick(window);
            break;
        case kJobSucceededMessage:
            RepaintWindow(window);
            break;
        default:
            break;
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

HICON LoadToolIcon(HINSTANCE instance) {
    const HICON icon = ::LoadIconW(instance, MAKEINTRESOURCEW(ID_TOOL_ICON));
    return icon != nullptr ? icon : ::LoadIconW(nullptr, IDI_APPLICATION);
}

// In the small size, for which the icon has its own image. Null on failure.
OwnedIcon LoadSmallToolIcon(HINSTANCE instance) {
    // Not LR_SHARED, which would return the large icon again.
    return OwnedIcon(static_cast<HICON>(::LoadImageW(
        instance, MAKEINTRESOURCEW(ID_TOOL_ICON), IMAGE_ICON, ::GetSystemMetrics(SM_CXSMICON),
        ::GetSystemMetrics(SM_CYSMICON), LR_DEFAULTCOLOR)));
}

void RegisterWindowClass(HINSTANCE instance) {
    OwnedIcon smallIcon = LoadSmallToolIcon(instance);
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = MainWindowProcedure;
    windowClass.hInstance = instance;
    windowClass.hIcon = LoadToolIcon(instance);
    windowClass.hIconSm = smallIcon ? smallIcon.get() : windowClass.hIcon;
    windowClass.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hbrBackground = static_cast<HBRUSH>(::GetStockObject(BLACK_BRUSH));
    windowClass.lpszClassName = kWindowClassName;
    if (::RegisterClassExW(&windowClass) != 0) {
        static_cast<void>(smallIcon.release());  // The class owns it.
    }
}

// On failure the window stays rectangular.
void RoundCorners(HWND window) {
    // A region excludes its right and bottom edges, hence the extra pixel.
    GdiRegion region(::CreateRoundRectRgn(0, 0, kWindow.width + 1, kWindow.height + 1,
                                          kCornerDiameter, kCornerDiameter));
    if (region && ::SetWindowRgn(window, region.get(), TRUE) != 0) {
        static_cast<void>(region.release());  // The window owns it.
    }
}

}  // namespace

HWND CreateMainWindow(HINSTANCE instance, int showCommand) {
    BackdropPreparation backdrop;  // While the window is created.
    RegisterWindowClass(instance);
    const int left = (::GetSystemMetrics(SM_CXSCREEN) - kWindow.width) / 2;
    const int top = (::GetSystemMetrics(SM_CYSCREEN) - kWindow.height) / 2;
    mainWindow = ::CreateWindowExW(WS_EX_APPWINDOW, kWindowClassName, kDefaultToolTitle.data(),
                                   WS_POPUP | WS_MINIMIZEBOX, left, top, kWindow.width,
                                   kWindow.height, nullptr, nullptr, instance, nullptr);
    if (mainWindow == nullptr) {
        return nullptr;
    }
    RoundCorners(mainWindow);
    windowState.backdrop = backdrop.Take();
    ::ShowWindow(mainWindow, showCommand);
    ::UpdateWindow(mainWindow);
    return mainWindow;
}
