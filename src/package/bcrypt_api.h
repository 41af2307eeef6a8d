#pragma once

// The Windows header of the hash functions. Not in windows_api.h, because few files need it.

// clang-format off
#include "common/windows_api.h"
#include <bcrypt.h>
// clang-format on
