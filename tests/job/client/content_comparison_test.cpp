#include "job/client/content_comparison.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "bench_parts/scratch_folder.h"
#include "job/client/file_hooks.h"

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

void PatchByte(const fs::path& path, uint64_t position, char value) {
    const auto file = AdoptHandle<KernelHandle>(
        ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(file);
    LARGE_INTEGER distance{};
    distance.QuadPart = static_cast<LONGLONG>(position);
    ASSERT_TRUE(::SetFilePointerEx(file.get(), distance, nullptr, FILE_BEGIN));
    DWORD written = 0;
    ASSERT_TRUE(::WriteFile(file.get(), &value, 1, &written, nullptr));
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

class ContentComparisonAtSize : public ContentComparison,
                                public testing::WithParamInterface<size_t> {};

INSTANTIATE_TEST_SUITE_P(Sizes, ContentComparisonAtSize,
                         testing::Values(1, 2, 4096, kComparisonChunkBytes - 1,
                                         kComparisonChunkBytes, kComparisonChunkBytes + 1,
                                         2 * kComparisonChunkBytes, 2 * kComparisonChunkBytes + 1));

}  // namespace

TEST_P(ContentComparisonAtSize, EqualFilesAreTheSame) {
    const std::string bytes = Bytes(GetParam());
    WriteBoth(bytes, bytes);
    EXPECT_TRUE(AreSame());
}

TEST_P(ContentComparisonAtSize, OneChangedByteMakesTheDifference) {
    const std::string bytes = Bytes(GetParam());
    for (const size_t position :
         {size_t{0}, bytes.size() / 2, kComparisonChunkBytes - 1, kComparisonChunkBytes,
          2 * kComparisonChunkBytes - 1, bytes.size() - 1}) {
        if (position < bytes.size()) {
            std::string changed = bytes;
            changed[position] = '!';
            WriteBoth(bytes, changed);
            EXPECT_FALSE(AreSame()) << "changed at " << position;
        }
    }
}

TEST_P(ContentComparisonAtSize, OneMissingOrAdditionalByteMakesTheDifference) {
    const std::string bytes = Bytes(GetParam());
    WriteBoth(bytes, bytes.substr(0, bytes.size() - 1));
    EXPECT_FALSE(AreSame());
    WriteBoth(bytes, bytes + "a");
    EXPECT_FALSE(AreSame());
}

TEST_F(ContentComparison, TwoEmptyFilesAreTheSame) {
    WriteBoth("", "");
    EXPECT_TRUE(AreSame());
}

TEST_F(ContentComparison, AnEmptyFileDiffersFromOneOfOneByte) {
    WriteBoth("", "x");
    EXPECT_FALSE(AreSame());
    WriteBoth("x", "");
    EXPECT_FALSE(AreSame());
}

TEST_F(ContentComparison, ComparesBeyondFourGiB) {
    bench::MakeSparseFile(Source(), kFourGiB + 2);
    bench::MakeSparseFile(Target(), kFourGiB + 2);
    PatchByte(Target(), 0, 'x');
    EXPECT_FALSE(AreSame()) << "the first byte";
    PatchByte(Target(), 0, '\0');
    PatchByte(Target(), kFourGiB, 'x');
    EXPECT_FALSE(AreSame()) << "the first byte beyond";
    PatchByte(Source(), kFourGiB, 'x');
    PatchByte(Target(), kFourGiB - 1, 'x');
    EXPECT_FALSE(AreSame()) << "the last byte before";
    PatchByte(Target(), kFourGiB - 1, '\0');
    PatchByte(Target(), kFourGiB + 1, 'x');
    EXPECT_FALSE(AreSame()) << "the last byte";
    PatchByte(Source(), kFourGiB + 1, 'x');
    EXPECT_TRUE(AreSame());
}

TEST_F(ContentComparison, SizesThatAgreeInTheirLower32BitsDiffer) {
    bench::WriteFile(Source(), "");
    bench::MakeSparseFile(Target(), kFourGiB);
    EXPECT_FALSE(AreSame());
}

TEST_F(ContentComparison, AMissingFileIsDifferent) {
    bench::WriteFile(Source(), "x");
    EXPECT_FALSE(AreSame());
    EXPECT_FALSE(FilesHaveSameContent(Target(), Source()));
}

TEST_F(ContentComparison, AFolderIsDifferent) {
    bench::WriteFile(Source(), "");
    fs::create_directory(Target());
    EXPECT_FALSE(AreSame());
    EXPECT_FALSE(FilesHaveSameContent(Target(), Source()));
    EXPECT_FALSE(FilesHaveSameContent(Target(), Target()));
}

TEST_F(ContentComparison, AnImpossibleNameIsDifferent) {
    bench::WriteFile(Source(), "");
    EXPECT_FALSE(FilesHaveSameContent(Source(), L""));
    EXPECT_FALSE(FilesHaveSameContent(Source(), Source().parent_path() / L"a*b"));
}

TEST_F(ContentComparison, AFileIsTheSameAsItself) {
    bench::WriteFile(Source(), "x");
    EXPECT_TRUE(FilesHaveSameContent(Source(), Source()));
}

TEST_F(ContentComparison, AFileThatCannotBeOpenedIsDifferent) {
    WriteBoth("same", "same");
    {
        const bench::OpenElsewhere opened(Target(), 0);
        EXPECT_FALSE(AreSame());
    }
    {
        const bench::OpenElsewhere opened(Source(), 0);
        EXPECT_FALSE(AreSame());
    }
    EXPECT_TRUE(AreSame());
}

TEST_F(ContentComparison, AnEmptyFileThatCannotBeOpenedIsDifferentToo) {
    WriteBoth("", "");
    const bench::OpenElsewhere opened(Target(), 0);
    EXPECT_FALSE(AreSame());
}

TEST_F(ContentComparison, ComparesFilesThatOthersReadOrWrite) {
    WriteBoth("same", "same");
    const bench::OpenElsewhere reader(Source(), FILE_SHARE_READ);
    const bench::OpenElsewhere writer(Target(), FILE_SHARE_READ, GENERIC_WRITE);
    EXPECT_TRUE(AreSame());
}

TEST_F(ContentComparison, ReadOnlyFilesCompareLikeOthers) {
    WriteBoth("same", "same");
    bench::SetReadOnly(Source(), true);
    bench::SetReadOnly(Target(), true);
    EXPECT_TRUE(AreSame());
}

TEST_F(ContentComparison, ReadsThatDeliverLessThanAskedAreContinued) {
    const std::string bytes = Bytes(kComparisonChunkBytes + 1000);
    std::string changed = bytes;
    changed.back() = '!';
    WriteBoth(bytes, bytes);
    // Different lengths in turn, so that the two files are never read in step.
    int readCount = 0;
    const bench::ReadHook hook([&](HANDLE, DWORD& byteCount) -> DWORD {
        byteCount = std::min<DWORD>(byteCount, ++readCount % 2 == 0 ? 70'000 : 90'001);
        return ERROR_SUCCESS;
    });
    EXPECT_TRUE(AreSame());
    WriteBoth(bytes, changed);
    EXPECT_FALSE(AreSame());
}

TEST_F(ContentComparison, AReadErrorInOneFileIsADifference) {
    const std::string bytes = Bytes(3 * kComparisonChunkBytes);
    WriteBoth(bytes, bytes);
    for (const int failingRead : {1, 2, 3, 4, 5, 6}) {
        int readCount = 0;
        const bench::ReadHook hook([&](HANDLE, DWORD&) -> DWORD {
            return ++readCount == failingRead ? ERROR_CRC : ERROR_SUCCESS;
        });
        EXPECT_FALSE(AreSame()) << "read " << failingRead;
    }
}

TEST_F(ContentComparison, AReadErrorAtTheSamePlaceInBothFilesIsADifference) {
    const std::string bytes = Bytes(kComparisonChunkBytes + 1);
    WriteBoth(bytes, bytes);
    for (const int lastGoodRead : {0, 2}) {
        int readCount = 0;
        const bench::ReadHook hook([&](HANDLE, DWORD&) -> DWORD {
            return ++readCount > lastGoodRead ? ERROR_CRC : ERROR_SUCCESS;
        });
        EXPECT_FALSE(AreSame()) << "after read " << lastGoodRead;
    }
}

TEST_F(ContentComparison, ReadsBothFilesInPiecesOfOneMiB) {
    const std::string bytes = Bytes(3 * kComparisonChunkBytes);
    WriteBoth(bytes, bytes);
    std::vector<DWORD> byteCounts;
    const bench::ReadHook hook([&](HANDLE, DWORD& byteCount) -> DWORD {
        byteCounts.push_back(byteCount);
        return ERROR_SUCCESS;
    });
    EXPECT_TRUE(AreSame());
    EXPECT_EQ(byteCounts, std::vector<DWORD>(6, kComparisonChunkBytes));
}

TEST_F(ContentComparison, BuffersLeaveNoTraceOfTheFileBefore) {
    ComparisonBuffers buffers;
    WriteBoth("aaaaaaaa", "aaaaaaaa");
    EXPECT_TRUE(HaveSameBytes(Source(), Target(), 8, buffers));
    WriteBoth("aab", "aac");
    EXPECT_FALSE(HaveSameBytes(Source(), Target(), 3, buffers));
    WriteBoth("ab", "ab");
    EXPECT_TRUE(HaveSameBytes(Source(), Target(), 2, buffers));
}
