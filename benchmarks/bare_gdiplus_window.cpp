// The least program with a window of the tool's size that is painted with GDI+: a fill and a line
// of text, through a bitmap off the screen. Built with WITH_CONTROLS=1 it also has what else the
// tool cannot start without: common controls, COM and twelve owner-drawn buttons, which stay
// unpainted. It waits to be ended from outside.

#include "ui/controls_api.h"
#include "ui/gdiplus_api.h"

using namespace Gdiplus::DllExports;

namespace {

constexpr Gdiplus::ARGB kFill = 0xFFFFA640;
constexpr Gdiplus::ARGB kInk = 0xFF0A0A0C;
constexpr int kWidth = 860;
constexpr int kHeight = 560;
constexpr bool kWithControls = WITH_CONTROLS != 0;
constexpr int kButtonCount = 12;
constexpr int kButtonWidth = 64;
constexpr int kButtonHeight = 44;
constexpr int kButtonsTop = 396;

void DrawContent(Gdiplus::GpGraphics* graphics) {
    Gdiplus::GpSolidFill* fill = nullptr;
    Gdiplus::GpSolidFill* ink = nullptr;
    Gdiplus::GpFontFamily* family = nullptr;
    Gdiplus::GpFont* font = nullptr;
    GdipCreateSolidFill(kFill, &fill);
    GdipCreateSolidFill(kInk, &ink);
    GdipFillRectangleI(graphics, fill, 0, 0, kWidth, kHeight);
    GdipCreateFontFamilyFromName(L"Segoe UI", nullptr, &family);
    GdipCreateFont(family, 28, Gdiplus::FontStyleBold, Gdiplus::UnitPixel, &font);
    const Gdiplus::RectF area(100, 250, 660, 60);
    GdipDrawString(graphics, L"The least window", -1, font, &area, nullptr, ink);
    GdipDeleteFont(font);
    GdipDeleteFontFamily(family);
    GdipDeleteBrush(ink);
    GdipDeleteBrush(fill);
}

void Paint(HWND window) {
    PAINTSTRUCT paint{};
    const HDC device = ::BeginPaint(window, &paint);
    Gdiplus::GpBitmap* bitmap = nullptr;
    Gdiplus::GpGraphics* offScreen = nullptr;
    Gdiplus::GpGraphics* screen = nullptr;
    GdipCreateBitmapFromScan0(kWidth, kHeight, 0, PixelFormat32bppARGB, nullptr, &bitmap);
    GdipGetImageGraphicsContext(bitmap, &offScreen);
    DrawContent(offScreen);
    GdipCreateFromHDC(device, &screen);
    GdipDrawImageRectI(screen, bitmap, 0, 0, kWidth, kHeight);
    GdipDeleteGraphics(screen);
    GdipDeleteGraphics(offScreen);
    GdipDisposeImage(bitmap);
    ::EndPaint(window, &paint);
}

void InitializeControls() {
    const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_STANDARD_CLASSES | ICC_PROGRESS_CLASS};
    ::InitCommonControlsEx(&controls);
    static_cast<void>(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
}

void CreateButtons(HWND window) {
    for (int i = 0; i < kButtonCount; ++i) {
        ::CreateWindowExW(0, L"BUTTON", L"", WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_OWNERDRAW,
                          i * kButtonWidth, kButtonsTop, kButtonWidth, kButtonHeight, window,
                          nullptr, ::GetModuleHandleW(nullptr), nullptr);
    }
}

LRESULT CALLBACK BareProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if constexpr (kWithControls) {
        if (message == WM_CREATE) {
            CreateButtons(window);
        }
    }
    if (message == WM_PAINT) {
        Paint(window);
        return 0;
    }
    if (message == WM_DESTROY) {
        ::PostQuitMessage(0);
        return 0;
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int showCommand) {
    if constexpr (kWithControls) {
        InitializeControls();
    }
    ULONG_PTR token = 0;
    const Gdiplus::GdiplusStartupInput input;
    Gdiplus::GdiplusStartup(&token, &input, nullptr);
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = BareProcedure;
    windowClass.hInstance = instance;
    windowClass.lpszClassName = L"BareGdiplusWindow";
    ::RegisterClassExW(&windowClass);
    const HWND window = ::CreateWindowExW(WS_EX_APPWINDOW, windowClass.lpszClassName, L"", WS_POPUP,
                                          (::GetSystemMetrics(SM_CXSCREEN) - kWidth) / 2,
                                          (::GetSystemMetrics(SM_CYSCREEN) - kHeight) / 2, kWidth,
                                          kHeight, nullptr, nullptr, instance, nullptr);
    ::ShowWindow(window, showCommand);
    ::UpdateWindow(window);
    MSG message{};
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        ::DispatchMessageW(&message);
    }
    Gdiplus::GdiplusShutdown(token);
    return 0;
}
