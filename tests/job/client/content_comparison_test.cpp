#include "job/client/content_comparison.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "bench_parts/file_hooks.h"
#include "bench_parts/scratch_folder.h"

namespace fs = std::filesystem;

namespace {

constexpr uint64_t kFourGiB = uint64_t{4} << 30;

// Bytes that repeat neither with a chunk nor with any power of two.
std::string Bytes(size_t count) {
    std::string bytes(count, '\0');
    for (size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<char>('a' + i % 23);
    }
    return bytes;
}

class ContentComparison : public testing::Test {
protected:
    fs::path Source() const {
        return scratch_.Path() / L"source.bin";
    }
    fs::path Target() const {
        return scratch_.Path() / L"target.bin";
    }
    void WriteBoth(std::string_view sourceBytes, std::string_view targetBytes) const {
        bench::WriteFile(Source(), sourceBytes);
        bench::WriteFile(Target(), targetBytes);
    }
    bool AreSame() const {
        return FilesHaveSameContent(Source(), Target());
    }

private:
    bench::ScratchFolder scratch_;
};

}  // namespace

TEST_F(ContentComparison, TellsEqualFilesFromFilesThatDifferInOneByte) {
    constexpr size_t kChunk = kComparisonChunkBytes;
    for (const size_t size :
         {size_t{1}, size_t{2}, kChunk - 1, kChunk, kChunk + 1, 2 * kChunk, 2 * kChunk + 1}) {
        SCOPED_TRACE(size);
        const std::string bytes = Bytes(size);
        WriteBoth(bytes, bytes);
        EXPECT_TRUE(AreSame());
        for (const size_t position :
             {size_t{0}, size / 2, kChunk - 1, kChunk, 2 * kChunk - 1, size - 1}) {
            if (position < size) {
                std::string changed = bytes;
                changed[position] = '!';
                bench::WriteFile(Target(), changed);
                EXPECT_FALSE(AreSame()) << "changed at " << position;
            }
        }
        bench::WriteFile(Target(), bytes.substr(1));
        EXPECT_FALSE(AreSame()) << "one byte missing";
        bench::WriteFile(Target(), bytes + "a");
        EXPECT_FALSE(AreSame()) << "one byte too many";
    }
}

TEST_F(ContentComparison, TakesEmptyFilesForEqual) {
    WriteBoth("", "");
    EXPECT_TRUE(AreSame());
}

// The reads are faked, because real ones of that many bytes take seconds.
TEST_F(ContentComparison, ComparesBeyondFourGiB) {
    WriteBoth("", "");
    for (const uint64_t changedByte : {kFourGiB + 1, kFourGiB + 2}) {
        ComparisonBuffers buffers;
        std::map<HANDLE, uint64_t> positions;
        const auto hook = bench::HookCall<decltype(&::ReadFile)>(
            bench::kKernel32, "ReadFile",
            [&](HANDLE file, LPVOID buffer, DWORD byteCount, LPDWORD bytesRead, auto) -> BOOL {
                uint64_t& position = positions[file];
                *bytesRead =
                    static_cast<DWORD>(std::min<uint64_t>(byteCount, kFourGiB + 2 - position));
                if (positions.size() == 2 && changedByte - position < *bytesRead &&
                    file == positions.rbegin()->first) {
                    static_cast<char*>(buffer)[changedByte - position] = 'x';
                }
                position += *bytesRead;
                return TRUE;
            });
        const bool isInFile = changedByte < kFourGiB + 2;
        ComparedFile source = OpenForComparison(Source());
        ComparedFile target = OpenForComparison(Target());
        source.facts.size = target.facts.size = kFourGiB + 2;
        EXPECT_EQ(HaveSameContent(source, target, buffers), !isInFile) << changedByte - kFourGiB;
    }
}

TEST_F(ContentComparison, SizesThatAgreeInTheirLower32BitsDiffer) {
    bench::WriteFile(Source(), "");
    bench::MakeSparseFile(Target(), kFourGiB);
    EXPECT_FALSE(AreSame());
}

TEST_F(ContentComparison, OnlyFilesCanBeTheSame) {
    bench::WriteFile(Source(), "");
    fs::create_directory(Target());
    const fs::path missing = Source().parent_path() / L"missing";
    for (const auto& [source, target] : {std::pair{Source(), missing},
                                         {missing, Source()},
                                         {missing, missing},
                                         {Source(), Target()},
                                         {Target(), Source()},
                                         {Target(), Target()},
                                         {Source(), fs::path()},
                                         {Source(), Source().parent_path() / L"a*b"}}) {
        EXPECT_FALSE(FilesHaveSameContent(source, target)) << source << target;
    }
    EXPECT_TRUE(FilesHaveSameContent(Source(), Source()));
}

TEST_F(ContentComparison, AFileThatCannotBeOpenedIsDifferent) {
    for (const char* bytes : {"same", ""}) {
        WriteBoth(bytes, bytes);
        for (const fs::path& file : {Target(), Source()}) {
            const bench::OpenElsewhere opened(file, 0);
            EXPECT_FALSE(AreSame()) << file;
        }
        EXPECT_TRUE(AreSame());
    }
}

TEST_F(ContentComparison, ComparesReadOnlyFilesThatOthersReadOrWrite) {
    WriteBoth("same", "same");
    const bench::OpenElsewhere reader(Source(), FILE_SHARE_READ);
    const bench::OpenElsewhere writer(Target(), FILE_SHARE_READ, GENERIC_WRITE);
    bench::SetReadOnly(Source(), true);
    bench::SetReadOnly(Target(), true);
    EXPECT_TRUE(AreSame());
}

TEST_F(ContentComparison, ReadsThatDeliverLessThanAskedAreContinued) {
    std::string bytes = Bytes(kComparisonChunkBytes + 1000);
    WriteBoth(bytes, bytes);
    // Different lengths in turn, so that the two files are never read in step.
    int readCount = 0;
    const auto hook = bench::HookRead([&](DWORD& byteCount) -> DWORD {
        byteCount = std::min<DWORD>(byteCount, ++readCount % 2 == 0 ? 70'000 : 90'001);
        return ERROR_SUCCESS;
    });
    EXPECT_TRUE(AreSame());
    bytes.back() = '!';
    bench::WriteFile(Target(), bytes);
    EXPECT_FALSE(AreSame());
}

// Two files of two chunks: four reads, of both files in turn.
TEST_F(ContentComparison, AReadErrorIsADifference) {
    const std::string bytes = Bytes(2 * kComparisonChunkBytes);
    WriteBoth(bytes, bytes);
    for (const auto& [first, last] : {std::pair{1, 1}, {2, 2}, {3, 3}, {4, 4}, {1, 4}, {3, 4}}) {
        int readCount = 0;
        const auto hook = bench::HookRead([&, from = first, to = last](DWORD&) -> DWORD {
            ++readCount;
            return readCount >= from && readCount <= to ? ERROR_CRC : ERROR_SUCCESS;
        });
        EXPECT_FALSE(AreSame()) << "reads " << first << " to " << last;
    }
}

TEST_F(ContentComparison, ReadsBothFilesInPiecesOfOneMiB) {
    const std::string bytes = Bytes(3 * kComparisonChunkBytes);
    WriteBoth(bytes, bytes);
    std::vector<DWORD> byteCounts;
    const auto hook = bench::HookRead([&](DWORD& byteCount) -> DWORD {
        byteCounts.push_back(byteCount);
        return ERROR_SUCCESS;
    });
    EXPECT_TRUE(AreSame());
    EXPECT_EQ(byteCounts, std::vector<DWORD>(6, 1U << 20));
}

TEST_F(ContentComparison, AFileWithoutFactsIsDifferent) {
    for (const char* bytes : {"same", ""}) {
        WriteBoth(bytes, bytes);
        for (const bool failsForSource : {true, false}) {
            int callCount = 0;
            const auto hook = bench::HookCall<decltype(&::GetFileSizeEx)>(
                L"kernel32.dll", "GetFileSizeEx", [&](HANDLE, PLARGE_INTEGER size) -> BOOL {
                    size->QuadPart = static_cast<LONGLONG>(std::string_view(bytes).size());
                    return (++callCount == 1) != failsForSource;
                });
            EXPECT_FALSE(AreSame()) << bytes << failsForSource;
        }
        EXPECT_TRUE(AreSame());
    }
}

TEST_F(ContentComparison, BuffersLeaveNoTraceOfTheFileBefore) {
    ComparisonBuffers buffers;
    const auto areSame = [&] {
        return HaveSameContent(OpenForComparison(Source()), OpenForComparison(Target()), buffers);
    };
    WriteBoth("aaaaaaaa", "aaaaaaaa");
    EXPECT_TRUE(areSame());
    WriteBoth("aab", "aac");
    EXPECT_FALSE(areSame());
    WriteBoth("ab", "ab");
    EXPECT_TRUE(areSame());
    int readCount = 0;
    const auto hook = bench::HookRead([&](DWORD& byteCount) -> DWORD {
        byteCount = ++readCount == 2 ? 0 : byteCount;  // The target has been cut off since.
        return ERROR_SUCCESS;
    });
    EXPECT_FALSE(areSame());
}
