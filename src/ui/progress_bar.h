#pragma once

#include "job/progress/job_progress.h"

// The bar's fill from 0 to 100, not rounded. Downloading and working on the client have counters;
// an unknown total gives 0. Verifying and unpacking have none and show a full bar, as does the end.
// All other stages, such as a failure, show an empty bar.
double ProgressPercent(const JobState& state);

// The filled part of a bar of `barWidth` pixels, rounded down.
int ProgressFillWidth(double percent, int barWidth);
