#pragma once

// The shell's part of the Windows headers, separate from windows_api.h because few files need it
// and it compiles slowly.

// clang-format off
#include "common/windows_api.h"
#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <knownfolders.h>
// clang-format on
