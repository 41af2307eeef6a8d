#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/handles.h"
#include "ui/button_table.h"

// The real tool in a process of its own, seen and driven from outside as a player does.

// A button as it is on the screen, its place in client coordinates.
struct ButtonSeen {
    std::wstring text;
    bool visible = false;
    bool enabled = false;
    Box place;
};

// What the window shows at one moment, buttons included. Colors are 0xRRGGBB.
class WindowShot {
public:
    explicit WindowShot(HWND window);

    // In client coordinates.
    [[nodiscard]] uint32_t At(int x, int y) const;
    // Whether a pixel of this color is in the box.
    [[nodiscard]] bool Holds(const Box& box, uint32_t color) const;
    // Whether both show the same in the box.
    [[nodiscard]] bool Equals(const WindowShot& other, const Box& box) const;
    bool operator==(const WindowShot&) const = default;

private:
    std::vector<uint32_t> pixels_;
};

class ToolWindow {
public:
    // Starts the exe in this process's environment and waits until its window is shown.
    ToolWindow(const std::filesystem::path& exe, const std::filesystem::path& currentFolder);
    // Ends it without asking when the test has not closed it.
    ~ToolWindow();
    ToolWindow(const ToolWindow&) = delete;
    ToolWindow& operator=(const ToolWindow&) = delete;

    [[nodiscard]] HWND Handle() const {
        return window_;
    }
    [[nodiscard]] HANDLE Process() const {
        return process_.get();
    }

    [[nodiscard]] HWND Button(ButtonId id) const;
    [[nodiscard]] ButtonSeen See(ButtonId id) const;
    // Every button that is shown, in the order of the tab key: "Repair Client", or "(Repair
    // Client)" when it is disabled.
    [[nodiscard]] std::vector<std::wstring> ShownButtons() const;
    // Whether exactly this text stands on the button.
    [[nodiscard]] bool HasText(ButtonId id, std::wstring_view text) const;
    // What a player can press: visible and enabled.
    [[nodiscard]] bool CanPress(ButtonId id) const;

    // Presses a button that can be pressed, else the test has failed. Returns at once: the effect
    // comes later, and may be a box.
    void Press(ButtonId id) const;
    // The button's message without a look at whether it can be pressed.
    void PostCommand(ButtonId id) const;
    // As the taskbar's "Close window" does it.
    void PostClose() const;
    // One tick of the window's timer more.
    void PostTick() const;

    // Waits until a job that is under way has ended and been collected: its buttons can be pressed
    // again, or "Retry" is there.
    void AwaitJobEnd() const;
    // Waits until the press or the answer that starts a job has been handled: the job is then under
    // way, or over already when nothing holds it.
    void AwaitJobStart() const;

    // The picture on the screen, after everything that waits to be painted has been painted.
    [[nodiscard]] WindowShot Look() const;
    // Waits until the pixel has this color (0xRRGGBB).
    [[nodiscard]] bool AwaitPixel(int x, int y, uint32_t color) const;

    // Waits until the tool has handled every message that it had by now, and painted. False when it
    // does not come to that.
    bool AwaitIdle() const;
    // Waits for the process's end. None when it goes on.
    [[nodiscard]] std::optional<DWORD> AwaitExitCode(
        std::chrono::milliseconds limit = std::chrono::minutes(1)) const;

private:
    KernelHandle process_;
    DWORD processId_ = 0;
    HWND window_ = nullptr;
};

// Replaces the embedded data `id` of an exe that does not run, in both language copies that a tool
// may carry.
void StampResource(const std::filesystem::path& exe, int id, std::string_view bytes);
