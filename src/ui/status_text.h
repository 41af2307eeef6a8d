#pragma once

#include <string>

#include "job/progress/job_progress.h"

// The line below the progress bar: the job's status, followed by the speed while downloading and by
// the file count while working on the client. Never empty.
std::wstring StatusText(const JobState& state);
