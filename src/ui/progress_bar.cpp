#include "ui/progress_bar.h"

#include <algorithm>

namespace {

double Percentage(uint64_t part, uint64_t whole) {
    if (whole == 0) {
        return 0.0;
    }
    return std::clamp(static_cast<double>(part) / static_cast<double>(whole) * 100.0, 0.0, 100.0);
}

}  // namespace

double ProgressPercent(const JobState& state) {
    switch (state.stage) {
        case JobStage::Downloading:
            return Percentage(state.bytesReceived, state.bytesTotal);
        case JobStage::Finishing:
            return Percentage(state.filesDone, state.filesTotal);
        case JobStage::VerifyingPackage:
        case JobStage::Extracting:
        case JobStage::Done:
            return 100.0;
        default:
            return 0.0;
    }
}

int ProgressFillWidth(double percent, int barWidth) {
    return static_cast<int>(percent / 100.0 * barWidth);
}
