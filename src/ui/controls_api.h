#pragma once

// The Windows headers for common controls.

// clang-format off
#include "common/windows_api.h"
#include <commctrl.h>
// clang-format on
