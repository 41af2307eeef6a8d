#include "job/client/content_comparison.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "common/win32_error.h"
#include "common/windows_api.h"

namespace {

// Reads up to the end of `chunk` or of the file and returns the count of bytes; none when a read
// fails. `bytesRemaining`, from the file's size, saves the read that would only find the end.
std::optional<size_t> ReadChunk(HANDLE file, std::vector<std::byte>& chunk,
                                uint64_t bytesRemaining) {
    const uint64_t bytesWanted = std::min<uint64_t>(chunk.size(), bytesRemaining);
    size_t bytesRead = 0;
    while (bytesRead < bytesWanted) {
        DWORD count = 0;
        if (!::ReadFile(file, chunk.data() + bytesRead,
                        static_cast<DWORD>(chunk.size() - bytesRead), &count, nullptr)) {
            return std::nullopt;
        }
        if (count == 0) {
            break;
        }
        bytesRead += count;
    }
    return bytesRead;
}

bool AreFilesOfSameSize(const EntryFacts& one, const EntryFacts& other) {
    return one.kind == EntryKind::RegularFile && other.kind == EntryKind::RegularFile &&
           one.size == other.size;
}

// Both have `size` bytes and are at their beginning.
bool HaveSameBytes(HANDLE source, HANDLE target, uint64_t size, ComparisonBuffers& buffers) {
    for (uint64_t bytesCompared = 0; bytesCompared < size; bytesCompared += kComparisonChunkBytes) {
        const uint64_t bytesRemaining = size - bytesCompared;
        const std::optional<size_t> sourceCount = ReadChunk(source, buffers.source, bytesRemaining);
        const std::optional<size_t> targetCount = ReadChunk(target, buffers.target, bytesRemaining);
        if (!sourceCount || sourceCount != targetCount ||
            std::memcmp(buffers.source.data(), buffers.target.data(), *sourceCount) != 0) {
            return false;
        }
        if (*sourceCount < kComparisonChunkBytes) {
            return true;  // Both files end here.
        }
    }
    return true;
}

}  // namespace

bool FilesHaveSameContent(const std::wstring& source, const std::wstring& target) {
    ComparisonBuffers buffers;
    return HaveSameContent(OpenForComparison(source), OpenForComparison(target), buffers);
}

ComparedFile OpenForComparison(const std::wstring& path) {
    KernelHandle file = OpenForReading(path);
    const DWORD error = file ? ERROR_SUCCESS : ::GetLastError();
    if (IsNotFoundError(error)) {
        return {};  // Missing, without a second search for it.
    }
    EntryFacts facts = file ? FactsOf(file.get()) : FactsOf(path);
    return {std::move(file), facts};
}

bool HaveSameContent(const ComparedFile& source, const ComparedFile& target,
                     ComparisonBuffers& buffers) {
    return source.file && target.file && AreFilesOfSameSize(source.facts, target.facts) &&
           HaveSameBytes(source.file.get(), target.file.get(), source.facts.size, buffers);
}
