#include "kit/zip/package_writer.h"

#include <zlib.h>

#include <algorithm>

#include "kit/errors.h"
#include "kit/utf8.h"
#include "kit/zip/block_compressor.h"
#include "kit/zip/block_pipeline.h"
#include "kit/zip/entry_headers.h"
#include "kit/zip/inflater.h"
#include "kit/zip/package_output.h"
#include "kit/zip/source_file.h"

namespace {

uint32_t JoinChecksums(uint32_t first, uint32_t second, uint64_t secondBytes) {
    // Its length is a long, which has 32 bits here; blocks are shorter.
    return static_cast<uint32_t>(::crc32_combine(first, second, static_cast<z_off_t>(secondBytes)));
}

class PackageWriter {
public:
    PackageWriter(const std::wstring& clientFolder, const std::vector<ClientEntry>& entries,
                  OutputFile& output)
        : clientFolder_(clientFolder), entries_(entries), output_(output) {
        results_.resize(entries.size());
    }

    // Files come in the order of the entries, each with its blocks in order.
    void Add(const PackedBlock& block) {
        WriteEmptyEntriesBefore(block.entry);
        const ClientEntry& entry = entries_[block.entry];
        if (entry.size <= kBlockBytes) {
            WriteWholeFile(block);
        } else {
            WriteBlock(entry, block);
        }
    }

    void Finish() {
        WriteEmptyEntriesBefore(entries_.size());
        const uint64_t directoryOffset = output_.Position();
        for (size_t i = 0; i < entries_.size(); ++i) {
            output_.Write(DirectoryHeader(Record(i)));
        }
        output_.Write(
            EndRecords(entries_.size(), directoryOffset, output_.Position() - directoryOffset));
        output_.Finish();
    }

private:
    struct Result {
        uint64_t headerOffset = 0;
        uint64_t packedBytes = 0;
        uint32_t checksum = 0;
        bool isStored = true;
    };

    [[nodiscard]] PackedEntry Record(size_t index) const {
        const ClientEntry& entry = entries_[index];
        const Result& result = results_[index];
        return {entry.name, entry.lastWriteTime, result.headerOffset, result.packedBytes,
                entry.size, result.checksum,     result.isStored};
    }

    // Folders and empty files.
    void WriteEmptyEntriesBefore(size_t index) {
        for (; next_ < index; ++next_) {
            const ClientEntry& entry = entries_[next_];
            if (!entry.IsFolder()) {
                // It may have got content since it was listed.
                const SourceFile unchanged(EntryPath(clientFolder_, entry), 0, entry.lastWriteTime);
            }
            results_[next_].headerOffset = output_.Position();
            output_.Write(LocalHeader(Record(next_)));
        }
    }

    void WriteWholeFile(const PackedBlock& block) {
        results_[block.entry] = {output_.Position(), block.bytes.size(), block.checksum,
                                 block.isPlain};
        output_.Write(LocalHeader(Record(block.entry)));
        output_.Write(block.bytes);
        next_ = block.entry + 1;
    }

    // A file of several blocks is written as it is while nothing in it can be compressed, and as
    // Deflate from the first block on that can.
    void WriteBlock(const ClientEntry& entry, const PackedBlock& block) {
        Result& result = results_[block.entry];
        if (unpacked_ == 0) {
            result = {output_.Position(), 0, 0, true};
            output_.Write(LocalHeader(Record(block.entry)));
            dataOffset_ = output_.Position();
        }
        const bool isLast = unpacked_ + block.unpackedBytes == entry.size;
        if (result.isStored && !block.isPlain) {
            if (unpacked_ > 0) {
                Rewrite(entry, unpacked_, result.checksum, true);
            }
            result.isStored = false;
        }
        if (block.isPlain && !result.isStored) {
            output_.Write(FrameBlock(block.bytes, isLast));
        } else {
            output_.Write(block.bytes);
        }
        result.checksum = unpacked_ == 0
                              ? block.checksum
                              : JoinChecksums(result.checksum, block.checksum, block.unpackedBytes);
        unpacked_ += block.unpackedBytes;
        if (isLast) {
            EndLargeFile(entry, block.entry);
        }
    }

    void EndLargeFile(const ClientEntry& entry, size_t index) {
        Result& result = results_[index];
        if (!result.isStored && output_.Position() - dataOffset_ >= entry.size) {
            Rewrite(entry, entry.size, result.checksum, false);
            result.isStored = true;
        }
        result.packedBytes = output_.Position() - dataOffset_;
        output_.Overwrite(result.headerOffset, LocalHeader(Record(index)));
        unpacked_ = 0;
        next_ = index + 1;
    }

    // Writes the file's first `size` bytes again, framed or as they are. Only a change of the file
    // meanwhile could give them another checksum.
    void Rewrite(const ClientEntry& entry, uint64_t size, uint32_t checksum, bool isFramed) {
        const std::wstring path = EntryPath(clientFolder_, entry);
        SourceFile file(path, entry.size, entry.lastWriteTime);
        ByteBuffer block(kBlockBytes);
        uint32_t newChecksum = 0;
        output_.GoBackTo(dataOffset_);
        for (uint64_t offset = 0; offset < size;) {
            const std::span<std::byte> part = std::span(block).first(
                static_cast<size_t>(std::min<uint64_t>(size - offset, kBlockBytes)));
            file.Read(offset, part);
            newChecksum = ContinueChecksum(newChecksum, part);
            if (isFramed) {
                output_.Write(FrameBlock(part, false));
            } else {
                output_.Write(part);
            }
            offset += part.size();
        }
        if (newChecksum != checksum) {
            throw OutsideFailure(WideToUtf8(path) +
                                 " was changed while it was packed; close the game and pack again");
        }
    }

    const std::wstring& clientFolder_;
    const std::vector<ClientEntry>& entries_;
    PackageOutput output_;
    std::vector<Result> results_;
    size_t next_ = 0;  // The first entry that is not written.
    // Of the large file that is being written.
    uint64_t dataOffset_ = 0;
    uint64_t unpacked_ = 0;
};

}  // namespace

void WritePackage(const std::wstring& clientFolder, const std::vector<ClientEntry>& entries,
                  int level, unsigned threads, OutputFile& output,
                  const std::function<void(uint64_t)>& onRead) {
    BlockPipeline pipeline(clientFolder, entries, level, threads);
    PackageWriter writer(clientFolder, entries, output);
    PackedBatch batch;
    while (pipeline.Next(batch)) {
        for (const PackedBlock& block : batch.blocks) {
            writer.Add(block);
            onRead(block.unpackedBytes);
        }
    }
    writer.Finish();
}
