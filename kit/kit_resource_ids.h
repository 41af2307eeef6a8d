#pragma once

// What the kit carries as raw data, beside resource_ids.h.

#define ID_UNBRANDED_TOOL 301
#define ID_UNBRANDED_UNINSTALLER 302
