#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kit/brand.h"
#include "kit/findings.h"

// Small brands with one fault each, and neighbors without any.

namespace kit_test {

// The lines of a configuration without any finding, with changes: a change replaces the line with
// the same key or is appended; "-key" removes the line.
std::string ConfigText(const std::vector<std::string>& changes);

// A brand in memory with this configuration and clean pictures.
Brand MakeBrand(std::string configText);

// "error url.missing config.txt" for each finding, in the order of the list.
std::vector<std::string> Described(const Findings& findings);

struct ConfigCase {
    std::vector<std::string> changes;
    std::vector<std::string> findings;  // Described.
};

// At least one case with a finding and one without for each rule on the configuration.
const std::vector<ConfigCase>& ConfigCases();

}  // namespace kit_test
