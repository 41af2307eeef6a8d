#pragma once

#include <string>

#include "ui/gdiplus_objects.h"

// GDI+'s own encoder for PNG files.
inline constexpr CLSID kPngEncoder{
    0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

// The image as a file of the encoder's format. Empty when GDI+ fails. Main thread.
[[nodiscard]] std::string EncodePicture(Gdiplus::GpImage* image, const CLSID& encoder);
