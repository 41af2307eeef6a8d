#include "uninstaller/hand_over.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/scratch_folder.h"
#include "installed_game_test.h"

namespace {

namespace fs = std::filesystem;

std::vector<const wchar_t*> Pointers(const std::vector<std::wstring>& texts) {
    std::vector<const wchar_t*> pointers;
    pointers.reserve(texts.size());
    for (const std::wstring& text : texts) {
        pointers.push_back(text.c_str());
    }
    return pointers;
}

TEST(HandOverCommandLine, IsReadBackAsItWasMeant) {
    const HandOver sent{L"C:\\Games of \u00fc\\Uninstall.exe", reinterpret_cast<HANDLE>(0x1fc)};
    const std::wstring commandLine = HandOverCommandLine(L"C:\\Temp folder\\copy.exe", sent);
    EXPECT_EQ(commandLine,
              L"\"C:\\Temp folder\\copy.exe\" /remove \"C:\\Games of \u00fc\\Uninstall.exe\" 508");
    int count = 0;
    wchar_t** const arguments = ::CommandLineToArgvW(commandLine.c_str(), &count);
    const std::optional<HandOver> received = ParseHandOver({arguments, static_cast<size_t>(count)});
    ::LocalFree(arguments);
    ASSERT_TRUE(received);
    EXPECT_EQ(received->uninstaller, sent.uninstaller);
    EXPECT_EQ(received->original, sent.original);
}

TEST(ParseHandOver, TakesNothingElse) {
    const std::vector<std::vector<std::wstring>> cases{
        {},
        {L"Uninstall.exe"},
        {L"Uninstall.exe", L"/remove"},
        {L"Uninstall.exe", L"/remove", L"C:\\Games\\Uninstall.exe"},
        {L"Uninstall.exe", L"/remove", L"C:\\Games\\Uninstall.exe", L""},
        {L"Uninstall.exe", L"/remove", L"C:\\Games\\Uninstall.exe", L"x"},
        {L"Uninstall.exe", L"/remove", L"C:\\Games\\Uninstall.exe", L"12x"},
        {L"Uninstall.exe", L"/remove", L"C:\\Games\\Uninstall.exe", L"12", L"more"},
        {L"Uninstall.exe", L"/Remove", L"C:\\Games\\Uninstall.exe", L"12"},
        {L"Uninstall.exe", L"/S", L"C:\\Games\\Uninstall.exe", L"12"},
    };
    for (const std::vector<std::wstring>& texts : cases) {
        EXPECT_FALSE(ParseHandOver(Pointers(texts))) << texts.size();
    }
}

fs::path TempFolder() {
    std::wstring folder(MAX_PATH + 1, L'\0');
    folder.resize(::GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()));
    return fs::path(folder).parent_path();
}

// What is in the temporary folder and named like a copy.
std::vector<fs::path> Copies(std::wstring_view extension) {
    std::vector<fs::path> copies;
    for (const fs::directory_entry& entry : fs::directory_iterator(TempFolder())) {
        const std::wstring name = entry.path().filename();
        if (name.starts_with(L"Uninstall-") && name.ends_with(extension)) {
            copies.push_back(entry.path());
        }
    }
    return copies;
}

template <typename Condition>
bool Await(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

TEST(StartCopy, RunsACopyFromTheTemporaryFolder) {
    // The probe writes its current folder and the number of its arguments beside itself.
    const bench::ScratchFolder client;
    const fs::path original = client.Path() / L"Uninstall.exe";
    bench::WriteFile(original, bench::ReadFile(FolderOfThisProgram() / L"startup_probe.exe"));
    bench::SetReadOnly(original, true);
    ASSERT_TRUE(StartCopy(original));
    ASSERT_TRUE(Await([] { return !Copies(L".txt").empty(); }));
    const std::string bytes = bench::ReadFile(Copies(L".txt").front());
    const std::wstring report(reinterpret_cast<const wchar_t*>(bytes.data()),
                              bytes.size() / sizeof(wchar_t));
    EXPECT_TRUE(report.starts_with(TempFolder().native() + L"\n4\n")) << report;
    fs::remove(Copies(L".txt").front());
    // Its file goes with it, the original stays.
    EXPECT_TRUE(Await([] { return Copies(L".exe").empty(); }));
    EXPECT_TRUE(fs::exists(original));
}

TEST(StartCopy, FailsWithoutAFileToCopy) {
    const bench::ScratchFolder client;
    EXPECT_FALSE(StartCopy(client.Path() / L"Uninstall.exe"));
    EXPECT_TRUE(Copies(L".exe").empty());
}

TEST(StartCopy, LeavesNoCopyThatDoesNotStart) {
    const bench::ScratchFolder client;
    bench::WriteFile(client.Path() / L"Uninstall.exe", "no program");
    EXPECT_FALSE(StartCopy(client.Path() / L"Uninstall.exe"));
    EXPECT_TRUE(Copies(L".exe").empty());
}

TEST(StartCopy, LeavesNoCopyThatWouldNotGoByItself) {
    const bench::ScratchFolder client;
    const fs::path original = client.Path() / L"Uninstall.exe";
    bench::WriteFile(original, bench::ReadFile(FolderOfThisProgram() / L"startup_probe.exe"));
    bench::SetReadOnly(original, true);
    const auto real = RealFunction<decltype(&::CreateFileW)>(L"kernel32.dll", "CreateFileW");
    int refused = 0;
    const auto hook = HookCall<decltype(&::CreateFileW)>(
        L"kernel32.dll", "CreateFileW",
        [&](LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD creation,
            DWORD flags, HANDLE model) -> HANDLE {
            if ((flags & FILE_FLAG_DELETE_ON_CLOSE) != 0) {
                ++refused;
                ::SetLastError(ERROR_SHARING_VIOLATION);
                return INVALID_HANDLE_VALUE;
            }
            return real(path, access, share, security, creation, flags, model);
        });
    EXPECT_FALSE(StartCopy(original));
    EXPECT_EQ(refused, 1);
    EXPECT_TRUE(Copies(L".exe").empty());
    EXPECT_TRUE(Copies(L".txt").empty());
    EXPECT_TRUE(fs::exists(original));
}

HANDLE DuplicateOf(HANDLE process) {
    HANDLE duplicate = nullptr;
    ::DuplicateHandle(::GetCurrentProcess(), process, ::GetCurrentProcess(), &duplicate, 0, FALSE,
                      DUPLICATE_SAME_ACCESS);
    return duplicate;
}

TEST(AwaitOriginal, WaitsUntilTheProcessHasEnded) {
    const bench::ScratchFolder client;
    const RunningCopy original(L"child_program.exe", client.Path() / L"Uninstall.exe",
                               L"sleep 600000");
    ASSERT_TRUE(original.Process());
    const HANDLE duplicate = DuplicateOf(original.Process());
    const auto wait =
        RealFunction<decltype(&::WaitForSingleObject)>(L"kernel32.dll", "WaitForSingleObject");
    DWORD waited = WAIT_FAILED;
    {
        // The process only ends because it is waited for.
        const auto hook = HookCall<decltype(&::WaitForSingleObject)>(
            L"kernel32.dll", "WaitForSingleObject", [&](HANDLE handle, DWORD limitMs) -> DWORD {
                if (handle != duplicate) {
                    return wait(handle, limitMs);
                }
                EXPECT_EQ(wait(handle, 0), DWORD{WAIT_TIMEOUT});
                EXPECT_NE(limitMs, INFINITE);
                ::TerminateProcess(original.Process(), 0);
                return waited = wait(handle, limitMs);
            });
        AwaitOriginal(duplicate);
    }
    EXPECT_EQ(waited, DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(wait(original.Process(), 0), DWORD{WAIT_OBJECT_0});
}

TEST(AwaitOriginal, GoesOnWithoutAProcess) {
    AwaitOriginal(nullptr);
    AwaitOriginal(reinterpret_cast<HANDLE>(0x7ffffff0));
}

}  // namespace
