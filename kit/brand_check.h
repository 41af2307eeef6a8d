#pragma once

#include "kit/brand.h"
#include "kit/findings.h"

// Looks for missing files.
void CheckBrandFiles(const Brand& brand, Findings& findings);
