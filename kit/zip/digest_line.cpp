#include "kit/zip/digest_line.h"

#include "config/config_text.h"

namespace {

constexpr std::string_view kKey = "archiveSha256";

// The end of the line that begins at `begin`, without its line ending.
size_t LineEnd(std::string_view text, size_t begin) {
    size_t end = text.find('\n', begin);
    end = end == std::string_view::npos ? text.size() : end;
    return end > begin && text[end - 1] == '\r' ? end - 1 : end;
}

}  // namespace

std::string WithArchiveDigest(std::string_view configText, std::string_view digest) {
    size_t valueBegin = std::string_view::npos;
    for (size_t begin = 0; begin < configText.size();) {
        const std::string_view line = configText.substr(begin, LineEnd(configText, begin) - begin);
        // As the tool's parser splits it.
        const size_t split = FindConfigSplitPoint(line);
        if (split != std::string_view::npos && line.substr(0, split) == kKey) {
            valueBegin = begin + split + 1;
        }
        const size_t lineFeed = configText.find('\n', begin);
        begin = lineFeed == std::string_view::npos ? configText.size() : lineFeed + 1;
    }
    std::string text(configText);
    if (valueBegin != std::string_view::npos) {
        return text.replace(valueBegin, LineEnd(text, valueBegin) - valueBegin, digest);
    }
    const std::string_view lineEnding =
        configText.find("\r\n") != std::string_view::npos ? "\r\n" : "\n";
    if (!text.empty() && !text.ends_with('\n')) {
        text += lineEnding;
    }
    return text.append(kKey).append("=").append(digest).append(lineEnding);
}
