#include "uninstaller/hand_over.h"

#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "bench_parts/call_hook.h"
#include "bench_parts/environment_variable.h"
#include "bench_parts/file_hooks.h"
#include "bench_parts/running_copy.h"
#include "bench_parts/scratch_folder.h"
#include "bench_parts/waiting.h"
#include "common/paths.h"
#include "common/temporary_folder.h"

namespace {

namespace fs = std::filesystem;

fs::path TempFolder() {
    return ParentFolder(TemporaryFolder());
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

// An uninstaller that reports how its copy was started.
class StartCopyTest : public testing::Test {
protected:
    StartCopyTest() {
        for (const fs::path& report : Copies(L".txt")) {
            fs::remove(report);  // Of a test that failed.
        }
        bench::WriteFile(original_,
                         bench::ReadFile(bench::FolderOfThisProgram() / L"start_probe.exe"));
    }

    // The lines that the copy writes; it has ended then and its file is gone.
    static std::vector<std::wstring> AwaitReport() {
        EXPECT_TRUE(bench::Await([] { return !Copies(L".txt").empty(); }));
        EXPECT_TRUE(bench::Await([] { return Copies(L".exe").empty(); }));
        const std::string bytes = bench::ReadFile(Copies(L".txt").front());
        fs::remove(Copies(L".txt").front());
        std::wistringstream report(std::wstring(reinterpret_cast<const wchar_t*>(bytes.data()),
                                                bytes.size() / sizeof(wchar_t)));
        std::vector<std::wstring> lines;
        for (std::wstring line; std::getline(report, line);) {
            lines.push_back(line);
        }
        lines.resize(7);
        return lines;
    }

    // Calls `seen` instead of opening the copy's file to be held; its second argument opens it.
    template <class Callable>
    [[nodiscard]] static auto WhenHeld(Callable seen) {
        using Function = decltype(&::CreateFileW);
        return bench::HookCall<Function>(
            bench::kKernel32, "CreateFileW", [seen](LPCWSTR path, auto... more) -> HANDLE {
                const auto open = [=] {
                    return bench::RealFunction<Function>(bench::kKernel32, "CreateFileW")(path,
                                                                                          more...);
                };
                const DWORD flags = std::get<4>(std::tuple(more...));
                return (flags & FILE_FLAG_DELETE_ON_CLOSE) != 0 ? seen(path, open) : open();
            });
    }

    [[nodiscard]] const fs::path& Original() const {
        return original_;
    }

private:
    bench::ScratchFolder client_;
    fs::path original_ = client_.Path() / L"Uninstall.exe";
};

TEST_F(StartCopyTest, RunsACopyFromTheTemporaryFolderThatMayComeToTheFront) {
    bench::SetReadOnly(Original(), true);
    std::vector<std::wstring> allowed;
    const auto hook = bench::HookCall<decltype(&::AllowSetForegroundWindow)>(
        L"user32.dll", "AllowSetForegroundWindow", [&](DWORD process) -> BOOL {
            allowed.push_back(std::to_wstring(process));
            return TRUE;
        });
    ASSERT_TRUE(StartCopy(Original()));
    const std::vector<std::wstring> lines = AwaitReport();
    EXPECT_EQ(lines[0], TempFolder());
    EXPECT_EQ(lines[1], L"4");
    EXPECT_EQ(allowed, std::vector{lines[3]});
    EXPECT_TRUE(fs::exists(Original()));
}

TEST_F(StartCopyTest, LeavesNothingOfACopyThatCannotBeMadeOrStarted) {
    {
        const auto hook = bench::HookCall<decltype(&::WriteFile)>(
            bench::kKernel32, "WriteFile",
            [&](HANDLE file, LPCVOID bytes, DWORD count, auto... more) -> BOOL {
                return bench::RealFunction<decltype(&::WriteFile)>(bench::kKernel32, "WriteFile")(
                    file, bytes, count / 2, more...);  // As on a full disk.
            });
        EXPECT_FALSE(StartCopy(Original()));
        EXPECT_TRUE(Copies(L".exe").empty());
    }
    {
        int readCount = 0;
        const auto hook = bench::HookRead([&](DWORD& byteCount) -> DWORD {
            byteCount -= ++readCount == 1 ? 1 : 0;
            return ERROR_SUCCESS;
        });
        EXPECT_FALSE(StartCopy(Original()));
    }
    bench::WriteFile(Original(), "no program");
    EXPECT_FALSE(StartCopy(Original()));
    fs::remove(Original());
    EXPECT_FALSE(StartCopy(Original()));
    EXPECT_TRUE(Copies(L".exe").empty());
}

TEST_F(StartCopyTest, OverwritesNoFile) {
    const auto hook = bench::HookCall<decltype(&::GetTickCount64)>(
        bench::kKernel32, "GetTickCount64", []() -> ULONGLONG { return 7; });
    const fs::path other =
        TempFolder() / (L"Uninstall-" + std::to_wstring(::GetCurrentProcessId()) + L"-7.exe");
    bench::WriteFile(other, "not a copy");
    EXPECT_FALSE(StartCopy(Original()));
    EXPECT_TRUE(bench::ReadFile(other) == "not a copy");  // Too long to be printed.
    fs::remove(other);
}

TEST_F(StartCopyTest, LeavesNoCopyThatWouldNotBeDeletedAtItsEnd) {
    bench::SetReadOnly(Original(), true);
    int refused = 0;
    const auto hook = WhenHeld([&](LPCWSTR, auto) {
        ++refused;
        ::SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    });
    EXPECT_FALSE(StartCopy(Original()));
    EXPECT_EQ(refused, 1);
    EXPECT_TRUE(Copies(L".exe").empty());
    EXPECT_TRUE(Copies(L".txt").empty());
    EXPECT_TRUE(fs::exists(Original()));
}

TEST_F(StartCopyTest, WaitsForAVirusScannerThatHoldsTheCopy) {
    int refused = 0;
    const auto held = WhenHeld([&](LPCWSTR, auto open) {
        if (refused == 2) {
            return open();
        }
        ++refused;
        ::SetLastError(ERROR_SHARING_VIOLATION);
        return INVALID_HANDLE_VALUE;
    });
    ASSERT_TRUE(StartCopy(Original()));
    EXPECT_EQ(refused, 2);
    AwaitReport();
}

bool CanBeOpened(const fs::path& file, DWORD access, DWORD share) {
    return AdoptHandle<KernelHandle>(::CreateFileW(file.c_str(), access, share, nullptr,
                                                   OPEN_EXISTING, 0, nullptr)) != nullptr;
}

TEST_F(StartCopyTest, LetsNoOtherProgramChangeTheHeldCopy) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    fs::path copy;
    const auto held = WhenHeld([&](LPCWSTR path, auto open) {
        copy = path;
        return open();
    });
    bool isStarted = false;
    const auto hook = bench::HookCall<decltype(&::CreateProcessW)>(
        bench::kKernel32, "CreateProcessW", [&](auto...) -> BOOL {
            isStarted = true;
            EXPECT_FALSE(CanBeOpened(copy, GENERIC_WRITE, kShareAll));
            EXPECT_FALSE(CanBeOpened(copy, DELETE, kShareAll));
            // As the loader opens a program.
            EXPECT_TRUE(CanBeOpened(copy, GENERIC_READ | GENERIC_EXECUTE,
                                    FILE_SHARE_READ | FILE_SHARE_DELETE));
            return FALSE;
        });
    EXPECT_FALSE(StartCopy(Original()));
    EXPECT_TRUE(isStarted);
}

TEST_F(StartCopyTest, RunsOnlyTheOriginalsBytes) {
    std::string other = bench::ReadFile(Original());
    other.back() = static_cast<char>(other.back() + 1);
    for (const std::string& bytes : {other, other + "more", std::string("MZ")}) {
        const auto hook = WhenHeld([&](LPCWSTR path, auto open) {
            bench::WriteFile(path, bytes);
            return open();
        });
        EXPECT_FALSE(StartCopy(Original()));
        EXPECT_TRUE(Copies(L".exe").empty());
        EXPECT_TRUE(Copies(L".txt").empty());
    }
}

TEST_F(StartCopyTest, GivesItTheHandlesThatItNeedsAndNoOthers) {
    // Any other part of the program may have an inheritable handle open.
    const bench::ScratchFolder elsewhere;
    bench::WriteFile(elsewhere.Path() / L"file", "12345");
    SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    const auto other = AdoptHandle<KernelHandle>(
        ::CreateFileW((elsewhere.Path() / L"file").c_str(), GENERIC_READ, FILE_SHARE_READ,
                      &inheritable, OPEN_EXISTING, 0, nullptr));
    std::optional<bench::EnvironmentVariable> handles;
    const auto hook = WhenHeld([&](LPCWSTR, auto open) {
        const HANDLE held = open();
        handles.emplace(L"BENCH_HANDLES",
                        std::to_wstring(reinterpret_cast<uintptr_t>(held)) + L" " +
                            std::to_wstring(reinterpret_cast<uintptr_t>(other.get())));
        return held;
    });
    ASSERT_TRUE(StartCopy(Original()));
    const std::vector<std::wstring> lines = AwaitReport();
    EXPECT_EQ(lines[4], std::to_wstring(WAIT_TIMEOUT));  // This process is still running.
    EXPECT_EQ(lines[5], std::to_wstring(fs::file_size(Original())));
    EXPECT_EQ(lines[6], L"0");
}

TEST(AwaitOriginal, WaitsThirtySecondsForTheProcess) {
    std::vector<std::pair<HANDLE, DWORD>> waits;
    const auto hook = bench::WatchCall<decltype(&::WaitForSingleObject)>(
        bench::kKernel32, "WaitForSingleObject",
        [&](HANDLE handle, DWORD limitMs) { waits.emplace_back(handle, limitMs); });
    const HANDLE ended = ::CreateEventW(nullptr, TRUE, TRUE, nullptr);
    AwaitOriginal(ended);
    EXPECT_EQ(waits, (std::vector<std::pair<HANDLE, DWORD>>{{ended, 30'000}}));
    // What is no process is as good as one that has ended.
    AwaitOriginal(nullptr);
    AwaitOriginal(reinterpret_cast<HANDLE>(0x7ffffff0));
}

}  // namespace
