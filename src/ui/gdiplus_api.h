#pragma once

// The only place that includes the GDI+ headers. Those of the Windows SDK use unqualified min and
// max, whose macros NOMINMAX disables.

#include <algorithm>

#include "common/windows_api.h"

namespace Gdiplus {  // NOLINT(readability-identifier-naming): the headers' own name.
using std::max;
using std::min;
}  // namespace Gdiplus

#include <gdiplus.h>
