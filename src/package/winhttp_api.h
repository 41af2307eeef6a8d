#pragma once

// The Windows header of the HTTP client. Not in windows_api.h, because few files need it.

// clang-format off
#include "common/windows_api.h"
#include <winhttp.h>
// clang-format on
