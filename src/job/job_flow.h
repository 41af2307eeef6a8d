#pragma once

#include <functional>
#include <string_view>

#include "common/windows_api.h"
#include "job/progress/job_progress.h"

// The job from end to end: package, digest, unpacking, client folder, uninstaller, registration.

// Posted to `mainWindow`, both parameters 0, when a job has succeeded. A failed job posts nothing:
// the window notices on its next tick.
inline constexpr UINT kJobSucceededMessage = WM_APP + 1;

// Starts a job on its own thread. Window thread. Refused (false, and nothing has changed) while a
// job thread exists or runs. `packageUrl` may be blank: `archiveUrl` then serves. When the record
// is that of a running job, and before the thread exists, `whenPrepared` does the window's share.
bool beginJob(JobKind kind, std::wstring_view packageUrl,
              const std::function<void()>& whenPrepared);

// The body of the job thread. Ends in the record's success or failure state, unless a stop request
// is noticed in the download or in the client's verification: that ends it early without a report,
// and `running` stays true until the window clears it. A stopped unpacking ends as a failure.
// However it ends, the scratch folder is removed before it returns, and so is the downloaded
// package when `cleanupArchive` is on.
void runJob(JobKind kind);

// Puts the record and the selected package URL back to "Ready.", after collecting the ended job's
// thread. Window thread; blocks while a job still runs.
void resetForRetry();
