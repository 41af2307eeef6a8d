#pragma once

#include <string>

#include "job/progress/job_progress.h"

// The line below the progress bar: the job's headline, with the speed while the package comes in
// and the count of files while the client is worked on. Never empty.
std::wstring StatusText(const JobState& state);
