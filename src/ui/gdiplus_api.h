#pragma once

// The one place that includes the GDI+ headers. Those of the Windows SDK use min and max without
// saying whose, and the macros of that name are switched off.

#include <algorithm>

#include "common/windows_api.h"

namespace Gdiplus {  // NOLINT(readability-identifier-naming): the headers' own name.
using std::max;
using std::min;
}  // namespace Gdiplus

#include <gdiplus.h>
