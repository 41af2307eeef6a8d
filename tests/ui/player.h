#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bench_parts/import_hook.h"
#include "common/windows_api.h"

// Answers every message box of this program at once, and keeps what it asked. While one is open the
// window's messages go on, which `whileOpen` stands for. Players nest: the latest answers.
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
    std::function<void()> whileOpen;

private:
    static int WINAPI Show(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style);

    static Player* active;
    Player* former_;
    int answer_;
    std::vector<Box> boxes_;
    bench::ImportHook hook_;
};

// Keeps what the shell is asked to open, in its place: nothing is opened. One at a time.
class ShellRecorder {
public:
    ShellRecorder();
    ~ShellRecorder();
    ShellRecorder(const ShellRecorder&) = delete;
    ShellRecorder& operator=(const ShellRecorder&) = delete;

    struct Call {
        HWND owner = nullptr;
        std::wstring verb;
        std::wstring file;
        bool hasParameters = false;
        bool hasFolder = false;
        int show = 0;
    };
    [[nodiscard]] const std::vector<Call>& Calls() const {
        return calls_;
    }

private:
    static HINSTANCE WINAPI Open(HWND owner, LPCWSTR verb, LPCWSTR file, LPCWSTR parameters,
                                 LPCWSTR folder, INT show);

    static ShellRecorder* active;
    std::vector<Call> calls_;
    bench::ImportHook hook_;
};
