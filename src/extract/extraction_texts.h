#pragma once

#include <string_view>

// What the window shows while a package is unpacked; several stages of that write the same.
inline constexpr std::wstring_view kExtractingStatus = L"Extracting package...";
inline constexpr std::wstring_view kPreparingFilesDetail = L"Preparing client files for repair...";
