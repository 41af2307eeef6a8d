#include "kit/brand_check.h"

#include <string>

#include "kit/utf8.h"

namespace {

void CheckIsThere(const std::optional<std::string>& content, std::wstring_view wideName,
                  Severity severity, std::string consequence, Findings& findings) {
    if (content) {
        return;
    }
    const std::string name = WideToUtf8(wideName);
    const Place place = wideName == kConfigFileName ? ConfigMissing() : BrandFile(name);
    findings.Add("brand.missing-file", severity, place,
                 "The brand has no " + name + ": " + std::move(consequence) + ".",
                 "Put it into the brand's folder; \"repair_kit new\" writes one to start from.");
}

}  // namespace

void CheckBrandFiles(const Brand& brand, Findings& findings) {
    CheckIsThere(brand.configText, kConfigFileName, Severity::Error,
                 "the tool would not know what to repair", findings);
    CheckIsThere(brand.background, kBackgroundFileName, Severity::Warning,
                 "the window would have a plain background", findings);
    CheckIsThere(brand.logo, kLogoFileName, Severity::Warning,
                 "the window would show a placeholder", findings);
    CheckIsThere(brand.icon, kIconFileName, Severity::Error,
                 "the tool and the uninstaller would have no icon", findings);
}
