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

// The leading digits of the first four parts between dots: "2.08.1-beta3" gives 2, 8, 1 and 0.
std::array<uint16_t, 4> VersionNumbers(std::wstring_view version) {
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

bool IsLanguage(std::wstring_view text) {
    constexpr size_t kDigits = 4;
    return text.size() == kDigits &&
           text.find_first_not_of(L"0123456789abcdefABCDEF") == std::wstring_view::npos;
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
    block.numbers = VersionNumbers(version);
    block.languageDigits = IsLanguage(language) ? language : kEnglish;
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
