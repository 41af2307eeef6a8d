#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "window/tool_window.h"

namespace bench {

// The bytes of a PNG file. `colorAt` returns 0xRRGGBB for a pixel.
std::string PngFile(int width, int height, const std::function<uint32_t(int x, int y)>& colorAt);
std::string PlainPngFile(int width, int height, uint32_t color);

// Saves the shot as NAME.png in the build folder's "screenshots", for people to look at; returns
// the file's path.
std::filesystem::path KeepScreenshot(const WindowShot& shot, const std::wstring& name);

}  // namespace bench
