#include "kit/console.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "common/byte_count_text.h"
#include "common/text.h"
#include "kit/errors.h"
#include "kit/utf8.h"

namespace {

constexpr int64_t kFirstProgressMs = 1000;
constexpr int64_t kProgressIntervalMs = 200;

bool IsNoColorSet() {
    return ::GetEnvironmentVariableW(L"NO_COLOR", nullptr, 0) > 1;  // More than the final zero.
}

std::string_view ColorSequence(Color color) {
    switch (color) {
        case Color::Error:
            return "\x1B[91m";
        case Color::Warning:
            return "\x1B[93m";
        case Color::Note:
            return "\x1B[96m";
        case Color::Good:
            return "\x1B[92m";
        case Color::Dim:
            return "\x1B[90m";
        case Color::Plain:
            break;
    }
    return {};
}

std::string RemainingTime(uint64_t doneBytes, uint64_t totalBytes, int64_t elapsedMs) {
    const double rate = static_cast<double>(doneBytes) / static_cast<double>(elapsedMs);
    const double leftMs = static_cast<double>(totalBytes - doneBytes) / rate;
    const auto seconds = static_cast<int64_t>(std::min(leftMs / 1000.0 + 0.5, 359'999.0));
    std::array<char, 32> text{};
    if (seconds < 60) {
        std::snprintf(text.data(), text.size(), "%d s", static_cast<int>(seconds));
    } else {
        std::snprintf(text.data(), text.size(), "%d:%02d min", static_cast<int>(seconds / 60),
                      static_cast<int>(seconds % 60));
    }
    return text.data();
}

}  // namespace

Console::Console() : out_(OpenStream(STD_OUTPUT_HANDLE)), error_(OpenStream(STD_ERROR_HANDLE)) {}

void Console::SetMode(Mode mode) {
    mode_ = mode;
}

void Console::Print(std::string_view line) {
    PrintOut({{line}});
}

void Console::Print(std::initializer_list<ColoredText> line) {
    PrintOut(line);
}

void Console::PrintSummary(std::string_view line) {
    PrintSummary({{line}});
}

void Console::PrintSummary(std::initializer_list<ColoredText> line) {
    if (!mode_.quiet) {
        PrintOut(line);
    }
}

void Console::PrintJson(std::string_view document) {
    const std::lock_guard lock(mutex_);
    ShowProgress({});
    const DWORD error = WriteUtf8(out_, document);
    if (error != ERROR_SUCCESS) {
        throw OutsideFailure("cannot write the output", error);
    }
}

void Console::PrintError(std::string_view line) {
    PrintError({{line}});
}

void Console::PrintError(std::initializer_list<ColoredText> line) {
    const std::lock_guard lock(mutex_);
    ShowProgress({});
    static_cast<void>(WriteLine(error_, line));  // There is nowhere else to report it.
}

void Console::PrintOut(std::initializer_list<ColoredText> line) {
    if (mode_.json) {
        return;
    }
    const std::lock_guard lock(mutex_);
    ShowProgress({});
    const DWORD error = WriteLine(out_, line);
    if (error != ERROR_SUCCESS) {
        throw OutsideFailure("cannot write the output", error);
    }
}

Console::Stream Console::OpenStream(DWORD id) {
    Stream stream;
    stream.handle = ::GetStdHandle(id);
    if (stream.handle == INVALID_HANDLE_VALUE) {
        stream.handle = nullptr;
    }
    DWORD mode = 0;
    stream.isConsole = stream.handle != nullptr && ::GetConsoleMode(stream.handle, &mode) != FALSE;
    stream.hasColors =
        stream.isConsole && !IsNoColorSet() &&
        ::SetConsoleMode(stream.handle, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != FALSE;
    return stream;
}

// Without a handle nothing is written, which is not an error.
DWORD Console::WriteUtf8(const Stream& stream, std::string_view utf8) {
    if (stream.handle == nullptr) {
        return ERROR_SUCCESS;
    }
    if (stream.isConsole) {
        const std::wstring wide = Utf8ToWide(utf8);
        std::wstring_view rest = wide;
        while (!rest.empty()) {
            // Consoles limit how much one call may write.
            constexpr size_t kPieceCharacters = 8000;
            const auto length = static_cast<DWORD>(std::min(rest.size(), kPieceCharacters));
            DWORD written = 0;
            if (!::WriteConsoleW(stream.handle, rest.data(), length, &written, nullptr)) {
                return ::GetLastError();
            }
            rest.remove_prefix(std::max<size_t>(written, 1));
        }
        return ERROR_SUCCESS;
    }
    while (!utf8.empty()) {
        constexpr size_t kPieceBytes = 0x100000;
        const auto length = static_cast<DWORD>(std::min(utf8.size(), kPieceBytes));
        DWORD written = 0;
        if (!::WriteFile(stream.handle, utf8.data(), length, &written, nullptr)) {
            return ::GetLastError();
        }
        if (written == 0) {
            return ERROR_DISK_FULL;  // A full disk can succeed with a short count.
        }
        utf8.remove_prefix(written);
    }
    return ERROR_SUCCESS;
}

DWORD Console::WriteLine(const Stream& stream, std::initializer_list<ColoredText> line) {
    std::string text;
    for (const ColoredText& part : line) {
        const std::string_view sequence =
            stream.hasColors ? ColorSequence(part.color) : std::string_view();
        text += sequence;
        text += EscapeForDisplay(part.text);
        text += sequence.empty() ? std::string_view() : "\x1B[0m";
    }
    text += '\n';
    return WriteUtf8(stream, text);
}

void Console::ShowProgress(std::string_view line) {
    if (line.empty() && progressCharacters_ == 0) {
        return;
    }
    // Blanks over what is left of the former line work on every console.
    std::string text = "\r" + std::string(line);
    const size_t characters = line.size();
    if (progressCharacters_ > characters) {
        text.append(progressCharacters_ - characters, ' ');
    }
    text += line.empty() ? "\r" : "";
    static_cast<void>(WriteUtf8(error_, text));  // Only a convenience.
    progressCharacters_ = characters;
}

Progress::Progress(Console& console, std::string what, uint64_t totalBytes)
    : console_(console),
      isShown_(console.error_.isConsole && !console.mode_.quiet && !console.mode_.json),
      what_(std::move(what)),
      totalBytes_(totalBytes),
      start_(Clock::now()),
      nextShowMs_(kFirstProgressMs) {}

Progress::~Progress() {
    const std::lock_guard lock(console_.mutex_);
    console_.ShowProgress({});
}

void Progress::Add(uint64_t bytes) {
    const uint64_t doneBytes = doneBytes_.fetch_add(bytes) + bytes;
    if (!isShown_) {
        return;
    }
    const int64_t elapsedMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start_).count();
    int64_t due = nextShowMs_;
    if (elapsedMs < due ||
        !nextShowMs_.compare_exchange_strong(due, elapsedMs + kProgressIntervalMs)) {
        return;  // Too early, or another thread shows it.
    }
    const std::lock_guard lock(console_.mutex_);
    console_.ShowProgress(ProgressText(what_, doneBytes, totalBytes_, elapsedMs));
}

std::string ProgressText(std::string_view what, uint64_t doneBytes, uint64_t totalBytes,
                         int64_t elapsedMs) {
    const double bytesPerSecond =
        static_cast<double>(doneBytes) * 1000.0 / static_cast<double>(elapsedMs);
    const std::string speed = WideToUtf8(FormatSpeed(bytesPerSecond));
    std::string text(what);
    if (totalBytes == 0 || doneBytes == 0 || doneBytes > totalBytes) {
        return text + " " + WideToUtf8(FormatByteCount(static_cast<double>(doneBytes))) + ", " +
               speed;
    }
    const auto percent =
        static_cast<int>(100.0 * static_cast<double>(doneBytes) / static_cast<double>(totalBytes));
    return text + " " + std::to_string(percent) + " %, " + speed + ", " +
           RemainingTime(doneBytes, totalBytes, elapsedMs) + " left";
}
