#pragma once

// The hash functions' part of the Windows headers. Apart from windows_api.h, because few files need
// it.

// clang-format off
#include "common/windows_api.h"
#include <bcrypt.h>
// clang-format on
