#pragma once

#include "kit/brand.h"
#include "kit/findings.h"

// The rules picture.* and icon.* for the files that are there. Main thread; starts GDI+ itself.
void CheckPictures(const Brand& brand, Findings& findings);
