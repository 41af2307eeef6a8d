#include "single_fault/small_machine.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <regex>
#include <string_view>
#include <tuple>
#include <utility>

#include "bench_parts/call_hook.h"
#include "bench_parts/registry_entry.h"
#include "bench_parts/utf8.h"
#include "common/folder_walk.h"
#include "common/tool_instance.h"
#include "config/tool_config.h"
#include "job/job_flow.h"
#include "package/package_hash.h"
#include "package/package_source.h"
#include "single_fault/failing_calls.h"
#include "system/installed_programs_values.h"

namespace fs = std::filesystem;

namespace {

using bench::kKernel32;

constexpr wchar_t kToolName[] = L"Repair Tool.exe";
constexpr std::string_view kToolBytes = "the running tool";
constexpr std::string_view kOthersBytes = "not of the client";

// Any small ZIP: it is downloaded and checked, but not unpacked.
constexpr wchar_t kZip[] = L"zip_own_name.zip";

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

fs::path MakeFolder(fs::path folder) {
    fs::create_directories(folder);
    return folder;
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

void UnpackTo(const fs::path& folder) {
    for (const PackageFile& file : kPackage) {
        bench::WriteFile(folder / file.path, file.bytes);
    }
    fs::create_directories(folder / L"leer");
}

// The target folder in the command line of an unpacking program, tar.exe or PowerShell; empty for
// another program's.
fs::path UnpackingFolder(const std::wstring& commandLine) {
    std::wsmatch match;
    std::regex_search(commandLine, match, std::wregex(L"(?: -C \"|-DestinationPath ')([^\"']+)"));
    return match.str(1);
}

// Unpacks at once instead of starting a program, and gives handles of `endedProgram`.
auto HookUnpacking(HANDLE endedProgram) {
    using Function = decltype(&::CreateProcessW);
    return bench::HookCall<Function>(
        kKernel32, "CreateProcessW",
        [=](LPCWSTR program, LPWSTR commandLine, auto... others) -> BOOL {
            const Uncounted uncounted;
            const fs::path folder = UnpackingFolder(commandLine);
            if (folder.empty()) {  // The bench's own.
                return bench::RealFunction<Function>(kKernel32, "CreateProcessW")(
                    program, commandLine, others...);
            }
            UnpackTo(folder / L"Client");
            auto* const started = std::get<LPPROCESS_INFORMATION>(std::tuple(others...));
            for (HANDLE* const handle : {&started->hProcess, &started->hThread}) {
                ::DuplicateHandle(::GetCurrentProcess(), endedProgram, ::GetCurrentProcess(),
                                  handle, 0, FALSE, DUPLICATE_SAME_ACCESS);
            }
            return TRUE;
        });
}

auto HookRenaming() {
    return bench::HookCall<decltype(&::MoveFileExW)>(kKernel32, "MoveFileExW", [](auto...) -> BOOL {
        ::SetLastError(ERROR_NOT_SAME_DEVICE);
        return FALSE;
    });
}

}  // namespace

SmallMachine::SmallMachine(bool canRename)
    : runningTool_(PutTool(root_.Path()), FILE_SHARE_READ),
      // Where files end up when the temporary folder cannot be told.
      currentFolder_(MakeFolder(root_.Path() / L"current")),
      temp_(L"TMP", MakeFolder(TempFolder()).native()),
      endedProgram_(L"child_program.exe", root_.Path() / L"ended.exe", L"exit 0") {
    toolFolder = Client();
    toolExePath = Client() / kToolName;
    toolConfig = ToolConfig{};
    toolConfig.startupExe = L"client.exe";
    toolConfig.archiveUrl = server_.Url(std::wstring(L"archive/") + kZip);
    EXPECT_TRUE(ComputeFileSha256(bench::PackagePath(kZip), toolConfig.archiveSha256));
    SelectPackageUrl(L"");
    bench::WriteFile(root_.Path() / L"elsewhere" / L"picture.png", kOthersBytes);
    bench::WriteFile(root_.Path() / L"games" / L"neighbor.txt", kOthersBytes);
    fs::create_directory(Client() / kFolderWithLink);
    ::WaitForSingleObject(endedProgram_.Process(), INFINITE);
    hooks_.emplace_back(new auto(HookUnpacking(endedProgram_.Process())));
    if (!canRename) {
        hooks_.emplace_back(new auto(HookRenaming()));
    }
}

SmallMachine::~SmallMachine() {
    runningTool_.Close();
    bench::RemoveKey(UninstallKeyPath(toolConfig));
    toolFolder.clear();
    toolExePath.clear();
    selectedPackageUrl.clear();
    toolConfig = ToolConfig{};
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

bool SmallMachine::RunJob(JobKind kind) {
    ClearForJobStart(kind);
    runJob(kind);
    return snapshot().stage == JobStage::Done;
}

std::string SmallMachine::FirstMissing() const {
    for (const PackageFile& file : kPackage) {
        if (std::wstring_view(file.path) != kToolName && !Holds(Client() / file.path, file.bytes)) {
            return bench::ToUtf8(file.path);
        }
    }
    return Holds(Client() / L"Uninstall.exe", "the uninstaller's bytes") ? "" : "Uninstall.exe";
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
