#include "kit/zip/block_compressor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "kit/zip/inflater.h"

namespace {

ByteBuffer Text(size_t size) {
    ByteBuffer bytes(size);
    std::mt19937 random(1);
    for (std::byte& each : bytes) {
        each = static_cast<std::byte>('a' + random() % 8);
    }
    return bytes;
}

// Blocks of a file, compressed in the given order by compressors of their own, put together.
ByteBuffer CompressBlocks(ByteView file, size_t blockBytes, bool isReversed) {
    const size_t count = (file.size() + blockBytes - 1) / blockBytes;
    std::vector<ByteBuffer> parts(count);
    for (size_t i = 0; i < count; ++i) {
        const size_t block = isReversed ? count - 1 - i : i;
        const size_t begin = block * blockBytes;
        const size_t before = std::min(begin, kDictionaryBytes);
        BlockCompressor compressor(6);
        const ByteView packed =
            compressor.Compress(file.subspan(begin, std::min(blockBytes, file.size() - begin)),
                                file.subspan(begin - before, before), block + 1 == count);
        parts[block].assign(packed.begin(), packed.end());
    }
    ByteBuffer all;
    for (const ByteBuffer& part : parts) {
        AppendBytes(all, part);
    }
    return all;
}

TEST(BlockCompressor, MakesOneStreamWhateverTheOrder) {
    const ByteBuffer file = Text(3 * 70'000 + 5);
    const ByteBuffer packed = CompressBlocks(file, 70'000, false);
    EXPECT_EQ(packed, CompressBlocks(file, 70'000, true));
    Inflater inflater;
    inflater.Begin(file.size());
    EXPECT_TRUE(inflater.Take(packed));
    EXPECT_TRUE(inflater.IsComplete());
    EXPECT_EQ(inflater.Size(), file.size());
    EXPECT_EQ(inflater.Checksum(), ContinueChecksum(0, file));
}

TEST(BlockCompressor, StartsAfreshWithEveryBlock) {
    const ByteBuffer block = Text(20'000);
    BlockCompressor compressor(6);
    const ByteView first = compressor.Compress(block, {}, true);
    const ByteBuffer expected(first.begin(), first.end());
    for (const bool isLast : {false, true}) {
        static_cast<void>(compressor.Compress(Text(100), Text(200), isLast));
        const ByteView again = compressor.Compress(block, {}, true);
        EXPECT_EQ(ByteBuffer(again.begin(), again.end()), expected);
    }
}

TEST(BlockCompressor, UsesTheBlockBeforeAsDictionary) {
    const ByteBuffer block = Text(20'000);
    BlockCompressor compressor(6);
    const size_t alone = compressor.Compress(block, {}, true).size();
    EXPECT_LT(compressor.Compress(block, block, true).size(), alone / 10);
}

TEST(BlockCompressor, HasRoomForWhatCannotBeCompressed) {
    ByteBuffer noise(kBlockBytes);
    std::mt19937 random(2);
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<std::byte>(random()); });
    for (const int level : {1, 6, 9}) {
        BlockCompressor compressor(level);
        for (const bool isLast : {false, true}) {
            const ByteView packed = compressor.Compress(noise, {}, isLast);
            EXPECT_GT(packed.size(), noise.size());
            Inflater inflater;
            inflater.Begin(noise.size());
            EXPECT_TRUE(inflater.Take(packed));
            EXPECT_EQ(inflater.Size(), noise.size());
            EXPECT_EQ(inflater.IsComplete(), isLast);
        }
    }
}

TEST(FrameBlock, IsAPartOfAStream) {
    const ByteBuffer block = Text(70'000);
    ByteBuffer packed = FrameBlock(block, false);
    EXPECT_EQ(packed.size(), FramedSize(block.size()));
    AppendBytes(packed, FrameBlock(ByteView(block).first(1), true));
    Inflater inflater;
    inflater.Begin(block.size() + 1);
    EXPECT_TRUE(inflater.Take(packed));
    EXPECT_TRUE(inflater.IsComplete());
    EXPECT_EQ(inflater.Size(), block.size() + 1);
}

TEST(Inflater, StopsAtTheLargestSize) {
    const ByteBuffer zeros(kBlockBytes);
    BlockCompressor compressor(9);
    const ByteView packed = compressor.Compress(zeros, {}, true);
    Inflater inflater;
    inflater.Begin(100'000);
    EXPECT_FALSE(inflater.Take(packed));
    EXPECT_TRUE(inflater.IsTooLarge());
    EXPECT_LT(inflater.Size(), 200'000U);
}

TEST(Inflater, TellsWhetherEverythingWasUsed) {
    BlockCompressor compressor(6);
    ByteBuffer packed;
    AppendBytes(packed, compressor.Compress(Text(1000), {}, true));
    AppendU8(packed, 0);
    Inflater inflater;
    inflater.Begin(1000);
    EXPECT_TRUE(inflater.Take(packed));
    EXPECT_FALSE(inflater.IsComplete());
}

}  // namespace
