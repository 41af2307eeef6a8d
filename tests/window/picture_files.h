#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "window/tool_window.h"

// What tests do with pictures: files without files in the repository, and comparing.

enum class PictureFormat { Png, Jpeg, Bmp };

// The bytes of a picture file. `colorAt` gives 0xRRGGBB for a pixel.
std::string PictureFile(PictureFormat format, int width, int height,
                        const std::function<uint32_t(int x, int y)>& colorAt);
// The same in one color.
std::string PlainPictureFile(PictureFormat format, int width, int height, uint32_t color);

// Keeps what the window shows as NAME.png in the folder "screenshots" of the build folder, for
// people to look at; gives the file's path.
std::filesystem::path KeepScreenshot(const WindowShot& shot, const std::wstring& name);

// Empty when both are equal in every pixel, else how many differ and the box around them.
std::string Difference(const WindowShot& expected, const WindowShot& actual);

// Waits until the window shows `wanted`; what differs in the end.
std::string AwaitPicture(const ToolWindow& window, const WindowShot& wanted);

// How near the box's nearest pixel comes to a color: the largest difference of its three channels.
// Thin strokes of text never take on their color wholly.
int NearestDistance(const WindowShot& shot, const Box& box, uint32_t color);
