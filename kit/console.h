#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "common/windows_api.h"

// How a part of a line is shown on a console. Redirected output is plain.
enum class Color { Plain, Error, Warning, Note, Good, Dim };

struct ColoredText {
    std::string_view text;
    Color color = Color::Plain;
};

// The kit's output: UTF-8 where it is redirected, wide characters on a console. Every line is
// escaped (EscapeForDisplay), so a text from outside cannot do more than be read; one call is one
// line. Colors on consoles only, unless NO_COLOR is set; the background stays. Any thread.
class Console {
public:
    struct Mode {
        bool quiet = false;  // No summary and no progress.
        bool json = false;   // Nothing on stdout but PrintJson's document.
    };

    Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    // Before the command's work begins.
    void SetMode(Mode mode);

    // One line on stdout: results, such as findings. Not under --json. Throws OutsideFailure when
    // stdout cannot be written.
    void Print(std::string_view line);
    void Print(std::initializer_list<ColoredText> line);

    // The same for what --quiet leaves out: what was done, with totals.
    void PrintSummary(std::string_view line);
    void PrintSummary(std::initializer_list<ColoredText> line);

    // The whole stdout under --json: `document` as it is, UTF-8 (see JsonText). Throws like Print.
    void PrintJson(std::string_view document);

    // One line on stderr, whatever the mode. Failures to write are ignored.
    void PrintError(std::string_view line);
    void PrintError(std::initializer_list<ColoredText> line);

    [[nodiscard]] const Mode& CurrentMode() const {
        return mode_;
    }

private:
    friend class Progress;

    struct Stream {
        HANDLE handle = nullptr;  // Null when there is none.
        bool isConsole = false;
        bool hasColors = false;
        WORD plainColor = 0;  // The console's own, with background.
    };

    static Stream OpenStream(DWORD id);
    static DWORD WriteUtf8(const Stream& stream, std::string_view utf8);
    static DWORD WriteColored(const Stream& stream, std::string_view utf8, Color color);
    static DWORD WriteLine(const Stream& stream, std::initializer_list<ColoredText> line);
    void PrintOut(std::initializer_list<ColoredText> line);

    // Replaces the progress line; empty removes it. Not locked.
    void ShowProgress(std::string_view line);

    std::mutex mutex_;
    Mode mode_;
    Stream out_;
    Stream error_;
    size_t progressCharacters_ = 0;  // Of the progress line that is on the screen.
};

// A line on the console (stderr) while work lasts longer than a second: percent, MB/s and the
// remaining time. Nothing where stderr is no console, with --quiet or --json. Gone when the object
// ends. Any thread may call Add; it is cheap.
class Progress {
public:
    // `what` is UTF-8: "Packing". A total of 0 is unknown: no percent and no remaining time.
    Progress(Console& console, std::string what, uint64_t totalBytes);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Add(uint64_t bytes);

private:
    using Clock = std::chrono::steady_clock;

    Console& console_;
    const bool isShown_;
    const std::string what_;
    const uint64_t totalBytes_;
    const Clock::time_point start_;
    std::atomic<uint64_t> doneBytes_ = 0;
    std::atomic<int64_t> nextShowMs_;  // Since the start.
};

// From now on Ctrl+C restores the console's text color before the process ends.
void RestoreTextColorOnInterruption();

// Restores the console's text color in a process that is about to end because of a crash: takes no
// lock, which the crashed thread may hold.
void RestoreTextColorAfterCrash();

// "Packing 42 %, 118.3 MB/s, 12 s left". `elapsedMs` is over 0.
std::string ProgressText(std::string_view what, uint64_t doneBytes, uint64_t totalBytes,
                         int64_t elapsedMs);
