#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "bench_parts/scratch_folder.h"
#include "extract/folder_flattening.h"
#include "job/progress/job_progress.h"

namespace bench {

// A reset record, and a staging folder with room beside it.
class Flattening : public testing::Test {
protected:
    Flattening() {
        resetJobProgress();
        std::filesystem::create_directories(Staging());
    }
    ~Flattening() override {
        resetJobProgress();
    }
    std::filesystem::path Staging() const {
        return scratch_.Path() / L"staging";
    }
    std::filesystem::path Beside(const wchar_t* name) const {
        return scratch_.Path() / name;
    }
    // A reset record and an empty staging folder again.
    void Empty() const {
        resetJobProgress();
        std::filesystem::remove_all(Staging());
        std::filesystem::create_directories(Staging());
    }
    // Flattens; the failure message, empty for a success.
    std::wstring MessageOfFlattening() const {
        const bool succeeded = FlattenSingleTopFolder(Staging());
        std::wstring message = snapshot().errorMessage;
        EXPECT_EQ(succeeded, message.empty());
        return message;
    }

private:
    ScratchFolder scratch_;
};

}  // namespace bench
