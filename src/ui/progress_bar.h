#pragma once

#include "job/progress/job_progress.h"

// How far the bar is filled, from 0 to 100, not rounded. The download and the work on the client
// are counted; an unknown total gives 0. The check and the unpacking cannot be counted and show a
// full bar, as does the end. Everything else, a failure above all, shows an empty one.
double ProgressPercent(const JobState& state);

// The filled part of a bar of `barWidth` pixels; a pixel that is not full stays empty.
int ProgressFillWidth(double percent, int barWidth);
