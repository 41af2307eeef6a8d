#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "kit/brand.h"
#include "kit/console.h"
#include "kit/findings.h"
#include "kit/json.h"

// What is known of a package; each field only when it is. Names are as packed, a lone top folder
// included.
struct PackageFacts {
    std::optional<std::string> kind;  // "zip" or "rar".
    std::optional<uint64_t> files;
    std::optional<uint64_t> folders;  // Also those that only files imply.
    std::optional<uint64_t> packedBytes;
    std::optional<uint64_t> unpackedBytes;
    std::optional<std::string> largestFile;
    std::optional<std::string> longestPath;
    std::optional<std::string> sha256;
    std::optional<uint64_t> tempBytes;   // Package and unpacked client together.
    std::optional<uint64_t> movedBytes;  // What one repair reads and writes.
};

struct CheckOptions {
    std::wstring package;  // Empty: none.
    bool online = false;
    bool download = false;
    bool noDigest = false;
};

struct CheckResult {
    Brand brand;
    Findings findings;
    PackageFacts facts;
};

// Everything that `check` and `build` look at. Throws OutsideFailure for what cannot be read.
[[nodiscard]] CheckResult CheckBrand(const std::wstring& folder, const CheckOptions& options,
                                     Console& console);

// Whether the findings refuse the brand: errors, with `strict` also warnings.
[[nodiscard]] bool IsRefused(const Findings& findings, bool strict);

// One paragraph a finding, then one line that counts them (left out by --quiet).
void PrintFindings(const Findings& findings, Console& console);
void PrintFacts(const PackageFacts& facts, Console& console);

// The values of "findings" and "facts" in the JSON document.
[[nodiscard]] Json FindingsJson(const Findings& findings);
[[nodiscard]] Json FactsJson(const PackageFacts& facts);
