#include "kit/errors.h"

#include <array>

#include "common/text.h"
#include "kit/utf8.h"

WrongUsage::WrongUsage(const std::string& message) : std::runtime_error(message) {}

OutsideFailure::OutsideFailure(const std::string& message) : std::runtime_error(message) {}

OutsideFailure::OutsideFailure(const std::string& what, DWORD error)
    : std::runtime_error(what + ": " + SystemErrorText(error)) {}

OutsideFailure::OutsideFailure(const std::string& what, std::wstring_view path, DWORD error)
    : OutsideFailure(what + " " + WideToUtf8(path), error) {}

std::string SystemErrorText(DWORD error) {
    constexpr DWORD kFirstWinHttpError = 12000;
    constexpr DWORD kLastWinHttpError = 12999;
    std::array<wchar_t, 512> words{};
    DWORD flags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    HMODULE source = nullptr;
    if (error >= kFirstWinHttpError && error <= kLastWinHttpError) {
        source = ::GetModuleHandleW(L"winhttp.dll");
        flags |= source != nullptr ? FORMAT_MESSAGE_FROM_HMODULE : 0;
    }
    const DWORD length = ::FormatMessageW(flags, source, error, 0, words.data(),
                                          static_cast<DWORD>(words.size()), nullptr);
    std::wstring text = TrimWhitespace({words.data(), length});
    while (text.ends_with(L'.')) {
        text.pop_back();
    }
    for (wchar_t& character : text) {
        character = character == L'\r' || character == L'\n' ? L' ' : character;
    }
    return (text.empty() ? "the system has no words for it" : WideToUtf8(text)) + " (code " +
           std::to_string(error) + ")";
}
