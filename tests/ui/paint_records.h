#pragma once

#include <functional>
#include <string>
#include <vector>

// What `paint` asks GDI+ to draw; it is drawn as usual. Pixels cannot tell these sizes: without the
// right font on the machine another one is drawn, and smoothing hides a pen's width.

// Each text, in order, with its font as it was made:
// "Ready. | Segoe UI 15 px bold | 114,356 632x24 center, top, word ellipsis".
// A text without a format has nothing behind its area.
std::vector<std::string> RecordTexts(const std::function<void()>& paint);

// Each outline and line, in order, with its pen as it was made: "rectangle 48,72 764x310, 1 px",
// "lines from 8,16, 2.2 px".
std::vector<std::string> RecordOutlines(const std::function<void()>& paint);
