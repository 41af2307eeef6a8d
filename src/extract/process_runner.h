#pragma once

#include <string_view>

#include "common/windows_api.h"

// The exit code that stands for a program that could not be started.
inline constexpr DWORD kNotStartedExitCode = 0xFFFFFFFF;

// Runs one external program without a window and waits for its end, however long it takes. The
// program is the first token of the command line; the platform searches for a bare name. It gets
// the tool's environment and current folder, and none of its handles.
//
// True exactly when it was started, ended by itself or by others, and left exit code 0. `exitCode`
// takes that code, kNotStartedExitCode without a start, and 1 when the system does not tell it.
//
// While the program runs, jobProgress.childProcess is its handle, so that the window can end it.
// jobProgress.cancelRequested is polled every 250 ms, after the first 250 ms: a program that is
// quicker than that ends by itself in spite of a request. A request that is seen ends the program
// with exit code 1 and the wait with false; `exitCode` is then not written, and childProcess keeps
// its value, behind which there is no handle any more.
//
// Job thread. Reports stage and texts of its own, but no failure.
bool RunHiddenAndWait(std::wstring_view commandLine, DWORD* exitCode = nullptr);
