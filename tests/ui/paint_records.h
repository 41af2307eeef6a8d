#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

// What `paint` asks GDI+ for; everything is drawn as usual. Pixels cannot show it: GDI+ replaces a
// missing font, and smoothing hides a pen's width.

namespace bench {

// Each text, in order, with its font as it was made:
// "Ready. | Segoe UI 15 px bold | 114,356 632x24 center, top, word ellipsis".
// Without a format, nothing follows the area.
std::vector<std::string> RecordTexts(const std::function<void()>& paint);

// Each outline and line, in order, with its pen as it was made: "rectangle 48,72 764x310, 1 px",
// "lines from 8,16, 2.2 px".
std::vector<std::string> RecordOutlines(const std::function<void()>& paint);

// How many objects of each kind were made, and how many of them are left.
struct ObjectCount {
    int made = 0;
    int left = 0;
};
std::map<std::string, ObjectCount> CountObjects(const std::function<void()>& paint);

}  // namespace bench
