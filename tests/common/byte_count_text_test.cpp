#include "common/byte_count_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr double kKilo = 1024.0;

TEST(FormatByteCount, DividesBy1024AtMostFourTimes) {
    const std::pair<double, const wchar_t*> cases[] = {
        {0.0, L"0 B"},
        {1.0, L"1 B"},
        {1023.0, L"1023 B"},
        {1024.0, L"1.0 KB"},
        {1536.0, L"1.5 KB"},
        {kKilo * 1023.0, L"1023.0 KB"},
        {kKilo * kKilo, L"1.0 MB"},
        {kKilo * kKilo * 3.44, L"3.4 MB"},
        {std::pow(kKilo, 3), L"1.0 GB"},
        {std::pow(kKilo, 4), L"1.0 TB"},
        {std::pow(kKilo, 5), L"1024.0 TB"},
        {std::pow(kKilo, 5) * 2048.0, L"2097152.0 TB"},
        // The unit is chosen before rounding.
        {1023.6, L"1024 B"},
        {kKilo * kKilo - 1.0, L"1024.0 KB"},
    };
    for (const auto& [bytes, expected] : cases) {
        EXPECT_EQ(FormatByteCount(bytes), expected);
    }
}

TEST(FormatSpeed, IsAByteCountASecondAndZeroMegabytesForNone) {
    const std::pair<double, const wchar_t*> cases[] = {
        {0.0, L"0 MB/s"},
        {-1.0, L"0 MB/s"},
        {std::numeric_limits<double>::quiet_NaN(), L"0 MB/s"},
        {0.4, L"0 B/s"},
        {1023.0, L"1023 B/s"},
        {1024.0, L"1.0 KB/s"},
        {std::pow(kKilo, 5), L"1024.0 TB/s"},
    };
    for (const auto& [speed, expected] : cases) {
        EXPECT_EQ(FormatSpeed(speed), expected) << speed;
    }
}

}  // namespace
