// Takes the place of powershell.exe; Wine's own does nothing and ends with 0. It knows one command
// line, to the letter:
//   powershell.exe -NoProfile -ExecutionPolicy Bypass -Command
//       "Expand-Archive -LiteralPath 'ARCHIVE' -DestinationPath 'FOLDER' -Force"
// in which a doubled single quote stands for one. Ends with 0 when everything was unpacked, with 1
// when it could not be, with kNotUnderstood for any other command line. With the environment
// variable BENCH_POWERSHELL_EXIT it does nothing and ends with that code.

#include <array>
#include <cwchar>
#include <string>
#include <string_view>

#include "bench_parts/seven_zip.h"

namespace {

constexpr int kFailed = 1;
constexpr int kNotUnderstood = 64;

// Takes `expected` off the front of `text`; false when something else stands there.
bool Take(std::wstring_view& text, std::wstring_view expected) {
    if (!text.starts_with(expected)) {
        return false;
    }
    text.remove_prefix(expected.size());
    return true;
}

// Takes a single-quoted string off the front of `text`.
bool TakeQuoted(std::wstring_view& text, std::wstring& value) {
    if (!Take(text, L"'")) {
        return false;
    }
    while (!text.empty()) {
        if (Take(text, L"''")) {
            value += L'\'';
        } else if (Take(text, L"'")) {
            return true;
        } else {
            value += text.front();
            text.remove_prefix(1);
        }
    }
    return false;
}

bool Understand(std::wstring_view commandLine, std::wstring& archive, std::wstring& folder) {
    return Take(commandLine,
                L"powershell.exe -NoProfile -ExecutionPolicy Bypass -Command \"Expand-Archive "
                L"-LiteralPath ") &&
           TakeQuoted(commandLine, archive) && Take(commandLine, L" -DestinationPath ") &&
           TakeQuoted(commandLine, folder) && Take(commandLine, L" -Force\"") &&
           commandLine.empty();
}

}  // namespace

int wmain() {
    std::array<wchar_t, 16> wanted{};
    if (::GetEnvironmentVariableW(L"BENCH_POWERSHELL_EXIT", wanted.data(),
                                  static_cast<DWORD>(wanted.size())) != 0) {
        return static_cast<int>(std::wcstoll(wanted.data(), nullptr, 0));
    }
    std::wstring archive;
    std::wstring folder;
    if (!Understand(::GetCommandLineW(), archive, folder)) {
        return kNotUnderstood;
    }
    // The original refuses a file of any other name.
    if (!archive.ends_with(L".zip")) {
        return kFailed;
    }
    return bench::UnpackWithSevenZip(archive, folder) == 0 ? 0 : kFailed;
}
