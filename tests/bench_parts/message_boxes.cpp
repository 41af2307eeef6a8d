#include "bench_parts/message_boxes.h"

#include <gtest/gtest.h>

#include <array>

#include "bench_parts/waiting.h"

namespace bench {

namespace {

// Where a message box keeps its text and its picture.
constexpr int kTextControl = 0xffff;
constexpr int kIconControl = 1088;

// How a control answers that is the box's default button.
bool IsDefault(HWND button) {
    return (::SendMessageW(button, WM_GETDLGCODE, 0, 0) & DLGC_DEFPUSHBUTTON) != 0;
}

constexpr int kIconSizePx = 32;
using IconPixels = std::vector<COLORREF>;

IconPixels PixelsOf(HDC dc, int left, int top) {
    IconPixels pixels;
    for (int y = 0; y < kIconSizePx; ++y) {
        for (int x = 0; x < kIconSizePx; ++x) {
            pixels.push_back(::GetPixel(dc, left + x, top + y));
        }
    }
    return pixels;
}

// The box's picture on the screen: another process's icon cannot be asked what it is.
IconPixels ShownIcon(HWND box) {
    RECT place{};
    ::GetWindowRect(::GetDlgItem(box, kIconControl), &place);
    const HDC screen = ::GetDC(nullptr);
    IconPixels pixels = PixelsOf(screen, place.left, place.top);
    ::ReleaseDC(nullptr, screen);
    return pixels;
}

IconPixels SystemIcon(const wchar_t* name) {
    const HDC screen = ::GetDC(nullptr);
    const HDC memory = ::CreateCompatibleDC(screen);
    const HBITMAP bitmap = ::CreateCompatibleBitmap(screen, kIconSizePx, kIconSizePx);
    const HGDIOBJ former = ::SelectObject(memory, bitmap);
    const RECT whole{0, 0, kIconSizePx, kIconSizePx};
    ::FillRect(memory, &whole, ::GetSysColorBrush(COLOR_BTNFACE));
    ::DrawIconEx(memory, 0, 0, ::LoadIconW(nullptr, name), kIconSizePx, kIconSizePx, 0, nullptr,
                 DI_NORMAL);
    IconPixels pixels = PixelsOf(memory, 0, 0);
    ::SelectObject(memory, former);
    ::DeleteObject(bitmap);
    ::DeleteDC(memory);
    ::ReleaseDC(nullptr, screen);
    return pixels;
}

}  // namespace

HWND FindBox(const wchar_t* caption) {
    const HWND box = ::FindWindowW(L"#32770", caption);
    return box != nullptr && ::IsWindowVisible(box) ? box : nullptr;
}

HWND AwaitBox(const wchar_t* caption) {
    const HWND box = Await([caption] { return FindBox(caption); });
    EXPECT_NE(box, nullptr) << "no box with the caption "
                            << testing::PrintToString(std::wstring(caption));
    return box;
}

std::wstring BoxText(HWND box) {
    std::array<wchar_t, 2048> text{};
    ::SendMessageW(::GetDlgItem(box, kTextControl), WM_GETTEXT, text.size(),
                   reinterpret_cast<LPARAM>(text.data()));
    return text.data();
}

std::vector<int> BoxButtons(HWND box) {
    std::vector<int> buttons;
    for (int id = IDOK; id <= IDCONTINUE; ++id) {
        const HWND button = ::GetDlgItem(box, id);
        if (button != nullptr && ::IsWindowVisible(button)) {
            buttons.push_back(id);
        }
    }
    return buttons;
}

int DefaultButton(HWND box) {
    for (const int id : BoxButtons(box)) {
        if (IsDefault(::GetDlgItem(box, id))) {
            return id;
        }
    }
    return 0;
}

UINT BoxIcon(HWND box) {
    const std::pair<const wchar_t*, UINT> icons[] = {{IDI_WARNING, MB_ICONWARNING},
                                                     {IDI_QUESTION, MB_ICONQUESTION},
                                                     {IDI_ERROR, MB_ICONERROR},
                                                     {IDI_INFORMATION, MB_ICONINFORMATION}};
    if (!::IsWindowVisible(::GetDlgItem(box, kIconControl))) {
        return 0;
    }
    // What has been painted comes to the screen some moments later.
    return Await([&]() -> UINT {
        ::RedrawWindow(box, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
        const IconPixels shown = ShownIcon(box);
        for (const auto& [name, style] : icons) {
            if (shown == SystemIcon(name)) {
                return style;
            }
        }
        return 0;
    });
}

void Answer(HWND box, int button) {
    ::PostMessageW(box, WM_COMMAND, static_cast<WPARAM>(button), 0);
    EXPECT_TRUE(Await([box] { return !::IsWindow(box); }));
}

}  // namespace bench
