#pragma once

#include <chrono>
#include <thread>

namespace bench {

// Asks `find` again and again until it finds something or a minute has passed, which is far longer
// than anything takes; gives its last answer. For what another process or thread does.
template <typename Find>
auto Await(Find find) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    auto found = find();
    while (!found && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        found = find();
    }
    return found;
}

}  // namespace bench
