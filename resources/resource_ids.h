#pragma once

// Resource identifiers, shared by the resource script and the code. The raw-data numbers are part
// of the file format that the branding tools stamp, so they never change.

#define ID_TOOL_ICON 101

#define ID_CONFIG_TEXT 201
#define ID_LOGO_IMAGE 202
#define ID_UNINSTALLER 203
#define ID_BACKGROUND_IMAGE 207
