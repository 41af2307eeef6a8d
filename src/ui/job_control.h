#pragma once

#include <string_view>

#include "common/windows_api.h"
#include "job/progress/job_progress.h"

// The window's side of a job, from its start to its collection. Window thread; `window` is the
// tool's main window.

// Starts a job, unless there is one. A blank URL stands for the configured `archiveUrl`.
void beginJob(HWND window, JobKind kind, std::wstring_view packageUrl);

// Every 250 ms: shows what the job has published, and collects it once it has ended, with the
// questions and starts that follow a success. Without a job nothing is repainted. May run inside
// an open question.
void OnTick(HWND window);

// After a failure: "Ready." again, with the buttons that start a job. Nothing while a job runs.
void PrepareRetry(HWND window);

// Asks whether to close, always. On Yes it stops the job, waits for its clean-up, however long
// that takes, and destroys the window.
void CloseAfterQuestion(HWND window);

// Ends a job that is left over, without a question, and waits for its clean-up.
void StopJob();
