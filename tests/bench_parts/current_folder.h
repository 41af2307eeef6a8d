#pragma once

#include <filesystem>

namespace bench {

// Makes a folder the current one as long as the object lives.
class CurrentFolder {
public:
    explicit CurrentFolder(const std::filesystem::path& folder)
        : former_(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }
    ~CurrentFolder() {
        std::filesystem::current_path(former_);
    }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

private:
    std::filesystem::path former_;
};

}  // namespace bench
