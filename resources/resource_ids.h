#pragma once

// Resource identifiers, shared by the resource scripts and the code. The numbers of the raw data
// must never change: branding tools rely on them.

#define ID_TOOL_ICON 101

#define ID_CONFIG_TEXT 201
#define ID_LOGO_IMAGE 202
#define ID_UNINSTALLER 203
#define ID_BACKGROUND_IMAGE 207
