#pragma once

#include <string_view>

#include "common/windows_api.h"
#include "job/progress/job_progress.h"

// The window's part of a job, from starting it to joining its thread. Window thread; `window` is
// the main window.

// Starts a job unless one exists. A blank URL means the configured `archiveUrl`.
void beginJob(HWND window, JobKind kind, std::wstring_view packageUrl);

// Called every 250 ms: repaints the job's progress. When the job has ended, joins its thread and,
// after a success, offers the shortcut and starts the game, as configured. Does nothing without a
// job. May run while a question is open.
void OnTick(HWND window);

// After a failure: resets the window to "Ready." and enables the job buttons. Does nothing while a
// job is running.
void PrepareRetry(HWND window);

// Always asks whether to close. On Yes, stops the job, waits until its clean-up is done, however
// long that takes, and destroys the window.
void CloseAfterQuestion(HWND window);

// Stops the job, if there is one, without a question, and waits for its clean-up.
void StopJob();
