#pragma once

#include "job/job_progress.h"

// How far the bar is filled, from 0 to 100, not rounded. An unknown total, and a stage that counts
// nothing and has not begun its work, give 0; the stages that cannot be counted show a full bar.
double ProgressPercent(const JobState& state);

// The filled part of a bar of `barWidth` pixels; a pixel that is not full stays empty.
int ProgressFillWidth(double percent, int barWidth);
