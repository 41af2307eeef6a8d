#pragma once

#include <string>
#include <string_view>

// What several tests of unpacking share. The archives are long enough to be recognized, no more:
// they are for recorders, which do not read them.

namespace bench {

// An archive, a staging folder and the arguments that programs get for them.
inline constexpr wchar_t kArchive[] = L"C:\\Temp\\package.rar";
inline constexpr wchar_t kStaging[] = L"C:\\Stage";
inline constexpr wchar_t kUnRarArguments[] = L"x -o+ \"C:\\Temp\\package.rar\" \"C:\\Stage\\\"";
inline constexpr wchar_t kWinRarArguments[] =
    L"x -ibck -o+ \"C:\\Temp\\package.rar\" \"C:\\Stage\\\"";
inline constexpr wchar_t kSevenZipArguments[] = L"x -y -o\"C:\\Stage\" \"C:\\Temp\\package.rar\"";

inline constexpr std::string_view kZipStart("PK\x03\x04 and so on");
inline constexpr std::string_view kRarStart("Rar!\x1a\x07\x01\x00 and so on", 18);

inline constexpr wchar_t kNoArchive[] =
    L"The downloaded package is not a valid ZIP or RAR archive.\nCheck that the CDN URL points "
    L"directly to the client .zip/.rar file, not an installer EXE or website page.";

inline constexpr wchar_t kZipFailed[] =
    L"ZIP extraction failed.\nCheck that the downloaded package is a complete .zip archive and "
    L"that you have permission to write to the install folder.";

inline std::wstring RarFailed(const std::wstring& nameAndCode) {
    return L"RAR extraction failed with " + nameAndCode +
           L".\nCheck that the CDN file is a complete, non-password-protected .rar archive. If it "
           L"still fails, install 7-Zip or place 7z.exe beside this tool.";
}

}  // namespace bench
