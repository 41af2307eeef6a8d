#include "bench_parts/package_contents.h"

#include "bench_parts/scratch_folder.h"
#include "bench_parts/utf8.h"
#include "common/text.h"

namespace bench {
namespace {

void AddFoldersAbove(const std::wstring& path, Contents& contents) {
    for (size_t slash = path.find(L'/'); slash != std::wstring::npos;
         slash = path.find(L'/', slash + 1)) {
        contents[path.substr(0, slash + 1)];
    }
}

}  // namespace

std::filesystem::path PackagePath(const std::wstring& fileName) {
    return (std::filesystem::path(BENCH_ARCHIVES_FOLDER) / fileName).make_preferred();
}

Contents PackageContents(const std::wstring& fileName) {
    const std::string text = ReadFile(PackagePath(fileName).replace_extension(L".contents"));
    Contents contents;
    size_t position = 0;
    while (position < text.size()) {
        const size_t tab = text.find('\t', position);
        const size_t lineEnd = text.find('\n', tab);
        const size_t size = std::stoul(text.substr(tab + 1, lineEnd - tab - 1));
        const std::wstring path = Utf8ToWide(text.substr(position, tab - position));
        AddFoldersAbove(path, contents);
        contents[path] = text.substr(lineEnd + 1, size);
        position = lineEnd + 1 + size;
    }
    return contents;
}

Contents FolderContents(const std::filesystem::path& folder) {
    Contents contents;
    for (const std::wstring& path : FolderListing(folder)) {
        const bool isFile = path.back() != L'/' && path.back() != L'@';
        contents[path] = isFile ? ReadFile(folder / path) : std::string();
    }
    return contents;
}

Contents Below(const std::wstring& name, const Contents& contents) {
    const std::wstring start = name + L"/";
    Contents below;
    for (const auto& [path, bytes] : contents) {
        if (path.starts_with(start) && path != start) {
            below[path.substr(start.size())] = bytes;
        }
    }
    return below;
}

std::string FirstDifference(const Contents& expected, const Contents& actual) {
    for (const auto& [path, bytes] : expected) {
        const auto found = actual.find(path);
        if (found == actual.end()) {
            return "missing: " + ToUtf8(path);
        }
        if (found->second != bytes) {
            return "different: " + ToUtf8(path);
        }
    }
    for (const auto& [path, bytes] : actual) {
        if (!expected.contains(path)) {
            return "not expected: " + ToUtf8(path);
        }
    }
    return {};
}

}  // namespace bench
