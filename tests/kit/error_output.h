#pragma once

#include <filesystem>
#include <string>

#include "bench_parts/scratch_folder.h"
#include "common/files.h"

namespace kit_test {

// Redirects standard error to a file for its own lifetime. Affects consoles created after it.
class ErrorOutput {
public:
    explicit ErrorOutput(const std::filesystem::path& path)
        : path_(path), file_(CreateForWriting(path, FILE_SHARE_READ)) {
        ::SetStdHandle(STD_ERROR_HANDLE, file_.get());
    }
    ~ErrorOutput() {
        ::SetStdHandle(STD_ERROR_HANDLE, former_);
    }
    ErrorOutput(const ErrorOutput&) = delete;
    ErrorOutput& operator=(const ErrorOutput&) = delete;

    // What was written so far.
    [[nodiscard]] std::string Text() const {
        return bench::ReadFile(path_);
    }

private:
    HANDLE former_ = ::GetStdHandle(STD_ERROR_HANDLE);
    std::filesystem::path path_;
    KernelHandle file_;
};

}  // namespace kit_test
