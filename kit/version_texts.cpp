#include "kit/version_texts.h"

#include <algorithm>

#include "common/paths.h"
#include "common/text.h"
#include "engine_version.h"
#include "system/installed_programs_values.h"
#include "system/uninstaller_file.h"

namespace {

constexpr wchar_t kEnglish[] = L"0409";
constexpr uint32_t kHighestNumber = 0xFFFF;

// The numbers before the suffix: "2.08.1-beta.3" gives 2, 8, 1 and 0.
std::array<uint16_t, 4> VersionNumbers(std::wstring_view version) {
    version = version.substr(0, version.find(L'-'));
    std::array<uint16_t, 4> numbers{};
    for (uint16_t& number : numbers) {
        const std::wstring_view part = version.substr(0, version.find(L'.'));
        uint32_t value = 0;
        for (const wchar_t digit : part) {
            if (digit < L'0' || digit > L'9') {
                break;
            }
            value = std::min(value * 10 + static_cast<uint32_t>(digit - L'0'), kHighestNumber);
        }
        number = static_cast<uint16_t>(value);
        version.remove_prefix(std::min(part.size() + 1, version.size()));
    }
    return numbers;
}

// Four hexadecimal digits.
std::wstring LanguageDigits(std::wstring_view configured) {
    constexpr size_t kDigits = 4;
    std::wstring digits = TrimWhitespace(configured);
    const bool isLanguage =
        digits.size() == kDigits &&
        digits.find_first_not_of(L"0123456789abcdefABCDEF") == std::wstring::npos;
    return isLanguage ? digits : kEnglish;
}

}  // namespace

VersionBlock BrandVersion(const ToolConfig& config, BrandProgram program) {
    const bool isTool = program == BrandProgram::Tool;
    const std::wstring& version =
        isTool ? config.repairProductVersion : config.uninstallerProductVersion;
    const std::wstring& language = isTool ? config.repairLanguage : config.uninstallerLanguage;
    const std::wstring fileName =
        isTool ? config.repairToolName : FileNamePart(std::wstring(UninstallerPath(L"")));

    VersionBlock block;
    block.numbers = VersionNumbers(TrimWhitespace(version));
    block.languageDigits = LanguageDigits(language);
    constexpr int kHexadecimal = 16;
    block.language = static_cast<uint16_t>(std::stoul(block.languageDigits, nullptr, kHexadecimal));
    block.texts = {
        {L"CompanyName", ProgramsPublisher(config)},
        {std::wstring(kEngineVersionName), Utf8ToWide(ENGINE_VERSION)},
        {L"FileDescription",
         isTool ? config.repairFileDescription : config.uninstallerFileDescription},
        {L"FileVersion", version},
        {L"InternalName", fileName},
        {L"LegalCopyright", isTool ? config.repairCopyright : config.uninstallerCopyright},
        {L"OriginalFilename", fileName},
        {L"ProductName", isTool ? config.repairProductName : config.uninstallerProductName},
        {L"ProductVersion", version},
    };
    return block;
}
