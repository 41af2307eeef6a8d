#include "ui/buttons.h"

#include <array>
#include <string>

#include "config/tool_config.h"
#include "job/progress/job_progress.h"
#include "package/package_source.h"
#include "ui/button_painter.h"
#include "ui/button_table.h"
#include "ui/window_state.h"

namespace {

constexpr int kMaxTextLength = 160;

HWND ButtonWindow(HWND window, ButtonId id) {
    return ::GetDlgItem(window, static_cast<int>(id));
}

// CreateWindowExW takes a child window's control id as its menu.
HMENU AsMenu(ButtonId id) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the API takes the number as a handle.
    return reinterpret_cast<HMENU>(static_cast<INT_PTR>(id));
}

void CreateButton(HWND window, HINSTANCE instance, const ButtonSpec& spec) {
    ::CreateWindowExW(0, L"BUTTON", spec.text, WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_OWNERDRAW,
                      kUnplacedButton.x, kUnplacedButton.y, kUnplacedButton.width,
                      kUnplacedButton.height, window, AsMenu(spec.id), instance, nullptr);
}

void PlaceButtons(HWND window) {
    const bool severalServers = HasSeveralServers(toolConfig);
    for (const ButtonSpec& spec : Buttons()) {
        if (const auto& box = severalServers ? spec.placeWithServers : spec.place) {
            ::SetWindowPos(ButtonWindow(window, spec.id), nullptr, box->x, box->y, box->width,
                           box->height, SWP_NOZORDER | SWP_NOACTIVATE);
        }
    }
}

void InvalidateButton(HWND window, ButtonId id) {
    // InvalidateRect(nullptr) would repaint every window.
    if (const HWND button = ButtonWindow(window, id)) {
        ::InvalidateRect(button, nullptr, TRUE);
    }
}

bool IsSelectedServer(ButtonId id) {
    return id == (primaryServerChosen ? ButtonId::PrimaryServer : ButtonId::SecondServer);
}

std::wstring ButtonText(HWND button) {
    std::array<wchar_t, kMaxTextLength + 1> text{};
    ::GetWindowTextW(button, text.data(), static_cast<int>(text.size()));
    return text.data();
}

}  // namespace

void CreateButtons(HWND window, HFONT font) {
    const HINSTANCE instance = ::GetModuleHandleW(nullptr);
    for (const ButtonSpec& spec : Buttons()) {
        CreateButton(window, instance, spec);
    }
    for (const ButtonSpec& spec : Buttons()) {
        ::SendMessageW(ButtonWindow(window, spec.id), WM_SETFONT, reinterpret_cast<WPARAM>(font),
                       TRUE);
    }
    PlaceButtons(window);
}

void RefreshButtons(HWND window) {
    const bool failureShown = jobProgress.failed && jobProgress.finished;
    const ButtonConditions conditions = ConditionsFor(toolConfig, failureShown);
    for (const ButtonSpec& spec : Buttons()) {
        ::ShowWindow(ButtonWindow(window, spec.id), spec.isShown(conditions) ? SW_SHOW : SW_HIDE);
    }
}

void EnableJobButtons(HWND window, bool enable) {
    for (const ButtonSpec& spec : Buttons()) {
        if (spec.startsJob) {
            ::EnableWindow(ButtonWindow(window, spec.id), enable ? TRUE : FALSE);
        }
    }
}

void MarkShortcutCreated(HWND window) {
    const HWND button = ButtonWindow(window, ButtonId::CreateShortcut);
    ::SetWindowTextW(button, L"Game Shortcut Created");
    ::EnableWindow(button, FALSE);
}

void InvalidateServerButtons(HWND window) {
    InvalidateButton(window, ButtonId::PrimaryServer);
    InvalidateButton(window, ButtonId::SecondServer);
}

void ExcludeButtons(HWND window, HDC device) {
    for (const ButtonSpec& spec : Buttons()) {
        const HWND button = ButtonWindow(window, spec.id);
        RECT place{};
        if (::IsWindowVisible(button) && ::GetWindowRect(button, &place)) {
            ::MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&place), 2);
            ::ExcludeClipRect(device, place.left, place.top, place.right, place.bottom);
        }
    }
}

void DrawButton(const DRAWITEMSTRUCT& item) {
    const ButtonSpec* spec = FindButton(static_cast<int>(item.CtlID));
    if (spec == nullptr) {
        return;
    }
    const ButtonPicture button{
        .id = spec->id,
        .text = ButtonText(item.hwndItem),
        .pressed = (item.itemState & ODS_SELECTED) != 0,
        .disabled = (item.itemState & ODS_DISABLED) != 0,
        .selected = IsSelectedServer(spec->id),
        .accentColor = windowState.accentColor,
    };
    const Box box{item.rcItem.left, item.rcItem.top, item.rcItem.right - item.rcItem.left,
                  item.rcItem.bottom - item.rcItem.top};
    PaintButton(MakeGraphics(item.hDC).get(), box, button);
}
