#include "kit/zip/block_pipeline.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "common/paths.h"
#include "common/text.h"
#include "kit/zip/block_compressor.h"
#include "kit/zip/inflater.h"
#include "kit/zip/source_file.h"

namespace {

// So that no thread waits while the caller writes.
constexpr size_t kSpareSlots = 4;
// So that a batch of tiny files needs little more memory than their bytes.
constexpr size_t kMostEntriesInBatch = 1'000;

// Makes batches; one object for each thread.
class BatchMaker {
public:
    BatchMaker(const std::wstring& clientFolder, int level)
        : clientFolder_(clientFolder), compressor_(level), input_(kDictionaryBytes + kBlockBytes) {}

    void AddBlock(const ClientEntry& entry, size_t index, uint64_t offset, PackedBatch& batch) {
        SourceFile file(EntryPath(clientFolder_, entry), entry.size, entry.lastWriteTime);
        const auto before = static_cast<size_t>(std::min<uint64_t>(offset, kDictionaryBytes));
        const auto size = static_cast<size_t>(std::min<uint64_t>(entry.size - offset, kBlockBytes));
        const std::span<std::byte> input = std::span(input_).first(before + size);
        file.Read(offset - before, input);
        const ByteView plain = input.subspan(before);
        const bool isLast = offset + size == entry.size;
        const ByteView packed = compressor_.Compress(plain, input.first(before), isLast);
        // A file of one block is stored if that is no larger. In a larger one, a plain block needs
        // frames as long as another block of it is compressed.
        const bool isOnlyBlock = entry.size <= kBlockBytes;
        const uint64_t plainBytes = isOnlyBlock ? size : FramedSize(size);
        const bool isPlain = packed.size() >= plainBytes;
        batch.blocks.push_back({index, size, ContinueChecksum(0, plain), isPlain, {}});
        ends_.push_back(batch.bytes.size() + (isPlain ? plain : packed).size());
        AppendBytes(batch.bytes, isPlain ? plain : packed);
    }

    // The bytes have their place only when all are there.
    void Finish(PackedBatch& batch) {
        size_t begin = 0;
        for (size_t i = 0; i < batch.blocks.size(); ++i) {
            batch.blocks[i].bytes = ByteView(batch.bytes).subspan(begin, ends_[i] - begin);
            begin = ends_[i];
        }
        ends_.clear();
    }

private:
    const std::wstring& clientFolder_;
    BlockCompressor compressor_;
    ByteBuffer input_;
    std::vector<size_t> ends_;
};

}  // namespace

BlockPipeline::BlockPipeline(std::wstring clientFolder, const std::vector<ClientEntry>& entries,
                             int level, unsigned threads)
    : clientFolder_(std::move(clientFolder)),
      entries_(entries),
      level_(level),
      slots_(threads + kSpareSlots) {
    try {
        for (unsigned i = 0; i < threads; ++i) {
            threads_.emplace_back([this] { Run(); });
        }
    } catch (...) {
        Stop();
        throw;
    }
}

BlockPipeline::~BlockPipeline() {
    Stop();
}

void BlockPipeline::Stop() {
    {
        const std::lock_guard lock(mutex_);
        isStopped_ = true;
    }
    slotFree_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

bool BlockPipeline::Next(PackedBatch& batch) {
    std::unique_lock lock(mutex_);
    Slot& slot = slots_[given_ % slots_.size()];
    slotReady_.wait(
        lock, [&] { return slot.isReady || (nextEntry_ == entries_.size() && given_ == tasks_); });
    if (!slot.isReady) {
        return false;
    }
    if (slot.failure) {
        std::rethrow_exception(slot.failure);
    }
    batch = std::move(slot.batch);
    slot = {};
    ++given_;
    lock.unlock();
    slotFree_.notify_one();
    return true;
}

void BlockPipeline::Run() {
    std::optional<BatchMaker> maker;
    std::unique_lock lock(mutex_);
    for (;;) {
        slotFree_.wait(lock, [&] { return isStopped_ || tasks_ - given_ < slots_.size(); });
        Task task;
        if (isStopped_ || !TakeTask(task)) {
            slotReady_.notify_all();
            return;
        }
        Slot& slot = slots_[tasks_++ % slots_.size()];
        lock.unlock();
        PackedBatch batch;
        std::exception_ptr failure;
        try {
            if (!maker) {
                maker.emplace(clientFolder_, level_);
            }
            for (size_t i = task.first; i < task.first + task.count; ++i) {
                if (IsPacked(i)) {
                    maker->AddBlock(entries_[i], i, task.offset, batch);
                }
            }
            maker->Finish(batch);
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        slot = {true, std::move(batch), failure};
        slotReady_.notify_all();
        if (failure) {
            return;
        }
    }
}

// Called with the mutex held.
bool BlockPipeline::TakeTask(Task& task) {
    while (nextEntry_ < entries_.size() && !IsPacked(nextEntry_)) {
        ++nextEntry_;
    }
    if (nextEntry_ == entries_.size()) {
        return false;
    }
    task = {nextEntry_, 1, nextOffset_};
    const uint64_t size = entries_[nextEntry_].size;
    if (size > kBlockBytes) {
        nextOffset_ += kBlockBytes;
        if (nextOffset_ >= size) {
            nextOffset_ = 0;
            ++nextEntry_;
        }
        return true;
    }
    uint64_t sum = size;
    for (++nextEntry_; nextEntry_ < entries_.size(); ++nextEntry_) {
        sum += entries_[nextEntry_].size;
        if (sum > kBlockBytes || task.count == kMostEntriesInBatch) {
            break;
        }
        ++task.count;
    }
    return true;
}

bool BlockPipeline::IsPacked(size_t entry) const {
    return entries_[entry].size > 0;
}

std::wstring EntryPath(const std::wstring& clientFolder, const ClientEntry& entry) {
    std::wstring path = Utf8ToWide(entry.name);
    std::replace(path.begin(), path.end(), L'/', L'\\');
    return JoinPaths(AsFolder(clientFolder), path);
}
