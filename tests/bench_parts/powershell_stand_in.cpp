// Replaces powershell.exe, because Wine's own does nothing and ends with exit code 0. Accepts
// exactly one command line:
//   powershell.exe -NoProfile -ExecutionPolicy Bypass -Command
//       "Expand-Archive -LiteralPath 'ARCHIVE' -DestinationPath 'FOLDER' -Force"
// in which a doubled single quote means one. The exit code is 0 when everything was unpacked,
// kFailed when not, and kNotUnderstood for any other command line.

#include <string>
#include <string_view>

#include "bench_parts/seven_zip.h"

namespace {

constexpr int kFailed = 1;
constexpr int kNotUnderstood = 64;

// Removes `expected` from the start of `text`; false when `text` starts differently.
bool Take(std::wstring_view& text, std::wstring_view expected) {
    if (!text.starts_with(expected)) {
        return false;
    }
    text.remove_prefix(expected.size());
    return true;
}

// Removes a single-quoted string from the start of `text`.
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

bool Parse(std::wstring_view commandLine, std::wstring& archive, std::wstring& folder) {
    return Take(commandLine,
                L"powershell.exe -NoProfile -ExecutionPolicy Bypass -Command \"Expand-Archive "
                L"-LiteralPath ") &&
           TakeQuoted(commandLine, archive) && Take(commandLine, L" -DestinationPath ") &&
           TakeQuoted(commandLine, folder) && Take(commandLine, L" -Force\"") &&
           commandLine.empty();
}

}  // namespace

int wmain() {
    std::wstring archive;
    std::wstring folder;
    if (!Parse(::GetCommandLineW(), archive, folder)) {
        return kNotUnderstood;
    }
    // Expand-Archive refuses a file with any other extension.
    if (!archive.ends_with(L".zip")) {
        return kFailed;
    }
    return bench::UnpackWithSevenZip(archive, folder) == 0 ? 0 : kFailed;
}
