#include "job/client/client_folders.h"

#include "common/tool_instance.h"
#include "common/windows_api.h"
#include "job/client/client_repair.h"
#include "job/progress/job_progress.h"

namespace fs = std::filesystem;

namespace bench {
namespace {

fs::path OnWinesRootDrive(const fs::path& folder) {
    return fs::path(L"Z:" + HostPath(folder)).make_preferred();
}

}  // namespace

ClientFolders::ClientFolders() {
    resetJobProgress();
    fs::create_directories(Package());
    WriteFile(Tool(), kToolBytes);
    toolFolder = Client();
    toolExePath = Tool();
}

ClientFolders::~ClientFolders() {
    resetJobProgress();
    toolFolder.clear();
    toolExePath.clear();
}

void ClientFolders::WriteToBoth(const std::wstring& relativePath, std::string_view bytes) const {
    WriteFile(Package() / relativePath, bytes);
    WriteFile(Client() / relativePath, bytes);
    SetWriteTime(Client() / relativePath, GetWriteTime(Package() / relativePath));
}

ToolLocation::ToolLocation(const fs::path& folder, const fs::path& exePath)
    : formerFolder_(toolFolder), formerExePath_(toolExePath) {
    toolFolder = folder;
    toolExePath = exePath;
}

ToolLocation::~ToolLocation() {
    toolFolder = formerFolder_;
    toolExePath = formerExePath_;
}

ClientTest::ClientTest() {
    jobProgress.running = true;
}

bool ClientTest::Repair() const {
    return VerifyAndRepairClient(Package(), false);
}

bool ClientTest::Reinstall() const {
    return VerifyAndRepairClient(Package(), true);
}

std::vector<std::wstring> ClientTest::Listing() const {
    return FolderListing(Client());
}

void ClientTest::ExpectCounters(uint64_t total, uint64_t done, uint64_t repaired) {
    const JobState state = snapshot();
    EXPECT_EQ(state.filesTotal, total);
    EXPECT_EQ(state.filesDone, done);
    EXPECT_EQ(state.filesRepaired, repaired);
}

void ClientTest::ExpectFailureOf(const std::wstring& relativePath) {
    ExpectFailure(L"Could not repair this file: " + relativePath);
}

void ClientTest::ExpectNoReport() {
    EXPECT_EQ(snapshot().errorMessage, L"");
    EXPECT_EQ(snapshot().stage, JobStage::Finishing);
    EXPECT_FALSE(jobProgress.failed);
    EXPECT_FALSE(jobProgress.finished);
    EXPECT_TRUE(jobProgress.running);
}

fs::path WithShortName(const fs::path& path) {
    std::wstring text(MAX_PATH, L'\0');
    text.resize(::GetShortPathNameW(path.c_str(), text.data(), MAX_PATH));
    const fs::path shortName = fs::path(text).filename();
    return shortName == path.filename() ? fs::path() : path.parent_path() / shortName;
}

FolderOnAnotherDrive::FolderOnAnotherDrive(const std::filesystem::path& folder)
    : drive_(L"X:", folder), path_(IsWine() ? OnWinesRootDrive(folder) : L"X:\\") {}

}  // namespace bench
