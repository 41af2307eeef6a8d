#pragma once

#include <string_view>

#include "common/windows_api.h"

// Reported as exit code when the program could not be started.
inline constexpr DWORD kNotStartedExitCode = 0xFFFFFFFF;

// Runs one external program without a window and waits for it without a time limit. The program is
// the first token of the command line; the platform searches for a bare name. It inherits the
// tool's environment and current folder, but no handles.
//
// True exactly when it was started and ended with exit code 0. `exitCode` receives the exit code,
// kNotStartedExitCode if the program could not be started, or 1 if the code cannot be read.
//
// While the program runs, jobProgress.childProcess is its handle, so that the window can terminate
// it. jobProgress.cancelRequested is first checked after 250 ms, then every 250 ms; a program that
// is quicker than that is not stopped. A stop request terminates the program with exit code 1, and
// the result is false; `exitCode` is then not written, and childProcess keeps the closed handle.
//
// Job thread. Publishes stage and texts, but reports no failure.
[[nodiscard]] bool RunHiddenAndWait(std::wstring_view commandLine, DWORD* exitCode = nullptr);
