#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

// Keeps many short texts with next to no overhead for each.
class TextStorage {
public:
    // A copy that lives as long as this object.
    std::string_view Keep(std::string_view text) {
        if (text.size() > free_) {
            const size_t size = std::max(kBlockBytes, text.size());
            blocks_.push_back(std::make_unique_for_overwrite<char[]>(size));
            next_ = blocks_.back().get();
            free_ = size;
        }
        if (text.empty()) {
            return {};
        }
        char* const copy = next_;
        std::memcpy(copy, text.data(), text.size());
        next_ += text.size();
        free_ -= text.size();
        return {copy, text.size()};
    }

private:
    static constexpr size_t kBlockBytes = 0x40000;

    std::vector<std::unique_ptr<char[]>> blocks_;
    char* next_ = nullptr;
    size_t free_ = 0;
};
