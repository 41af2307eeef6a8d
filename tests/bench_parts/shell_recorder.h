#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "bench_parts/call_hook.h"
#include "common/shell_api.h"

namespace bench {

// Keeps what the shell is asked to open; nothing is opened.
class ShellRecorder {
public:
    ShellRecorder() = default;
    ShellRecorder(const ShellRecorder&) = delete;
    ShellRecorder& operator=(const ShellRecorder&) = delete;

    struct Call {
        HWND owner = nullptr;
        std::optional<std::wstring> verb{};
        std::optional<std::wstring> file{};
        std::optional<std::wstring> parameters{};
        std::optional<std::wstring> folder{};
        int show = 0;

        bool operator==(const Call&) const = default;
        friend void PrintTo(const Call& call, std::ostream* out) {
            *out << testing::PrintToString(std::tie(call.owner, call.verb, call.file,
                                                    call.parameters, call.folder, call.show));
        }
    };
    [[nodiscard]] const std::vector<Call>& Calls() const {
        return calls_;
    }

private:
    static std::optional<std::wstring> TextOf(const wchar_t* text) {
        return text == nullptr ? std::nullopt : std::optional<std::wstring>(text);
    }

    std::vector<Call> calls_;
    std::shared_ptr<void> hook_{new auto(HookCall<decltype(&::ShellExecuteW)>(
        L"shell32.dll", "ShellExecuteW",
        [this](HWND owner, LPCWSTR verb, LPCWSTR file, LPCWSTR parameters, LPCWSTR folder,
               INT show) -> HINSTANCE {
            calls_.push_back(
                {owner, TextOf(verb), TextOf(file), TextOf(parameters), TextOf(folder), show});
            return nullptr;  // Out of memory, which the program ignores.
        }))};
};

}  // namespace bench
