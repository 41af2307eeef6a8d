#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/windows_api.h"

namespace bench {

// Answers every message box of this program at once and keeps what it showed. Players nest: the
// latest answers.
class Player {
public:
    // `answer`: IDYES, IDNO, ...
    explicit Player(int answer);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    struct Box {
        HWND owner = nullptr;
        std::wstring text;
        std::wstring caption;
        UINT style = 0;
    };
    [[nodiscard]] const std::vector<Box>& Boxes() const {
        return boxes_;
    }

    // Called before each answer: a box handles its window's messages while it is open.
    std::function<void()> whileOpen;

private:
    int Answer(const Box& box);
    static std::shared_ptr<void> HookMessageBoxes();

    static inline Player* latest = nullptr;
    Player* former_;
    int answer_;
    std::vector<Box> boxes_;
    std::shared_ptr<void> hook_;  // Of the outermost player.
};

}  // namespace bench
