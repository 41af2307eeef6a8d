#include "single_fault/small_machine.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>
#include <utility>

#include "bench_parts/utf8.h"
#include "common/folder_walk.h"
#include "common/tool_instance.h"
#include "common/windows_api.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

namespace {

constexpr wchar_t kToolName[] = L"Repair Tool.exe";
constexpr std::string_view kToolBytes = "the running tool";
constexpr std::string_view kOthersBytes = "not of the client";

struct PackageFile {
    const wchar_t* path;
    std::string_view bytes;
};
constexpr PackageFile kPackage[] = {
    {L"client.exe", "MZ of the game"},
    {L"data\\deep\\b.map", "valley"},
    {L"data\\same.map", "hill"},
    {L"empty.dat", ""},
    {L"gr\u00fc\u00dfe \u65e5\u672c.txt", "new text"},
    {kToolName, "the tool of another version"},
};

constexpr uint64_t kYear2010 = 129'067'776'000'000'000;  // In 100 ns steps since 1601.

// They lead out of the client.
constexpr wchar_t kLinkName[] = L"link";
constexpr wchar_t kFolderWithLink[] = L"settings";

fs::path PutTool(const fs::path& root) {
    fs::path tool = root / L"games" / L"Client" / kToolName;
    bench::WriteFile(tool, kToolBytes);
    return tool;
}

// But for the tool, links and the folder that holds one.
void Empty(const fs::path& folder) {
    static_cast<void>(ListFolder(folder, [](const FolderEntry& entry) {
        const std::wstring name = fs::path(entry.path).filename();
        if (!entry.IsFolder() && entry.path != toolExePath) {
            ::DeleteFileW(entry.path.c_str());
        } else if (entry.IsFolder() && !entry.isLink && name != kFolderWithLink) {
            Empty(entry.path);
            ::RemoveDirectoryW(entry.path.c_str());
        }
        return true;
    }));
}

bool Holds(const fs::path& file, std::string_view bytes) {
    return ::GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES &&
           bench::ReadFile(file) == bytes;
}

}  // namespace

SmallMachine::SmallMachine()
    : runningTool_(PutTool(root_.Path()), FILE_SHARE_READ),
      formerCurrentFolder_(fs::current_path()),
      temp_(L"TMP", TempFolder().native()) {
    toolFolder = Client();
    toolExePath = Client() / kToolName;
    bench::WriteFile(root_.Path() / L"elsewhere" / L"picture.png", kOthersBytes);
    bench::WriteFile(root_.Path() / L"games" / L"neighbor.txt", kOthersBytes);
    bench::WriteFile(Archive(), "PK");
    fs::create_directory(TempFolder());
    fs::create_directory(Client() / kFolderWithLink);
    fs::create_directory(root_.Path() / L"current");
    // Where files end up when the temporary folder cannot be told.
    fs::current_path(root_.Path() / L"current");
}

SmallMachine::~SmallMachine() {
    fs::current_path(formerCurrentFolder_);
    runningTool_.Close();
    toolFolder.clear();
    toolExePath.clear();
    resetJobProgress();
}

void SmallMachine::Restore() {
    resetJobProgress();
    // The links stay in place because creating them takes long.
    for (const fs::path& folder :
         {Client(), Client() / kFolderWithLink, TempFolder(), fs::current_path()}) {
        Empty(folder);
    }
    BreakClient();
    if (initialClient_.empty()) {
        initialClient_ = bench::FolderContents(Client());
    }
}

void SmallMachine::Unpack(const fs::path& top) {
    Empty(Staging());
    UnpackTo(Staging() / top);
}

void SmallMachine::KeepUnpacked() {
    if (::GetFileAttributesW(Staging().c_str()) == INVALID_FILE_ATTRIBUTES) {
        UnpackTo(Staging());
    }
    EXPECT_EQ(FirstMissing(Staging()), "");
}

void SmallMachine::UnpackTo(const fs::path& folder) {
    for (const PackageFile& file : kPackage) {
        bench::WriteFile(folder / file.path, file.bytes);
    }
    fs::create_directories(folder / L"leer");
}

std::string SmallMachine::FirstMissing(const fs::path& folder) {
    for (const PackageFile& file : kPackage) {
        if (std::wstring_view(file.path) != kToolName && !Holds(folder / file.path, file.bytes)) {
            return bench::ToUtf8(file.path);
        }
    }
    return {};
}

std::string SmallMachine::Damage() const {
    for (const auto& [file, bytes] :
         {std::pair{root_.Path() / L"elsewhere" / L"picture.png", kOthersBytes},
          std::pair{root_.Path() / L"games" / L"neighbor.txt", kOthersBytes},
          std::pair{Client() / kToolName, kToolBytes}}) {
        if (!Holds(file, bytes)) {
            return bench::ToUtf8(file.native());
        }
    }
    return {};
}

bool SmallMachine::IsClientUntouched() const {
    return bench::FirstDifference(initialClient_, bench::FolderContents(Client())).empty();
}

// Right: one file. Of another time, of another size, of the same size, missing: the others.
void SmallMachine::BreakClient() const {
    bench::WriteFile(Client() / L"client.exe", "MZ of the mods");
    bench::WriteFile(Client() / L"gr\u00fc\u00dfe \u65e5\u672c.txt", "old");
    bench::WriteFile(Client() / L"empty.dat", "");
    bench::WriteFile(Client() / L"data\\same.map", "hill");
    bench::SetWriteTime(Client() / L"data\\same.map", kYear2010);
    bench::WriteFile(Client() / kFolderWithLink / L"own.ini", "of the player");
    for (const fs::path& link : {Client() / kLinkName, Client() / kFolderWithLink / kLinkName}) {
        if (::GetFileAttributesW(link.c_str()) == INVALID_FILE_ATTRIBUTES) {
            EXPECT_TRUE(bench::MakeFolderLink(link, root_.Path() / L"elsewhere"));
        }
    }
}
