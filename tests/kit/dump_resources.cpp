// dump_resources FOLDER: for each NAME.txt there, a configuration, writes the version resources of
// the brand's tool and uninstaller, NAME.repair and NAME.uninstaller; for each NAME.ico its group
// resource, NAME.group. Many in one run, because each start of a Windows program takes a while.

#include <filesystem>
#include <fstream>
#include <iterator>

#include "config/config_loader.h"
#include "config/config_text.h"
#include "kit/pe/icon_file.h"
#include "kit/version_texts.h"

namespace fs = std::filesystem;

namespace {

std::string ReadWhole(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// What cannot be made gets an empty file.
void Write(fs::path path, const char* extension, const std::optional<ByteBuffer>& bytes) {
    std::ofstream file(path.replace_extension(extension), std::ios::binary);
    if (bytes) {
        file.write(reinterpret_cast<const char*>(bytes->data()),
                   static_cast<std::streamsize>(bytes->size()));
    }
}

void DumpVersions(const fs::path& path) {
    ToolConfig config = ParseConfigText(ReadWhole(path));
    FillEmptyNames(config);
    Write(path, ".repair", MakeVersionResource(BrandVersion(config, BrandProgram::Tool)));
    Write(path, ".uninstaller",
          MakeVersionResource(BrandVersion(config, BrandProgram::Uninstaller)));
}

void DumpGroup(const fs::path& path) {
    const std::string content = ReadWhole(path);
    const auto pictures = ReadIconFile(std::as_bytes(std::span(content)));
    Write(path, ".group", pictures ? std::optional(IconGroup(*pictures)) : std::nullopt);
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        return 2;
    }
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(arguments[1])) {
        files.push_back(entry.path());
    }
    for (const fs::path& file : files) {
        if (file.extension() == ".txt") {
            DumpVersions(file);
        } else if (file.extension() == ".ico") {
            DumpGroup(file);
        }
    }
    return 0;
}
