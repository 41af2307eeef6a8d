#pragma once

#include <memory>

namespace bench {

// As long as the object lives, this program's own file calls refuse long paths as Windows does
// without its switch for them, which is off by default: 260 characters, for a folder to be created
// 248, unless the path has the extended form "\\?\". That form they take literally. (Wine has no
// limit.) What a test prepares and checks at such paths belongs before and after.
class PathLimit {
public:
    PathLimit();
    ~PathLimit();
    PathLimit(const PathLimit&) = delete;
    PathLimit& operator=(const PathLimit&) = delete;

private:
    struct Hooks;
    std::unique_ptr<Hooks> hooks_;
};

}  // namespace bench
