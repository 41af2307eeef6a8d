#include "kit/zip/entry_headers.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr uint64_t kSecond = 10'000'000;
constexpr uint64_t k1970 = 116'444'736'000'000'000;

TEST(UnixTime, IsClampedToWhatAllProgramsRead) {
    EXPECT_EQ(UnixTime(k1970), 0U);
    EXPECT_EQ(UnixTime(k1970 + kSecond - 1), 0U);
    EXPECT_EQ(UnixTime(k1970 - 1), 0U);
    EXPECT_EQ(UnixTime(0), 0U);
    EXPECT_EQ(UnixTime(k1970 + 1'000'000'001 * kSecond), 1'000'000'001U);
    EXPECT_EQ(UnixTime(k1970 + 0x7FFF'FFFF * kSecond), 0x7FFF'FFFFU);
    EXPECT_EQ(UnixTime(k1970 + 0x8000'0000 * kSecond), 0x7FFF'FFFFU);
    EXPECT_EQ(UnixTime(std::numeric_limits<uint64_t>::max()), 0x7FFF'FFFFU);
}

TEST(DosTime, IsUtcInEvenSecondsFrom1980To2107) {
    // 2001-09-09 01:46:41
    EXPECT_EQ(DosTime(k1970 + 1'000'000'001 * kSecond),
              (21U << 25) | (9U << 21) | (9U << 16) | (1U << 11) | (46U << 5) | 20U);
    constexpr uint32_t kEarliest = (1U << 21) | (1U << 16);
    constexpr uint64_t k1980 = k1970 + 315'532'800 * kSecond;
    EXPECT_EQ(DosTime(k1980), kEarliest);
    EXPECT_EQ(DosTime(k1980 - 1), kEarliest);
    EXPECT_EQ(DosTime(0), kEarliest);
    constexpr uint32_t kLatest =
        (127U << 25) | (12U << 21) | (31U << 16) | (23U << 11) | (59U << 5) | 29U;
    constexpr uint64_t k2108 = k1970 + 4'354'819'200 * kSecond;
    EXPECT_EQ(DosTime(k2108 - 1), kLatest);
    EXPECT_EQ(DosTime(k2108), kLatest);
    EXPECT_EQ(DosTime(std::numeric_limits<uint64_t>::max()), kLatest);
}

PackedEntry Entry() {
    PackedEntry entry;
    entry.name = "a.txt";
    entry.lastWriteTime = k1970;
    return entry;
}

// The lengths tell whether the ZIP64 fields are there.
TEST(EntryHeaders, HaveZip64FieldsOnlyWhereNeeded) {
    constexpr uint64_t kMostPlain = 0xFFFF'FFFE;
    constexpr size_t kNameAndTime = 5 + 9;
    PackedEntry entry = Entry();
    entry.unpackedBytes = entry.packedBytes = entry.headerOffset = kMostPlain;
    EXPECT_EQ(LocalHeader(entry).size(), 30 + kNameAndTime);
    EXPECT_EQ(DirectoryHeader(entry).size(), 46 + kNameAndTime);
    entry.headerOffset = kMostPlain + 1;
    EXPECT_EQ(LocalHeader(entry).size(), 30 + kNameAndTime);
    EXPECT_EQ(DirectoryHeader(entry).size(), 46 + kNameAndTime + 4 + 8);
    entry.unpackedBytes = kMostPlain + 1;
    EXPECT_EQ(LocalHeader(entry).size(), 30 + kNameAndTime + 4 + 16);
    EXPECT_EQ(DirectoryHeader(entry).size(), 46 + kNameAndTime + 4 + 16);
    entry.packedBytes = kMostPlain + 1;
    EXPECT_EQ(DirectoryHeader(entry).size(), 46 + kNameAndTime + 4 + 24);
}

TEST(EndRecords, HaveZip64RecordsOnlyWhereNeeded) {
    EXPECT_EQ(EndRecords(0xFFFE, 0xFFFF'FFFE, 0xFFFF'FFFE).size(), 22U);
    EXPECT_EQ(EndRecords(0xFFFF, 0, 0).size(), 22U + 56 + 20);
    EXPECT_EQ(EndRecords(1, 0xFFFF'FFFF, 0).size(), 22U + 56 + 20);
    EXPECT_EQ(EndRecords(1, 0, 0xFFFF'FFFF).size(), 22U + 56 + 20);
}

}  // namespace
