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

constexpr WORD kForeground =
    FOREGROUND_RED | FOREGROUND_GREEN | FOREGROUND_BLUE | FOREGROUND_INTENSITY;

WORD ForegroundOf(Color color) {
    switch (color) {
        case Color::Error:
            return FOREGROUND_RED | FOREGROUND_INTENSITY;
        case Color::Warning:
            return FOREGROUND_RED | FOREGROUND_GREEN | FOREGROUND_INTENSITY;
        case Color::Note:
            return FOREGROUND_GREEN | FOREGROUND_BLUE | FOREGROUND_INTENSITY;
        case Color::Good:
            return FOREGROUND_GREEN | FOREGROUND_INTENSITY;
        case Color::Dim:
            return FOREGROUND_INTENSITY;
        case Color::Plain:
            break;
    }
    return FOREGROUND_RED | FOREGROUND_GREEN | FOREGROUND_BLUE;
}

// The console whose text has another color at the moment. The mutex is never held while something
// is written, so an interruption does not wait for a console that is stopped.
std::mutex coloringMutex;
HANDLE coloredConsole = nullptr;
WORD colorToRestore = 0;
bool isInterrupted = false;  // Nothing is colored any more.

// A console's text color as long as the object lives.
class TextColor {
public:
    TextColor(HANDLE console, WORD plainColor, WORD color) {
        const std::lock_guard lock(coloringMutex);
        if (!isInterrupted && ::SetConsoleTextAttribute(console, color)) {
            coloredConsole = console;
            colorToRestore = plainColor;
        }
    }
    ~TextColor() {
        const std::lock_guard lock(coloringMutex);
        Restore();
    }
    TextColor(const TextColor&) = delete;
    TextColor& operator=(const TextColor&) = delete;

    // With the mutex held, unless the process has crashed.
    static void Restore() {
        if (coloredConsole != nullptr) {
            ::SetConsoleTextAttribute(coloredConsole, colorToRestore);
            coloredConsole = nullptr;
        }
    }
};

BOOL WINAPI OnInterruption(DWORD) {
    const std::lock_guard lock(coloringMutex);
    isInterrupted = true;
    TextColor::Restore();
    return FALSE;  // The system's own handler ends the process.
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
    CONSOLE_SCREEN_BUFFER_INFO screen{};
    stream.hasColors = stream.isConsole && !IsNoColorSet() &&
                       ::GetConsoleScreenBufferInfo(stream.handle, &screen) != FALSE;
    stream.plainColor = screen.wAttributes;
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

DWORD Console::WriteColored(const Stream& stream, std::string_view utf8, Color color) {
    const auto shown = static_cast<WORD>((stream.plainColor & ~kForeground) | ForegroundOf(color));
    const TextColor textColor(stream.handle, stream.plainColor, shown);
    return WriteUtf8(stream, utf8);
}

DWORD Console::WriteLine(const Stream& stream, std::initializer_list<ColoredText> line) {
    std::string plain;  // In one piece, so that lines of several programs are not mixed.
    for (const ColoredText& part : line) {
        const std::string text = EscapeForDisplay(part.text);
        if (!stream.hasColors || part.color == Color::Plain) {
            plain += text;
            continue;
        }
        DWORD error = WriteUtf8(stream, plain);
        plain.clear();
        error = error == ERROR_SUCCESS ? WriteColored(stream, text, part.color) : error;
        if (error != ERROR_SUCCESS) {
            return error;
        }
    }
    return WriteUtf8(stream, plain + '\n');
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

void RestoreTextColorOnInterruption() {
    ::SetConsoleCtrlHandler(OnInterruption, TRUE);
}

void RestoreTextColorAfterCrash() {
    TextColor::Restore();
}

std::string ProgressText(std::string_view what, uint64_t doneBytes, uint64_t totalBytes,
                         int64_t elapsedMs) {
    const double bytesPerSecond =
        static_cast<double>(doneBytes) * 1000.0 / static_cast<double>(elapsedMs);
    const std::string speed = WideToUtf8(FormatSpeed(bytesPerSecond));
    std::string text(what);
    if (doneBytes == 0 || doneBytes > totalBytes) {
        return text + " " + WideToUtf8(FormatByteCount(static_cast<double>(doneBytes))) + ", " +
               speed;
    }
    const auto percent =
        static_cast<int>(100.0 * static_cast<double>(doneBytes) / static_cast<double>(totalBytes));
    return text + " " + std::to_string(percent) + " %, " + speed + ", " +
           RemainingTime(doneBytes, totalBytes, elapsedMs) + " left";
}
