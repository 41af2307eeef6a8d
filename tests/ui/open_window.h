#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "bench_parts/scratch_folder.h"
#include "bench_parts/shell_recorder.h"
#include "common/com_apartment.h"
#include "config/tool_config.h"
#include "job/progress/job_progress.h"
#include "ui/gdiplus_objects.h"
#include "ui/player.h"

// The tool's main window in the test program itself.

namespace bench {

// The client folder is a scratch folder with a startup program in it; the process-wide records are
// as at a fresh start. A message box that the test does not expect is answered with "No" and fails
// the test.
class WindowTest : public testing::Test {
protected:
    WindowTest();
    ~WindowTest() override;

    ScratchFolder client_;
    // The game's shortcut, which the fixture removes.
    static std::filesystem::path DesktopLink();

    ShellRecorder shell_;

private:
    Player surprise_{IDNO};
    ComApartment com_;
    GdiplusSession gdiplus_;
};

struct Opening {
    // Empty: the configuration that the test program carries (main_window_test.rc).
    std::optional<ToolConfig> config;
    bool hasPictures = true;
    int showCommand = SW_SHOWNOACTIVATE;
};

// Everything that shows a button, one download server, and an address that makes every job fail at
// once.
ToolConfig FullConfig();
// The same with two download servers to choose from.
ToolConfig TwoServers();

// Open as long as the object lives. Its timer does not tick: a test sends the ticks.
class OpenWindow {
public:
    explicit OpenWindow(const Opening& opening = {.config = FullConfig()});
    ~OpenWindow();
    OpenWindow(const OpenWindow&) = delete;
    OpenWindow& operator=(const OpenWindow&) = delete;

    [[nodiscard]] HWND Handle() const {
        return window_;
    }
    [[nodiscard]] HWND Button(int id) const {
        return ::GetDlgItem(window_, id);
    }
    // Ids in ascending order.
    [[nodiscard]] std::vector<int> ShownButtons() const;
    [[nodiscard]] std::vector<int> DisabledButtons() const;

    // What the timer sends every 250 ms.
    void Tick() const;
    // What a click on the button sends.
    void Press(int id) const;

    // Paints what is invalid. False if nothing was.
    bool TakePaint() const;

    // What the creation put into the records about the running exe. They name the test's client
    // folder again afterwards.
    [[nodiscard]] const std::filesystem::path& LocatedExe() const {
        return locatedExe_;
    }
    [[nodiscard]] const std::filesystem::path& LocatedFolder() const {
        return locatedFolder_;
    }

private:
    HWND window_ = nullptr;
    std::filesystem::path locatedExe_;
    std::filesystem::path locatedFolder_;
};

std::wstring WindowText(HWND window);

// Handles all messages in the queue. The exit code if one of them ends the program.
std::optional<int> HandleWaitingMessages();

// Leaves a job that has ended but has not been collected.
void LeaveEndedJob(JobKind kind, bool succeeded);

// A job that runs until End is called or the object is destroyed, and then succeeds; or until it is
// asked to stop.
class RunningJob {
public:
    explicit RunningJob(JobKind kind = JobKind::Repair);
    ~RunningJob();
    RunningJob(const RunningJob&) = delete;
    RunningJob& operator=(const RunningJob&) = delete;

    // Waits for the end, but does not collect the job.
    void End();
    [[nodiscard]] bool WasStopped() const {
        return wasStopped_;
    }

private:
    std::atomic<bool> end_ = false;
    std::atomic<bool> wasStopped_ = false;
};

}  // namespace bench
