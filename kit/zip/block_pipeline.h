#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "kit/pe/byte_access.h"
#include "kit/zip/client_listing.h"

// A file or one block of a large file, read and compressed.
struct PackedBlock {
    size_t entry = 0;
    uint64_t unpackedBytes = 0;
    uint32_t checksum = 0;  // Of the unpacked bytes.
    bool isPlain = false;   // Compressing gains nothing: `bytes` are the unpacked ones.
    ByteView bytes;
};

// Blocks that follow each other and together have at most kBlockBytes.
struct PackedBatch {
    std::vector<PackedBlock> blocks;
    ByteBuffer bytes;  // What the blocks refer to.
};

// Reads and compresses the files of a client with several threads, and gives the results in the
// order of the entries. At most a few blocks for each thread are in memory.
class BlockPipeline {
public:
    // `entries` must outlive this object and stay as they are. Folders and empty files are left
    // out.
    // Throws std::system_error when a thread cannot be started.
    BlockPipeline(std::wstring clientFolder, const std::vector<ClientEntry>& entries, int level,
                  unsigned threads);
    // Stops all work.
    ~BlockPipeline();
    BlockPipeline(const BlockPipeline&) = delete;
    BlockPipeline& operator=(const BlockPipeline&) = delete;

    // The next batch; false after the last. Waits for it. Throws what its making has thrown:
    // OutsideFailure for a file that cannot be read or was changed.
    [[nodiscard]] bool Next(PackedBatch& batch);

private:
    // Entries behind each other that are read whole, or one block of a large file.
    struct Task {
        size_t first = 0;
        size_t count = 0;
        uint64_t offset = 0;
    };
    struct Slot {
        bool isReady = false;
        PackedBatch batch;
        std::exception_ptr failure;
    };

    void Run();
    void Stop();
    [[nodiscard]] bool TakeTask(Task& task);
    [[nodiscard]] bool IsPacked(size_t entry) const;

    const std::wstring clientFolder_;
    const std::vector<ClientEntry>& entries_;
    const int level_;

    std::mutex mutex_;
    std::condition_variable slotFree_;
    std::condition_variable slotReady_;
    size_t nextEntry_ = 0;     // Of the next task.
    uint64_t nextOffset_ = 0;  // In that entry.
    uint64_t tasks_ = 0;       // Taken so far.
    uint64_t given_ = 0;       // Given to the caller so far.
    bool isStopped_ = false;
    std::vector<Slot> slots_;  // By the task's number; as many tasks can be on their way.
    std::vector<std::thread> threads_;
};

// The path of an entry.
[[nodiscard]] std::wstring EntryPath(const std::wstring& clientFolder, const ClientEntry& entry);
