#pragma once

// The shell's part of the Windows headers. Apart from windows_api.h, because few files need it and
// it takes long to compile.

// clang-format off
#include "common/windows_api.h"
#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <knownfolders.h>
// clang-format on
