#include "ui/player.h"

#include "bench_parts/call_hook.h"

namespace bench {

namespace {

std::wstring TextOf(const wchar_t* text) {
    return text == nullptr ? L"(none)" : text;
}

}  // namespace

Player::Player(int answer)
    : former_(latest), answer_(answer), hook_(former_ == nullptr ? HookMessageBoxes() : nullptr) {
    latest = this;
}

Player::~Player() {
    latest = former_;
}

int Player::Answer(const Box& box) {
    boxes_.push_back(box);
    if (whileOpen) {
        whileOpen();
    }
    return answer_;
}

std::shared_ptr<void> Player::HookMessageBoxes() {
    return std::shared_ptr<void>(new auto(HookCall<decltype(&::MessageBoxW)>(
        L"user32.dll", "MessageBoxW", [](HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
            return latest->Answer({owner, TextOf(text), TextOf(caption), style});
        })));
}

}  // namespace bench
