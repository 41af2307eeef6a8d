// Replaces powershell.exe, because Wine's own does nothing and ends with exit code 0. Accepts
// exactly one command line, in which a doubled single quote means one. The exit code is 0 when
// everything was unpacked, kFailed when not, and kNotUnderstood for any other command line.

#include <regex>
#include <string>

#include "bench_parts/seven_zip.h"

namespace {

constexpr int kFailed = 1;
constexpr int kNotUnderstood = 64;

// What a single-quoted string means.
std::wstring Unquoted(const std::wstring& quoted) {
    return std::regex_replace(quoted, std::wregex(L"''"), L"'");
}

}  // namespace

int wmain() {
    static const std::wregex kCommandLine(
        L"powershell\\.exe -NoProfile -ExecutionPolicy Bypass -Command \"Expand-Archive "
        L"-LiteralPath '((?:[^']|'')*)' -DestinationPath '((?:[^']|'')*)' -Force\"");
    const std::wstring commandLine = ::GetCommandLineW();
    std::wsmatch match;
    if (!std::regex_match(commandLine, match, kCommandLine)) {
        return kNotUnderstood;
    }
    const std::wstring archive = Unquoted(match[1]);
    // Expand-Archive refuses a file with any other extension.
    if (!archive.ends_with(L".zip")) {
        return kFailed;
    }
    return bench::UnpackWithSevenZip(archive, Unquoted(match[2])) == 0 ? 0 : kFailed;
}
