#pragma once

#include <string_view>

#include "common/windows_api.h"
#include "job/progress/job_progress.h"

// The job from start to end: package, digest, unpacking, client folder, uninstaller, registration.

// Posted to `mainWindow`, both parameters 0, when a job has succeeded. A failed job posts nothing;
// the window notices on its next tick.
inline constexpr UINT kJobSucceededMessage = WM_APP + 1;

// The first half of a job's start: selects the package URL and makes the record that of a running
// job. The second half is StartJobThread with runJob; the window disables its buttons in between.
// `packageUrl` may be blank, see SelectPackageUrl. Window thread. False, and nothing has changed,
// while a job thread exists or the record is marked as running.
[[nodiscard]] bool PrepareJob(JobKind kind, std::wstring_view packageUrl);

// The body of the job thread, after PrepareJob. Ends in the record's success or failure state; but
// a stop request during the download or the client's verification ends it early without a report,
// and `running` stays true until the window clears it. A stop while unpacking ends as a failure. In
// every case the scratch folder is removed before this returns, and so is the downloaded package if
// `cleanupArchive` is on.
void runJob(JobKind kind);

// Joins the ended job's thread, clears the selected package URL and resets the record to "Ready.".
// Window thread; blocks while a job is still running.
void resetForRetry();
