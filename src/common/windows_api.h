#pragma once

// The only place that includes the Windows headers, whose order matters. UNICODE, NOMINMAX,
// WIN32_LEAN_AND_MEAN and the version macros are set by the build's interface target, so that they
// apply to every translation unit, whatever it includes first.

// clang-format off
#include <windows.h>
#include <objbase.h>
// clang-format on
