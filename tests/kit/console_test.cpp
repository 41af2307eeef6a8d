// What the kit shows on a console, read from its screen.

#include "kit/console.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <exception>
#include <stdexcept>

#include "bench_parts/call_hook.h"
#include "bench_parts/environment_variable.h"
#include "common/handles.h"
#include "common/text.h"
#include "kit/crash_guard.h"

namespace {

using testing::StartsWith;

// White on blue.
constexpr WORD kPlain = BACKGROUND_BLUE | 7;
constexpr WORD kBlue = BACKGROUND_BLUE;

// A console of this process. Kept to the end, because giving it back may close the handles of the
// test's own output.
void MakeConsole() {
    static const bool isMade = [] {
        ::FreeConsole();
        return ::AllocConsole() != FALSE;
    }();
    if (!isMade) {
        throw std::runtime_error("no console");
    }
}

// A screen that standard output and error go to as long as the object lives.
class Screen {
public:
    Screen() {
        MakeConsole();
        buffer_ = AdoptHandle<KernelHandle>(
            ::CreateConsoleScreenBuffer(GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                        CONSOLE_TEXTMODE_BUFFER, nullptr));
        ::SetConsoleTextAttribute(buffer_.get(), kPlain);
        ::SetStdHandle(STD_OUTPUT_HANDLE, buffer_.get());
        ::SetStdHandle(STD_ERROR_HANDLE, buffer_.get());
    }
    ~Screen() {
        ::SetStdHandle(STD_OUTPUT_HANDLE, formerOut_);
        ::SetStdHandle(STD_ERROR_HANDLE, formerError_);
    }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    // A line of the screen without the blanks at its end.
    [[nodiscard]] std::wstring Line(SHORT row) const {
        std::wstring line(kColumns, L'\0');
        DWORD read = 0;
        ::ReadConsoleOutputCharacterW(buffer_.get(), line.data(), kColumns, {0, row}, &read);
        line.resize(line.find_last_not_of(L' ') + 1);
        return line;
    }
    // The colors of its first characters.
    [[nodiscard]] std::vector<WORD> Colors(SHORT row, size_t count) const {
        std::vector<WORD> colors(count);
        DWORD read = 0;
        ::ReadConsoleOutputAttribute(buffer_.get(), colors.data(), static_cast<DWORD>(count),
                                     {0, row}, &read);
        return colors;
    }
    [[nodiscard]] WORD CurrentColor() const {
        CONSOLE_SCREEN_BUFFER_INFO info{};
        ::GetConsoleScreenBufferInfo(buffer_.get(), &info);
        return info.wAttributes;
    }
    [[nodiscard]] DWORD Mode() const {
        DWORD mode = 0;
        ::GetConsoleMode(buffer_.get(), &mode);
        return mode;
    }

private:
    static constexpr DWORD kColumns = 80;

    HANDLE formerOut_ = ::GetStdHandle(STD_OUTPUT_HANDLE);
    HANDLE formerError_ = ::GetStdHandle(STD_ERROR_HANDLE);
    KernelHandle buffer_;
};

std::vector<WORD> Colors(std::initializer_list<std::pair<size_t, WORD>> parts) {
    std::vector<WORD> colors;
    for (const auto& [count, color] : parts) {
        colors.insert(colors.end(), count, color);
    }
    return colors;
}

TEST(Console, ColorsPartsOfLinesAndLeavesTheBackground) {
    const bench::EnvironmentVariable noColor(L"NO_COLOR", std::nullopt);
    const Screen screen;
    const DWORD mode = screen.Mode();
    Console console;
    console.Print({{"er", Color::Error}, {": a "}, {"x", Color::Dim}, {"."}});
    console.PrintError({{"w", Color::Warning}, {"n", Color::Note}, {"g", Color::Good}});
    EXPECT_EQ(screen.Line(0), L"er: a x.");
    EXPECT_EQ(screen.Colors(0, 8),
              Colors({{2, kBlue | 12}, {4, kPlain}, {1, kBlue | 8}, {1, kPlain}}));
    EXPECT_EQ(screen.Line(1), L"wng");
    EXPECT_EQ(screen.Colors(1, 3), Colors({{1, kBlue | 14}, {1, kBlue | 11}, {1, kBlue | 10}}));
    EXPECT_EQ(screen.CurrentColor(), kPlain);
    EXPECT_EQ(screen.Mode(), mode);
}

TEST(Console, HasNoColorsWithNoColor) {
    const Screen screen;
    const struct {
        std::optional<std::wstring> value;
        WORD color;
    } rows[] = {{L"1", kPlain}, {L"0", kPlain}, {L"", kBlue | 12}};
    SHORT row = 0;
    for (const auto& each : rows) {
        const bench::EnvironmentVariable noColor(L"NO_COLOR", each.value);
        Console().PrintError({{"error", Color::Error}});
        EXPECT_EQ(screen.Line(row), L"error");
        EXPECT_EQ(screen.Colors(row++, 1), std::vector{each.color});
    }
}

TEST(Console, AnInterruptionGivesTheTextItsColorBack) {
    const bench::EnvironmentVariable noColor(L"NO_COLOR", std::nullopt);
    PHANDLER_ROUTINE handler = nullptr;
    {
        const auto hook = bench::HookCall<decltype(&::SetConsoleCtrlHandler)>(
            L"kernel32.dll", "SetConsoleCtrlHandler", [&](PHANDLER_ROUTINE routine, BOOL) -> BOOL {
                handler = routine;
                return TRUE;
            });
        RestoreTextColorOnInterruption();
    }
    ASSERT_NE(handler, nullptr);
    const Screen screen;
    Console console;
    using Write = decltype(&::WriteConsoleW);
    const auto write = bench::RealFunction<Write>(L"kernel32.dll", "WriteConsoleW");
    const auto interrupted = bench::HookCall<Write>(
        L"kernel32.dll", "WriteConsoleW",
        [&](HANDLE out, const void* text, DWORD length, DWORD* written, void* reserved) -> BOOL {
            if (*static_cast<const wchar_t*>(text) == L'e') {
                EXPECT_EQ(screen.CurrentColor(), kBlue | 12);
                EXPECT_FALSE(handler(CTRL_C_EVENT));  // The system then ends the process.
                EXPECT_EQ(screen.CurrentColor(), kPlain);
            }
            return write(out, text, length, written, reserved);
        });
    console.PrintError({{"error", Color::Error}, {"."}});
    console.PrintError({{"warning", Color::Warning}});
    EXPECT_EQ(screen.Colors(1, 1), std::vector{kPlain}) << "colored after the interruption";
}

TEST(Console, ACrashGivesTheTextItsColorBack) {
    const bench::EnvironmentVariable noColor(L"NO_COLOR", std::nullopt);
    LPTOP_LEVEL_EXCEPTION_FILTER filter = nullptr;
    {
        const auto hook = bench::HookCall<decltype(&::SetUnhandledExceptionFilter)>(
            L"kernel32.dll", "SetUnhandledExceptionFilter",
            [&](LPTOP_LEVEL_EXCEPTION_FILTER installed) -> LPTOP_LEVEL_EXCEPTION_FILTER {
                filter = installed;
                return nullptr;
            });
        const UINT errorMode = ::GetErrorMode();
        const std::terminate_handler onTerminate = std::get_terminate();
        const auto onAbort = std::signal(SIGABRT, SIG_DFL);
        InstallCrashGuards();
        ::SetErrorMode(errorMode);
        std::set_terminate(onTerminate);
        std::signal(SIGABRT, onAbort);
    }
    ASSERT_NE(filter, nullptr);
    struct Ended {};
    const auto end = bench::HookCall<decltype(&::TerminateProcess)>(
        L"kernel32.dll", "TerminateProcess", [](HANDLE, UINT) -> BOOL { throw Ended(); });
    const Screen screen;
    Console console;
    int crashes = 0;
    using Write = decltype(&::WriteConsoleW);
    const auto crash =
        bench::HookCall<Write>(L"kernel32.dll", "WriteConsoleW",
                               [&](HANDLE, const void* text, DWORD, DWORD*, void*) -> BOOL {
                                   if (*static_cast<const wchar_t*>(text) == L'e') {
                                       EXPECT_EQ(screen.CurrentColor(), kBlue | 12);
                                       EXCEPTION_RECORD record{};
                                       EXCEPTION_POINTERS pointers{&record, nullptr};
                                       EXPECT_THROW(filter(&pointers), Ended);
                                       EXPECT_EQ(screen.CurrentColor(), kPlain);
                                       ++crashes;
                                   }
                                   return TRUE;
                               });
    console.PrintError({{"error", Color::Error}});
    EXPECT_EQ(crashes, 1);
}

class ProgressTest : public testing::Test {
protected:
    void Pass(int milliseconds) {
        passed_ += milliseconds;
    }

    [[nodiscard]] auto HookClock() {
        using Counter = decltype(&::QueryPerformanceCounter);
        LARGE_INTEGER start{};
        LARGE_INTEGER frequency{};
        ::QueryPerformanceCounter(&start);
        ::QueryPerformanceFrequency(&frequency);
        // Time passes only when the test says so.
        return bench::HookCall<Counter>(
            L"kernel32.dll", "QueryPerformanceCounter", [=, this](LARGE_INTEGER* count) -> BOOL {
                count->QuadPart = start.QuadPart + frequency.QuadPart / 1000 * passed_;
                return TRUE;
            });
    }

private:
    int64_t passed_ = 0;
};

TEST_F(ProgressTest, IsALineThatOtherLinesReplace) {
    const Screen screen;
    const auto clock = HookClock();
    Console console;
    {
        Progress progress(console, "Packing", 1000);
        Pass(999);
        progress.Add(410);
        EXPECT_EQ(screen.Line(0), L"") << "before the first second has passed";
        Pass(1);
        progress.Add(10);
        EXPECT_EQ(screen.Line(0), L"Packing 42 %, 420 B/s, 1 s left");
        Pass(199);
        progress.Add(100);
        EXPECT_THAT(screen.Line(0), StartsWith(L"Packing 42 %"));
        console.PrintError("a warning");
        EXPECT_EQ(screen.Line(0), L"a warning");
        EXPECT_EQ(screen.Line(1), L"");
        Pass(1);
        progress.Add(460);
        EXPECT_EQ(screen.Line(1), L"Packing 98 %, 817 B/s, 0 s left");
    }
    EXPECT_EQ(screen.Line(1), L"");
    console.Print("done");
    EXPECT_EQ(screen.Line(1), L"done");
}

TEST_F(ProgressTest, IsNotShownWhereItDisturbs) {
    const Screen screen;
    const auto clock = HookClock();
    for (const Console::Mode& mode : {Console::Mode{true, false}, Console::Mode{false, true}}) {
        Console console;
        console.SetMode(mode);
        Progress progress(console, "Packing", 1000);
        Pass(5000);
        progress.Add(420);
        EXPECT_EQ(screen.Line(0), L"");
    }
}

TEST(ProgressText, GivesPercentSpeedAndRemainingTime) {
    constexpr uint64_t kMegabyte = 1024 * 1024;
    const struct {
        uint64_t done;
        uint64_t total;
        int64_t elapsedMs;
        const char* text;
    } rows[] = {
        {1183 * kMegabyte, 2600 * kMegabyte, 10'000, "Packing 45 %, 118.3 MB/s, 12 s left"},
        {0, 100, 1500, "Packing 0 B, 0 MB/s"},
        {999, 1000, 1000, "Packing 99 %, 999 B/s, 0 s left"},
        {1000, 1000, 1000, "Packing 100 %, 1000 B/s, 0 s left"},
        {1001, 1000, 1000, "Packing 1001 B, 1001 B/s"},
        {2048, 0, 1000, "Packing 2.0 KB, 2.0 KB/s"},
        {1, 60, 1000, "Packing 1 %, 1 B/s, 59 s left"},
        {1, 61, 1000, "Packing 1 %, 1 B/s, 1:00 min left"},
        {1, 126, 1000, "Packing 0 %, 1 B/s, 2:05 min left"},
        {1, ~uint64_t{0}, 1000, "Packing 0 %, 1 B/s, 5999:59 min left"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ProgressText("Packing", row.done, row.total, row.elapsedMs), row.text);
    }
}

}  // namespace
