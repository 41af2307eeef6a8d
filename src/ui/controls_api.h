#pragma once

// The common controls' part of the Windows headers.

// clang-format off
#include "common/windows_api.h"
#include <commctrl.h>
// clang-format on
