#pragma once

#include <string>
#include <vector>

namespace kit_test {

// Pictures of one color as GDI+ saves them. `format` is "png", "jpeg", "gif", "bmp" or "tiff".
// Needs a GdiplusSession.
std::string MakePicture(const std::wstring& format, int width, int height);

// An icon file with one square picture of each size.
std::string MakeIcon(const std::vector<int>& sizes);

}  // namespace kit_test
