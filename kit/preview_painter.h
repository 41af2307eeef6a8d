#pragma once

#include <string_view>

#include "config/tool_config.h"
#include "ui/gdiplus_objects.h"

// Pictures of the tool's window as players of a brand see it. Painted by the tool's own painters;
// nothing is started and no window is made. Main thread, while a GdiplusSession lives.

struct PreviewBrand {
    ToolConfig config;      // As the tool has it, with empty names filled in.
    OwnedBitmap backdrop;   // From window_painter.h.
    OwnedBitmap panelLogo;  // Null when the brand shows no logo or it cannot be shown.
};

// The window with its buttons in one of kPreviewStates; of size kWindow. Null when GDI+ fails.
[[nodiscard]] OwnedBitmap PaintPreview(const PreviewBrand& brand, std::string_view state);

struct NamedPicture {
    std::string_view name;
    Gdiplus::GpBitmap* picture = nullptr;  // Borrowed; of size kWindow.
};

// All pictures side by side, a bit smaller and with their names.
[[nodiscard]] OwnedBitmap PaintContactSheet(std::span<const NamedPicture> pictures);
