#pragma once

// The HTTP client's part of the Windows headers. Apart from windows_api.h, because few files need
// it.

// clang-format off
#include "common/windows_api.h"
#include <winhttp.h>
// clang-format on
