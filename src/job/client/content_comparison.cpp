#include "job/client/content_comparison.h"

#include <algorithm>
#include <cstring>
#include <optional>

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

}  // namespace

bool FilesHaveSameContent(const std::wstring& source, const std::wstring& target) {
    const EntryFacts sourceFacts = FactsOf(source);
    if (!CanHaveSameContent(sourceFacts, FactsOf(target))) {
        return false;
    }
    ComparisonBuffers buffers;
    return HaveSameBytes(source, target, sourceFacts.size, buffers);
}

bool CanHaveSameContent(const EntryFacts& source, const EntryFacts& target) {
    return source.kind == EntryKind::RegularFile && target.kind == EntryKind::RegularFile &&
           source.size == target.size;
}

bool HaveSameBytes(const std::wstring& source, const std::wstring& target, uint64_t size,
                   ComparisonBuffers& buffers) {
    const KernelHandle sourceFile = OpenForReading(source);
    const KernelHandle targetFile = OpenForReading(target);
    if (!sourceFile || !targetFile) {
        return false;
    }
    for (uint64_t bytesCompared = 0; bytesCompared < size; bytesCompared += kComparisonChunkBytes) {
        const uint64_t bytesRemaining = size - bytesCompared;
        const std::optional<size_t> sourceCount =
            ReadChunk(sourceFile.get(), buffers.source, bytesRemaining);
        const std::optional<size_t> targetCount =
            ReadChunk(targetFile.get(), buffers.target, bytesRemaining);
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
