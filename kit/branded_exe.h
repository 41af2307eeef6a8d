#pragma once

#include <optional>
#include <string>

#include "kit/brand.h"
#include "kit/pe/byte_access.h"

// The finished programs of a brand, made of the unbranded ones that the kit carries. Resource by
// resource they equal those that add_branded_tool links. The same brand gives the same bytes. A
// file that is missing in the brand, or an icon that cannot be read, is left out.
//
// None when the brand cannot be put into a program; `reason` then says why, as the end of a
// sentence: "the version texts are too long".

[[nodiscard]] std::optional<ByteBuffer> BrandedUninstaller(const Brand& brand, std::string& reason);

// `uninstaller` becomes part of it as it is.
[[nodiscard]] std::optional<ByteBuffer> BrandedTool(const Brand& brand, ByteView uninstaller,
                                                    std::string& reason);
