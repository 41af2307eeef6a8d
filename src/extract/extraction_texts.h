#pragma once

#include <string_view>

// Texts that the window shows while a package is unpacked, shared by several steps.
inline constexpr std::wstring_view kExtractingStatus = L"Extracting package...";
inline constexpr std::wstring_view kPreparingFilesDetail = L"Preparing client files for repair...";
