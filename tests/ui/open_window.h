#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "bench_parts/import_hook.h"
#include "bench_parts/scratch_folder.h"
#include "common/com_apartment.h"
#include "common/shell_api.h"
#include "config/tool_config.h"
#include "job/progress/job_progress.h"
#include "ui/gdiplus_objects.h"
#include "ui/player.h"

// Tests with the tool's main window in the test program itself. The client folder is a scratch
// folder with a startup program in it; the process-wide records are as at a fresh start.
class WindowTest : public testing::Test {
protected:
    WindowTest();
    ~WindowTest() override;

    bench::ScratchFolder client_;

private:
    // A box that a test does not expect would wait for ever. It is answered, and the test fails.
    Player surprise_{IDNO};
    ComApartment com_;
    GdiplusSession gdiplus_;
};

// What a window is opened with.
struct Opening {
    // None: the configuration that the test program carries (main_window_test.rc).
    std::optional<ToolConfig> config;
    bool hasPictures = true;
    int showCommand = SW_SHOWNOACTIVATE;
};

// A configuration with everything that shows a button, one download server, and an address that no
// job accepts: a job that is started with it fails at once and touches nothing.
ToolConfig FullConfig();
// The same with two download servers to choose from.
ToolConfig TwoServers();

// The tool's main window, until the object goes. Its timer does not tick: a test sends the ticks.
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
    // The ids of the buttons that are shown, or that can be pressed, in ascending order.
    [[nodiscard]] std::vector<int> ShownButtons() const;
    [[nodiscard]] std::vector<int> DisabledButtons() const;

    // As the timer does every 250 ms.
    void Tick() const;
    // As a click on the button does.
    void Press(int id) const;

    // Paints what is to be painted again; whether anything was.
    bool TakePaint() const;

    // The window procedure's tick timer was there and has been stopped.
    [[nodiscard]] bool HadTimer() const {
        return hadTimer_;
    }
    // What the creation has found out about the running exe; afterwards the records name the
    // test's own client folder again.
    [[nodiscard]] const std::filesystem::path& LocatedExe() const {
        return locatedExe_;
    }
    [[nodiscard]] const std::filesystem::path& LocatedFolder() const {
        return locatedFolder_;
    }

private:
    HWND window_ = nullptr;
    bool hadTimer_ = false;
    std::filesystem::path locatedExe_;
    std::filesystem::path locatedFolder_;
};

// Handles all messages that wait. None: no end of the program was asked for, else its exit code.
std::optional<int> HandleWaitingMessages();

// Puts a job into the slot that has ended already, with the flags and texts of its kind's end.
void LeaveEndedJob(JobKind kind, bool succeeded);

// A job under way. It ends, in success, when the object goes or End is called, or as a stopped job
// when it is asked to stop.
class RunningJob {
public:
    explicit RunningJob(JobKind kind = JobKind::Repair);
    ~RunningJob();
    RunningJob(const RunningJob&) = delete;
    RunningJob& operator=(const RunningJob&) = delete;

    // Waits until the job has ended; nobody has collected it then.
    void End();
    [[nodiscard]] bool WasStopped() const {
        return wasStopped_;
    }

private:
    std::atomic<bool> end_ = false;
    std::atomic<bool> wasStopped_ = false;
};
