#include "kit/output_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <optional>
#include <random>
#include <thread>

#include "bench_parts/call_hook.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/waiting.h"
#include "common/files.h"
#include "error_output.h"
#include "kit/content_digest.h"
#include "kit/errors.h"
#include "kit/zip/package_completion.h"
#include "kit_process.h"

namespace {

namespace fs = std::filesystem;

using bench::FolderListing;
using bench::ReadFile;
using bench::ScratchFolder;
using bench::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A process id that no process has.
DWORD EndedProcessId() {
    DWORD id = 0;
    const KernelHandle process = kit_test::StartProgram(L"output_writer.exe", L"unused 0", &id);
    ::WaitForSingleObject(process.get(), INFINITE);
    return id;
}

std::string MessageOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const OutsideFailure& failure) {
        return failure.what();
    }
    return "no failure";
}

TEST(TemporaryName, KeepsTheEnding) {
    EXPECT_EQ(TemporaryName(L"client.zip", 12), L".client.12.tmp.zip");
    EXPECT_EQ(TemporaryName(L"client-1.4.zip", 12), L".client-1.4.12.tmp.zip");
    EXPECT_EQ(TemporaryName(L"client", 12), L".client.12.tmp");
    for (const size_t endingSize : {3U, 29U, 30U, 250U}) {
        const std::wstring ending = L"." + std::wstring(endingSize, L'e');
        const std::wstring target = std::wstring(255 - ending.size(), L'n') + ending;
        EXPECT_LE(TemporaryName(target, 4'294'967'292).size(), 255U) << endingSize;
    }
}

TEST(OutputFile, AppearsWhenItIsComplete) {
    const ScratchFolder scratch;
    const fs::path target = scratch.Path() / L"new" / L"deep" / L"a.txt";
    OutputFile file(target);
    file.Write("abc");
    EXPECT_EQ(FolderListing(target.parent_path()).size(), 1U);
    EXPECT_FALSE(fs::exists(target));
    file.Commit();
    EXPECT_THAT(FolderListing(scratch.Path()),
                ElementsAre(L"new/", L"new/deep/", L"new/deep/a.txt"));
    EXPECT_EQ(ReadFile(target), "abc");
}

TEST(OutputFile, ReplacesWhatIsThere) {
    const ScratchFolder scratch;
    const fs::path target = scratch.Path() / L"a.txt";
    WriteFile(target, "a longer old text");
    OutputFile file(target);
    file.Write("new");
    EXPECT_EQ(ReadFile(target), "a longer old text");
    file.Commit();
    EXPECT_EQ(ReadFile(target), "new");
}

TEST(OutputFile, LeavesNothingWithoutCommit) {
    const ScratchFolder scratch;
    {
        OutputFile file(scratch.Path() / L"new" / L"a.txt");
        file.Write("abc");
    }
    EXPECT_THAT(FolderListing(scratch.Path()), IsEmpty());
}

TEST(OutputFile, WorksAtLongPaths) {
    const ScratchFolder scratch;
    fs::path folder = scratch.Path();
    for (int i = 0; i < 6; ++i) {
        folder /= std::wstring(60, L'd');
    }
    OutputFile file(folder / L"a.txt");
    file.Write("abc");
    file.Commit();
    EXPECT_EQ(ReadFile(L"\\\\?\\" + (folder / L"a.txt").native()), "abc");
}

TEST(OutputFile, RefusesAFolderAsTarget) {
    const ScratchFolder scratch;
    EXPECT_THAT(MessageOf([&] { const OutputFile file(scratch.Path()); }), HasSubstr("folder"));
}

TEST(OutputFile, SaysWhyTheTargetCannotBeReplaced) {
    const ScratchFolder scratch;
    const fs::path target = scratch.Path() / L"a.txt";
    WriteFile(target, "old");
    const bench::OpenElsewhere user(target, FILE_SHARE_READ);
    OutputFile file(target);
    file.Write("new");
    EXPECT_THAT(MessageOf([&] { file.Commit(); }), HasSubstr("a.txt: "));
    EXPECT_THAT(FolderListing(scratch.Path()), ElementsAre(L"a.txt"));
    EXPECT_EQ(ReadFile(target), "old");
}

TEST(OutputFile, RemovesWhatKilledRunsWithTheSameTargetHaveLeft) {
    const ScratchFolder scratch;
    const DWORD endedId = EndedProcessId();
    const std::wstring leftover = TemporaryName(L"a.zip", endedId);
    WriteFile(scratch.Path() / leftover, "half");
    const std::wstring otherCase = TemporaryName(L"E.Zip", endedId);
    WriteFile(scratch.Path() / otherCase, "half");
    // Another target's, another ending's, a running process', and another program's files.
    const std::wstring kept[] = {TemporaryName(L"b.zip", endedId), TemporaryName(L"a.exe", endedId),
                                 L".a.x.tmp.zip", L".a.tmp.zip", L"a.1.tmp.zip"};
    for (const std::wstring& name : kept) {
        WriteFile(scratch.Path() / name, "kept");
    }
    DWORD running = 0;
    const fs::path mark = scratch.Path() / L"mark";
    const KernelHandle other = kit_test::StartProgram(
        L"output_writer.exe",
        L"\"" + (scratch.Path() / L"a.zip").native() + L"\" 0 \"" + mark.native() + L"\"",
        &running);
    ASSERT_TRUE(bench::Await([&] { return fs::exists(mark); }));
    // Nobody has this one open, but the process that it is named after runs.
    const std::wstring closed = TemporaryName(L"c.zip", running);
    WriteFile(scratch.Path() / closed, "kept");
    // Older than the process that has its process id by now.
    const fs::path older = scratch.Path() / TemporaryName(L"d.zip", running);
    WriteFile(older, "half");
    ASSERT_TRUE(SetLastWriteTime(older, LastWriteTime(older).value_or(0) - 36'000'000'000));
    for (const wchar_t* target : {L"a.zip", L"c.zip", L"d.zip", L"e.zip"}) {
        OutputFile file(scratch.Path() / target);
        file.Commit();
    }
    EXPECT_TRUE(fs::exists(scratch.Path() / closed));
    EXPECT_FALSE(fs::exists(older));
    EXPECT_FALSE(fs::exists(scratch.Path() / leftover));
    EXPECT_FALSE(fs::exists(scratch.Path() / otherCase));
    EXPECT_TRUE(fs::exists(scratch.Path() / TemporaryName(L"a.zip", running)));
    for (const std::wstring& name : kept) {
        EXPECT_TRUE(fs::exists(scratch.Path() / name));
    }
    ::TerminateProcess(other.get(), 1);
    ::WaitForSingleObject(other.get(), INFINITE);
}

TEST(OutputFile, KeepsTheTargetWhenTheContentDoesNotReachTheDisk) {
    const ScratchFolder scratch;
    const fs::path target = scratch.Path() / L"a.txt";
    WriteFile(target, "old");
    const auto hook = bench::HookCall<decltype(&::FlushFileBuffers)>(
        L"kernel32.dll", "FlushFileBuffers", [](HANDLE) -> BOOL {
            ::SetLastError(ERROR_DISK_FULL);
            return FALSE;
        });
    OutputFile file(target);
    file.Write("new");
    EXPECT_THAT(MessageOf([&] { file.Commit(); }), HasSubstr("(code 112)"));
    OutputFile closedFirst(target);
    closedFirst.Write("new");
    EXPECT_THAT(MessageOf([&] { closedFirst.Close(); }), HasSubstr("(code 112)"));
    EXPECT_THAT(FolderListing(scratch.Path()), ElementsAre(L"a.txt"));
    EXPECT_EQ(ReadFile(target), "old");
}

TEST(OutputFile, IsCompleteWhereTheFileSystemCannotFlush) {
    const ScratchFolder scratch;
    DWORD error = ERROR_SUCCESS;
    const auto hook = bench::HookCall<decltype(&::FlushFileBuffers)>(
        L"kernel32.dll", "FlushFileBuffers", [&error](HANDLE) -> BOOL {
            ::SetLastError(error);
            return FALSE;
        });
    for (const DWORD unsupported :
         {ERROR_INVALID_FUNCTION, ERROR_NOT_SUPPORTED, ERROR_INVALID_PARAMETER}) {
        error = unsupported;
        OutputFile file(scratch.Path() / std::to_wstring(unsupported));
        file.Write("new");
        EXPECT_EQ(MessageOf([&] { file.Commit(); }), "no failure") << unsupported;
    }
    EXPECT_EQ(FolderListing(scratch.Path()).size(), 3U);
}

TEST(OutputFile, FlushesWhatAnotherProgramHasWrittenToIt) {
    const ScratchFolder scratch;
    const fs::path target = scratch.Path() / L"a.exe";
    WriteFile(target, "old");
    OutputFile file(target);
    file.Write("new");
    file.Close();
    WriteFile(file.TemporaryPath(), "new and signed");
    {
        const auto hook = bench::HookCall<decltype(&::FlushFileBuffers)>(
            L"kernel32.dll", "FlushFileBuffers", [&file](HANDLE) -> BOOL {
                // As an interruption does it.
                EXPECT_TRUE(::DeleteFileW(file.TemporaryPath().c_str()));
                ::SetLastError(ERROR_DISK_FULL);
                return FALSE;
            });
        EXPECT_THAT(MessageOf([&] { file.Commit(); }), HasSubstr("(code 112)"));
    }
    EXPECT_THAT(FolderListing(scratch.Path()), ElementsAre(L"a.exe"));
    EXPECT_EQ(ReadFile(target), "old");
}

TEST(OutputFile, TakesAFileThatAnotherProgramHasMadeReadOnly) {
    const ScratchFolder scratch;
    const fs::path target = scratch.Path() / L"a.exe";
    OutputFile file(target);
    file.Close();
    ASSERT_TRUE(::SetFileAttributesW(file.TemporaryPath().c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(MessageOf([&] { file.Commit(); }), "no failure");
    EXPECT_TRUE(::SetFileAttributesW(target.c_str(), FILE_ATTRIBUTE_NORMAL));
}

TEST(WriteFilesTogether, WritesAllOrNone) {
    const ScratchFolder scratch;
    const fs::path folder = scratch.Path() / L"new";
    const FileContent good[] = {{folder / L"a", "1"}, {folder / L"b", "2"}};
    WriteFilesTogether(good);
    EXPECT_THAT(FolderListing(folder), ElementsAre(L"a", L"b"));
    const fs::path other = scratch.Path() / L"other";
    const FileContent bad[] = {{other / L"a", "1"}, {folder, "2"}};
    EXPECT_THAT(MessageOf([&] { WriteFilesTogether(bad); }), HasSubstr("folder"));
    EXPECT_FALSE(fs::exists(other));
}

TEST(WriteFilesTogether, TakesBackNewFilesWhenOneCannotBeReplaced) {
    const ScratchFolder scratch;
    WriteFile(scratch.Path() / L"b", "old");
    WriteFile(scratch.Path() / L"c", "old");
    const bench::OpenElsewhere user(scratch.Path() / L"c", FILE_SHARE_READ);
    const FileContent files[] = {
        {scratch.Path() / L"a", "1"}, {scratch.Path() / L"b", "2"}, {scratch.Path() / L"c", "3"}};
    EXPECT_THAT(MessageOf([&] { WriteFilesTogether(files); }), HasSubstr("c: "));
    EXPECT_THAT(FolderListing(scratch.Path()), ElementsAre(L"b", L"c"));
}

// Another handle would keep the file from being removed on Ctrl+C.
TEST(DigestOfOpenFile, ReadsAnUnfinishedFileThroughItsHandle) {
    const ScratchFolder scratch;
    OutputFile file(scratch.Path() / L"a.zip");
    file.Write("abc");
    int opened = 0;
    const auto hook = bench::HookOpen([&opened](const std::wstring&) {
        ++opened;
        return DWORD{ERROR_SUCCESS};
    });
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(DigestOfOpenFile(file.Handle(), file.Target()),
                  "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    }
    EXPECT_EQ(opened, 0);
}

// The bench's programs have no console that could send an interruption, so the handler is called as
// the system would call it. It keeps the lock: these tests need a process each.
PHANDLER_ROUTINE InterruptionHandler() {
    PHANDLER_ROUTINE handler = nullptr;
    const auto hook = bench::HookCall<decltype(&::SetConsoleCtrlHandler)>(
        L"kernel32.dll", "SetConsoleCtrlHandler", [&](PHANDLER_ROUTINE routine, BOOL) -> BOOL {
            handler = routine;
            return TRUE;
        });
    RemoveTemporaryFilesOnInterruption();
    EXPECT_NE(handler, nullptr);
    return handler;
}

// The exit code that the handler ends the process with; none if it leaves that to the system.
std::optional<UINT> ExitCodeOf(PHANDLER_ROUTINE handler) {
    std::optional<UINT> code;
    const auto hook = bench::HookCall<decltype(&::TerminateProcess)>(
        L"kernel32.dll", "TerminateProcess", [&](HANDLE, UINT exitCode) -> BOOL {
            code = exitCode;
            return TRUE;
        });
    handler(CTRL_C_EVENT);
    return code;
}

TEST(Interruption, ReportsUnfinishedWork) {
    PHANDLER_ROUTINE const handler = InterruptionHandler();
    const ScratchFolder scratch;
    OutputFile first(scratch.Path() / L"first.zip");
    int reports = 0;
    first.CommitUnfinishedWork([&] { ++reports; });
    EXPECT_EQ(ExitCodeOf(handler), 4U);
    EXPECT_EQ(reports, 1);
}

TEST(Interruption, ReportsNothingOnceTheWorkIsFinished) {
    PHANDLER_ROUTINE const handler = InterruptionHandler();
    const ScratchFolder scratch;
    OutputFile first(scratch.Path() / L"first.zip");
    OutputFile second(scratch.Path() / L"second.txt");
    first.CommitUnfinishedWork([] { ADD_FAILURE(); });
    second.Commit();
    EXPECT_EQ(ExitCodeOf(handler), std::nullopt);
}

TEST(Interruption, GivesTheDigestOnceThePackageIsInPlace) {
    PHANDLER_ROUTINE const handler = InterruptionHandler();
    const ScratchFolder scratch;
    const fs::path package = scratch.Path() / L"client.zip";
    const fs::path config = scratch.Path() / L"config.txt";
    WriteFile(config, "archiveSha256=old\n");
    const kit_test::ErrorOutput error(scratch.Path() / L"error.txt");
    Console console;
    std::atomic<bool> isAtConfig = false;
    {
        const auto hook = bench::HookOpen([&](const std::wstring& path) {
            if (path.ends_with(L"config.txt")) {
                isAtConfig = true;
                ::Sleep(INFINITE);  // The interruption comes now.
            }
            return DWORD{ERROR_SUCCESS};
        });
        std::thread([&] {
            OutputFile file(package);
            file.Write("new");
            CompletePackage(file, "1234", config, console);
        }).detach();
        ASSERT_TRUE(bench::Await([&] { return isAtConfig.load(); }));
        EXPECT_EQ(ExitCodeOf(handler), 4U);
    }
    EXPECT_EQ(error.Text(),
              "repair_kit: the package is complete, but set archiveSha256=1234 yourself: it was "
              "interrupted\n");
    EXPECT_EQ(ReadFile(package), "new");
    EXPECT_EQ(ReadFile(config), "archiveSha256=old\n");
}

TEST(Interruption, RemovesOpenAndClosedTemporaryFiles) {
    PHANDLER_ROUTINE const handler = InterruptionHandler();
    const ScratchFolder scratch;
    // Not freed, because that would wait for the lock.
    auto* const open = new OutputFile(scratch.Path() / L"open.zip");
    auto* const closed = new OutputFile(scratch.Path() / L"closed.zip");
    closed->Close();
    OutputFile finished(scratch.Path() / L"finished.zip");
    finished.Commit();
    ASSERT_EQ(FolderListing(scratch.Path()).size(), 3U);
    EXPECT_FALSE(handler(CTRL_C_EVENT));  // The system then ends the process...
    ::CloseHandle(open->Handle());        // ...which closes all files.
    EXPECT_THAT(FolderListing(scratch.Path()), ElementsAre(L"finished.zip"));
}

// KIT_KILLS kills at random moments; a few in the usual run.
TEST(Interruption, NeverLeavesAHalfWrittenTarget) {
    const char* kills = std::getenv("KIT_KILLS");
    const int rounds = kills == nullptr ? 6 : std::atoi(kills);
    const ScratchFolder scratch;
    const fs::path target = scratch.Path() / L"a.bin";
    const std::string contents[] = {std::string(0x400000, 'a'), std::string(0x400000, 'b'), "old"};
    WriteFile(target, contents[2]);
    std::mt19937 random(20261121);
    for (int i = 0; i < rounds; ++i) {
        const KernelHandle writer =
            kit_test::StartProgram(L"output_writer.exe", L"\"" + target.native() + L"\" 1000");
        ::WaitForSingleObject(writer.get(), random() % 300);
        ::TerminateProcess(writer.get(), 1);
        ::WaitForSingleObject(writer.get(), INFINITE);
        const std::string content = ReadFile(target);
        ASSERT_TRUE(content == contents[0] || content == contents[1] || content == contents[2])
            << i << ": " << content.size();
        EXPECT_LE(FolderListing(scratch.Path()).size(), 2U) << "the leftover of one run at most";
    }
    const KernelHandle last =
        kit_test::StartProgram(L"output_writer.exe", L"\"" + target.native() + L"\" 1");
    ::WaitForSingleObject(last.get(), INFINITE);
    EXPECT_THAT(FolderListing(scratch.Path()), ElementsAre(L"a.bin"));
    EXPECT_TRUE(ReadFile(target) == contents[0]);
}

}  // namespace
