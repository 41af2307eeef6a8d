// demo_window
//
// Prints what a player can see and press in the tool's window: UTF-8, one line each, fields
// separated by tabs, boxes as left, top, width, height in screen pixels:
//   window    BOX ENABLED CAPTION
//   button    BOX ID VISIBLE ENABLED TEXT        each of the window's buttons
//   question  BOX CAPTION TEXT                   a message box of the window
//   answer    BOX ID TEXT                        each button of that message box
// Switches are 0 or 1; a line feed in a text is written as "\n". Without a visible window it prints
// nothing and the exit code is kNoWindow.

#include <cstdio>
#include <string>

#include "common/windows_api.h"
#include "utf8_text.h"

namespace {

constexpr int kNoWindow = 1;
constexpr wchar_t kToolClass[] = L"Quellstone.RepairTool";
constexpr wchar_t kMessageBoxClass[] = L"#32770";
// Where a message box keeps its text.
constexpr int kMessageTextId = 0xFFFF;

std::string ClassName(HWND window) {
    wchar_t name[64];
    const int length = ::GetClassNameW(window, name, 64);
    return WideToUtf8({name, static_cast<std::size_t>(length)});
}

std::string TextOf(HWND window) {
    wchar_t text[1024];
    const int length = ::GetWindowTextW(window, text, 1024);
    std::string line;
    for (const char character : WideToUtf8({text, static_cast<std::size_t>(length)})) {
        if (character == '\n') {
            line += "\\n";
        } else if (character != '\r') {
            line += character == '\t' ? ' ' : character;
        }
    }
    return line;
}

std::string BoxOf(HWND window) {
    RECT box{};
    ::GetWindowRect(window, &box);
    return std::to_string(box.left) + '\t' + std::to_string(box.top) + '\t' +
           std::to_string(box.right - box.left) + '\t' + std::to_string(box.bottom - box.top);
}

void PrintLine(const std::string& line) {
    std::printf("%s\n", line.c_str());
}

std::string Switch(BOOL on) {
    return on != FALSE ? "1" : "0";
}

BOOL CALLBACK PrintButton(HWND child, LPARAM /*unused*/) {
    if (ClassName(child) == "Button") {
        PrintLine("button\t" + BoxOf(child) + '\t' + std::to_string(::GetDlgCtrlID(child)) + '\t' +
                  Switch(::IsWindowVisible(child)) + '\t' + Switch(::IsWindowEnabled(child)) +
                  '\t' + TextOf(child));
    }
    return TRUE;
}

BOOL CALLBACK PrintAnswer(HWND child, LPARAM /*unused*/) {
    if (ClassName(child) == "Button" && ::IsWindowVisible(child) != FALSE) {
        PrintLine("answer\t" + BoxOf(child) + '\t' + std::to_string(::GetDlgCtrlID(child)) + '\t' +
                  TextOf(child));
    }
    return TRUE;
}

void PrintQuestions(HWND owner) {
    HWND box = nullptr;
    while ((box = ::FindWindowExW(nullptr, box, kMessageBoxClass, nullptr)) != nullptr) {
        if (::GetWindow(box, GW_OWNER) == owner && ::IsWindowVisible(box) != FALSE) {
            PrintLine("question\t" + BoxOf(box) + '\t' + TextOf(box) + '\t' +
                      TextOf(::GetDlgItem(box, kMessageTextId)));
            ::EnumChildWindows(box, PrintAnswer, 0);
        }
    }
}

}  // namespace

int wmain() {
    const HWND window = ::FindWindowW(kToolClass, nullptr);
    if (window == nullptr || ::IsWindowVisible(window) == FALSE) {
        return kNoWindow;
    }
    PrintLine("window\t" + BoxOf(window) + '\t' + Switch(::IsWindowEnabled(window)) + '\t' +
              TextOf(window));
    ::EnumChildWindows(window, PrintButton, 0);
    PrintQuestions(window);
    return 0;
}
