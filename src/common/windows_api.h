#pragma once

// The one place that includes the Windows headers: their order matters, and the macros that keep
// them small (WIN32_LEAN_AND_MEAN) and away from std::min and std::max (NOMINMAX) must come first.
// UNICODE, NOMINMAX, WIN32_LEAN_AND_MEAN and the version macros are set on the command line by the
// build's interface target, so that they hold in every translation unit.

// clang-format off
#include <windows.h>
#include <objbase.h>
// clang-format on
