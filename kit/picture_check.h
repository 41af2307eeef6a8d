#pragma once

#include "kit/brand.h"
#include "kit/findings.h"
#include "ui/gdiplus_objects.h"

// The rules picture.* and icon.* for the files that are there. Main thread; starts GDI+ itself.
void CheckPictures(const Brand& brand, Findings& findings);

// The picture in a file of the brand; null when it is too large or none that GDI+ knows. While a
// GdiplusSession lives.
[[nodiscard]] OwnedBitmap DecodePicture(const std::string& content);
