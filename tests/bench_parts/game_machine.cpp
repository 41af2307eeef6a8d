#include "bench_parts/game_machine.h"

#include "bench_parts/registry_entry.h"
#include "common/tool_instance.h"
#include "common/windows_api.h"
#include "config/tool_config.h"
#include "job/job_flow.h"
#include "job/job_thread.h"
#include "package/package_source.h"

namespace fs = std::filesystem;

namespace bench {

GameMachine::GameMachine() {
    toolConfig = ToolConfig{};
    toolConfig.startupExe = L"client.exe";
    toolConfig.archiveUrl = PackageUrl(kZip);
    primaryServerChosen = true;
    WriteFile(Tool(), kToolBytes);
    toolExePath = Tool();
    toolFolder = Client();
    machine_.PutTar();
    RemoveKey(kEntryKey);
}

GameMachine::~GameMachine() {
    JoinJobThread();
    resetForRetry();
    RemoveKey(kEntryKey);
    toolConfig = ToolConfig{};
    toolFolder.clear();
    for (const std::wstring& name : TempFolder()) {
        fs::remove_all(fs::temp_directory_path() / name);
    }
}

bool GameMachine::StartJob(JobKind kind, const std::wstring& packageUrl) {
    if (!PrepareJob(kind, packageUrl)) {
        return false;
    }
    StartJobThread([kind] { runJob(kind); });
    return true;
}

void GameMachine::RunJob(JobKind kind, const std::wstring& packageUrl) {
    ASSERT_TRUE(StartJob(kind, packageUrl));
    JoinJobThread();
}

std::wstring GameMachine::PackageUrl(const std::wstring& fileName) const {
    return server_.Url(L"archive/" + fileName);
}

Contents GameMachine::LoneFolderPackage() {
    return Below(L"Client", PackageContents(kZip));
}

Contents GameMachine::ClientContents() const {
    Contents contents = FolderContents(Client());
    EXPECT_TRUE(contents[L"repair.exe"] == toolBytes_) << "the tool's own file has changed";
    contents.erase(L"repair.exe");
    contents.erase(L"Uninstall.exe");
    return contents;
}

std::vector<std::wstring> GameMachine::TempFolder() const {
    std::vector<std::wstring> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(fs::temp_directory_path())) {
        if (entry.path() != machine_.Root()) {
            names.push_back(entry.path().filename());
        }
    }
    return names;
}

void GameMachine::ExpectSuccess(std::wstring_view headline) {
    const JobState state = snapshot();
    EXPECT_EQ(state.stage, JobStage::Done);
    EXPECT_EQ(state.statusLine, headline);
    EXPECT_EQ(state.detailLine, L"Registering Programs and Features entry...");
    EXPECT_EQ(state.errorMessage, L"");
    EXPECT_FALSE(jobProgress.running);
    EXPECT_TRUE(jobProgress.finished);
    EXPECT_FALSE(jobProgress.failed);
}

}  // namespace bench
