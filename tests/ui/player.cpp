#include "ui/player.h"

#include <gtest/gtest.h>

#include "common/shell_api.h"

Player* Player::active = nullptr;
ShellRecorder* ShellRecorder::active = nullptr;

namespace {

std::wstring TextOf(const wchar_t* text) {
    return text == nullptr ? L"(none)" : text;
}

}  // namespace

Player::Player(int answer)
    : former_(active),
      answer_(answer),
      hook_(L"user32.dll", "MessageBoxW", reinterpret_cast<void*>(&Show)) {
    EXPECT_TRUE(hook_.Installed());
    active = this;
}

Player::~Player() {
    active = former_;
}

int WINAPI Player::Show(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
    active->boxes_.push_back({owner, TextOf(text), TextOf(caption), style});
    if (active->whileOpen) {
        active->whileOpen();
    }
    return active->answer_;
}

ShellRecorder::ShellRecorder()
    : hook_(L"shell32.dll", "ShellExecuteW", reinterpret_cast<void*>(&Open)) {
    EXPECT_TRUE(hook_.Installed());
    active = this;
}

ShellRecorder::~ShellRecorder() {
    active = nullptr;
}

HINSTANCE WINAPI ShellRecorder::Open(HWND owner, LPCWSTR verb, LPCWSTR file, LPCWSTR parameters,
                                     LPCWSTR folder, INT show) {
    active->calls_.push_back(
        {owner, TextOf(verb), TextOf(file), parameters != nullptr, folder != nullptr, show});
    return nullptr;  // Out of memory: nobody may care.
}
