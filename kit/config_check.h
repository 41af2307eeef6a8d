#pragma once

#include "kit/brand.h"
#include "kit/findings.h"

// All rules on config.txt but the package's own. Nothing when the file is missing. `noDigest`
// accepts that archiveSha256 is missing.
void CheckConfig(const Brand& brand, bool noDigest, Findings& findings);

// What the rules judge: the brand's configuration as the tool reads it, but without blanks around
// the values, which have a rule of their own.
[[nodiscard]] ToolConfig ConfigToJudge(const Brand& brand);

// Whether the text is a product version: one to four numbers of at most 65535 with dots between,
// and optionally a suffix that begins with "-". Blanks around it do not matter.
[[nodiscard]] bool IsProductVersion(std::wstring_view text);

// The contrast of two opaque colors, from 1 to 21.
[[nodiscard]] double ContrastRatio(uint32_t left, uint32_t right);
