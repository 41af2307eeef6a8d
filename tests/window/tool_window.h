#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "common/handles.h"
#include "ui/button_table.h"
#include "ui/canvas.h"

// The real tool in a separate process, driven from outside as by a player.

namespace bench {

struct ButtonSeen {
    std::wstring text;
    bool visible = false;
    bool enabled = false;
};

// The functions without a result wait for an effect and fail the test if it does not come.
class ToolWindow {
public:
    // Starts the exe in this process's environment and waits until its window is shown.
    // `showCommand`: SW_..., as a shortcut asks for it.
    ToolWindow(const std::filesystem::path& exe, const std::filesystem::path& currentFolder,
               WORD showCommand = SW_SHOWNORMAL);
    // Terminates it if the test has not closed it.
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
    // Every visible button in tab order: "Repair Client", or "(Repair Client)" if it is disabled.
    [[nodiscard]] std::vector<std::wstring> ShownButtons() const;
    // Visible and enabled.
    [[nodiscard]] bool CanPress(ButtonId id) const;

    // Presses a button that can be pressed. Returns at once: the effect comes later.
    void Press(ButtonId id) const;
    // Sends the button's command, even if a player could not press it.
    void PostCommand(ButtonId id, WORD notification = BN_CLICKED) const;
    // Like the taskbar's "Close window".
    void PostClose() const;
    // One more tick of the window's timer.
    void PostTick() const;
    void Minimize() const;
    void Restore() const;

    // Waits until the tool has handled all messages that it had by now, and painted. After a press
    // or an answer that starts a job, the job has then been started.
    void AwaitIdle() const;
    void AwaitCanPress(ButtonId id) const;
    // Waits until a running job has ended and been collected, successful or not.
    void AwaitJobEnd() const;
    // No box is open on top of the window, and the process is running.
    void AwaitUsable() const;
    // Empty if the process does not end within a minute.
    [[nodiscard]] std::optional<DWORD> AwaitExitCode() const;

    // The picture on the screen, buttons included, once all pending painting is done.
    [[nodiscard]] Pixels Look() const;
    // The same at this moment.
    [[nodiscard]] Pixels Screen() const;
    void AwaitPixel(int x, int y, Argb color) const;
    void AwaitLook(const Pixels& expected) const;

private:
    KernelHandle process_;
    HWND window_ = nullptr;
};

}  // namespace bench
