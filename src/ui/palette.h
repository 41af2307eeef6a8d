#pragma once

#include <cstdint>

// The window's colors by role, as 0xAARRGGBB. The accent color comes from the brand: see
// accent_color.h.
using Argb = uint32_t;

// The same color for GDI, 0x00BBGGRR.
constexpr uint32_t ToColorRef(Argb color) {
    return (color & 0xFF) << 16 | (color & 0xFF00) | (color >> 16 & 0xFF);
}

inline constexpr Argb kDefaultAccent = 0xFFFFA640;

inline constexpr Argb kWindowFill = 0xFF0A0B0C;  // Without a background image.
inline constexpr Argb kBackgroundVeil = 0xCD0A0B0C;
inline constexpr Argb kTitleBarFill = 0xFF0C0D0E;
inline constexpr Argb kTitleText = 0xFFBAB9BE;
inline constexpr Argb kPanelFill = 0xFF111215;
inline constexpr Argb kPanelOutline = 0xFF302D36;  // Also for the progress bar.
inline constexpr Argb kClientFolderText = 0xFFBEBBC4;
inline constexpr Argb kStatusText = 0xFFF8F8FA;
inline constexpr Argb kDetailText = 0xFF888490;
inline constexpr Argb kProgressTrackFill = 0xFF0B0C0F;
inline constexpr Argb kPlaceholderFill = 0xFF121316;

inline constexpr Argb kButtonFill = 0xFF18191E;
inline constexpr Argb kButtonText = 0xFFF5F5F8;
inline constexpr Argb kButtonBorder = 0xFF5C5766;
inline constexpr Argb kPrimaryButtonText = 0xFF0A0A0C;
inline constexpr Argb kPrimaryButtonDisabledFill = 0xFF504637;
inline constexpr Argb kQuietButtonFill = 0xFF111215;
inline constexpr Argb kQuietButtonBorder = 0xFF2D2B32;
inline constexpr Argb kQuietButtonPressedFill = 0xFF1F2025;
// The same for all brands, not derived from the accent color.
inline constexpr Argb kPressedFill = 0xFFD28228;
inline constexpr Argb kDisabledText = 0xFF66636E;
inline constexpr Argb kDisabledBorder = 0xFF323037;
inline constexpr Argb kCheckSquareFill = 0xFF0B0C0F;
inline constexpr Argb kCheckMarkColor = 0xFF0A0A0C;
