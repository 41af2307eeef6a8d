#include "ui/status_text.h"

#include "common/byte_count_text.h"

namespace {

constexpr wchar_t kGap[] = L"  ";

}  // namespace

std::wstring StatusText(const JobState& state) {
    std::wstring text = state.statusLine.empty() ? L"Ready." : state.statusLine;
    if (state.stage == JobStage::Downloading) {
        text += kGap + FormatSpeed(state.bytesPerSecond);
    } else if (state.stage == JobStage::Finishing && state.filesTotal > 0) {
        text += kGap + std::to_wstring(state.filesDone) + L"/" + std::to_wstring(state.filesTotal) +
                L" files";
    }
    return text;
}
