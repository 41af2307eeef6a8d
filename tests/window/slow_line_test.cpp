// Closing the tool while a download crawls.

#include <gmock/gmock.h>

#include <chrono>

#include "bench_parts/message_boxes.h"
#include "bench_parts/waiting.h"
#include "window/tool_test.h"

namespace {

using Clock = std::chrono::steady_clock;
using testing::IsEmpty;

class SlowLine : public ToolTest {
protected:
    // The size of the package in the temp folder, 0 before there is one.
    [[nodiscard]] uint64_t ReceivedBytes() const {
        for (const std::wstring& name : TempFolder()) {
            std::error_code ignored;
            const auto size =
                std::filesystem::file_size(std::filesystem::temp_directory_path() / name, ignored);
            if (name.ends_with(L".zip") && !ignored) {
                return size;
            }
        }
        return 0;
    }
};

// Longer than the time between two bytes and the end of the tool together.
constexpr std::chrono::seconds kPatience{2};

// A byte a second, so that a read of 4 KiB would wait for an hour.
TEST_F(SlowLine, DoesNotHoldUpClosing) {
    Set("archiveUrl", server_.Url(L"drip/1000000/1/1000"));
    StartRepair();
    ASSERT_TRUE(bench::Await([this] { return ReceivedBytes() >= 1; }));
    Window().PostClose();
    bench::Answer(bench::AwaitBox(L"Close Repair Tool"), IDYES);
    const Clock::time_point answered = Clock::now();
    EXPECT_EQ(Window().AwaitExitCode(), 0U);
    EXPECT_LT(Clock::now() - answered, kPatience);
    EXPECT_THAT(TempFolder(), IsEmpty());
    EXPECT_THAT(ClientContents(), IsEmpty());
}

}  // namespace
