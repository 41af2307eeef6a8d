#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "bench_parts/failed_job.h"
#include "bench_parts/fault_server_client.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/waiting.h"
#include "common/files.h"
#include "job/progress/job_progress.h"
#include "package/http_download.h"
#include "package/winhttp_api.h"

namespace bench {

inline constexpr wchar_t kWinHttp[] = L"winhttp.dll";
inline constexpr size_t kMebibyte = 0x100000;

inline BOOL ReadRealData(HINTERNET request, LPVOID buffer, DWORD size, LPDWORD bytesRead) {
    static const auto real =
        RealFunction<decltype(&::WinHttpReadData)>(kWinHttp, "WinHttpReadData");
    return real(request, buffer, size, bytesRead);
}

// A job that has just started, a server, and a folder for the package.
class DownloadTest : public testing::Test, protected FailedJob {
protected:
    void SetUp() override {
        ClearForJobStart(JobKind::Repair);
    }
    void TearDown() override {
        resetJobProgress();
    }

    bool Download(std::wstring_view behavior) {
        return DownloadPackage(server_.Url(behavior), archive_);
    }

    std::string SavedBytes() const {
        return ReadFile(archive_);
    }

    bool IsSaved() const {
        return ::GetFileAttributesW(archive_.c_str()) != INVALID_FILE_ATTRIBUTES;
    }

    bool WaitForFileSize(uint64_t size) const {
        return Await([&] { return FileSize(archive_).value_or(0) >= size; });
    }

    // The job continues or was stopped silently.
    static void ExpectNoFailure() {
        const JobState state = snapshot();
        EXPECT_EQ(state.stage, JobStage::Downloading);
        EXPECT_EQ(state.errorMessage, L"");
        EXPECT_FALSE(jobProgress.failed);
        EXPECT_TRUE(jobProgress.running);
    }

    ScratchFolder scratch_;
    FaultServer server_;
    const std::filesystem::path archive_ = scratch_.Path() / L"it's \u4FEE\u7406 p\u00E4ck.zip";
};

}  // namespace bench
