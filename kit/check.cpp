#include "kit/check.h"

#include "common/files.h"
#include "kit/brand_check.h"
#include "kit/check_online.h"
#include "kit/config_check.h"
#include "kit/picture_check.h"
#include "kit/utf8.h"
#include "kit/zip/package_check.h"

namespace {

Color ColorOf(Severity severity) {
    switch (severity) {
        case Severity::Error:
            return Color::Error;
        case Severity::Warning:
            return Color::Warning;
        case Severity::Note:
            break;
    }
    return Color::Note;
}

std::string Counted(uint64_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

template <typename Value>
void AddFact(Json& facts, const char* name, const std::optional<Value>& value) {
    if (value) {
        facts[name] = *value;
    }
}

void PrintFact(Console& console, std::string_view name, const std::optional<std::string>& value) {
    if (value) {
        console.PrintSummary(std::string(name) + *value);
    }
}

void PrintFact(Console& console, std::string_view name, const std::optional<uint64_t>& value,
               const std::string& unit) {
    if (value) {
        console.PrintSummary(std::string(name) + std::to_string(*value) + unit);
    }
}

}  // namespace

CheckResult CheckBrand(const std::wstring& folder, const CheckOptions& options, Console& console) {
    CheckResult result{ReadBrand(folder), {}, {}};
    CheckConfig(result.brand, options.noDigest, result.findings);
    CheckBrandFiles(result.brand, result.findings);
    CheckPictures(result.brand, result.findings);
    const ToolConfig config = ConfigToJudge(result.brand);
    if (!options.package.empty()) {
        CheckPackage(options.package, config, result.findings, result.facts, console);
    }
    if (options.online) {
        const auto packageBytes =
            options.package.empty() ? std::nullopt : FileSize(options.package);
        CheckOnline(config, {options.download, packageBytes}, result.findings, console);
    }
    return result;
}

bool IsRefused(const Findings& findings, bool strict) {
    return findings.Count(Severity::Error) > 0 || (strict && findings.Count(Severity::Warning) > 0);
}

void PrintFindings(const Findings& findings, Console& console) {
    for (const Finding& finding : findings.List()) {
        console.Print({{SeverityName(finding.severity), ColorOf(finding.severity)},
                       {" "},
                       {finding.place.text},
                       {": "},
                       {finding.message},
                       {" ["},
                       {finding.rule->id, Color::Dim},
                       {"]"}});
        console.Print({{"    "}, {finding.hint}});
    }
    const uint64_t errors = findings.Count(Severity::Error);
    const uint64_t warnings = findings.Count(Severity::Warning);
    const uint64_t notes = findings.Count(Severity::Note);
    if (errors + warnings + notes == 0) {
        console.PrintSummary({{"No findings.", Color::Good}});
        return;
    }
    console.PrintSummary(Counted(errors, "error") + ", " + Counted(warnings, "warning") + ", " +
                         Counted(notes, "note") + ".");
}

void PrintFacts(const PackageFacts& facts, Console& console) {
    PrintFact(console, "kind                 ", facts.kind);
    PrintFact(console, "files                ", facts.files, "");
    PrintFact(console, "folders              ", facts.folders, "");
    PrintFact(console, "packed               ", facts.packedBytes, " bytes");
    PrintFact(console, "unpacked             ", facts.unpackedBytes, " bytes");
    PrintFact(console, "largest file         ", facts.largestFile);
    PrintFact(console, "longest path         ", facts.longestPath);
    PrintFact(console, "SHA-256              ", facts.sha256);
    PrintFact(console, "needed in %TEMP%     ", facts.tempBytes, " bytes");
    PrintFact(console, "moved by one repair  ", facts.movedBytes, " bytes");
}

Json FindingsJson(const Findings& findings) {
    Json list = Json::array();
    for (const Finding& finding : findings.List()) {
        list.push_back({{"rule", finding.rule->id},
                        {"severity", SeverityName(finding.severity)},
                        {"where", finding.place.text},
                        {"message", finding.message},
                        {"hint", finding.hint}});
    }
    return list;
}

Json FactsJson(const PackageFacts& facts) {
    Json json = Json::object();
    AddFact(json, "kind", facts.kind);
    AddFact(json, "files", facts.files);
    AddFact(json, "folders", facts.folders);
    AddFact(json, "packedBytes", facts.packedBytes);
    AddFact(json, "unpackedBytes", facts.unpackedBytes);
    AddFact(json, "largestFile", facts.largestFile);
    AddFact(json, "longestPath", facts.longestPath);
    AddFact(json, "sha256", facts.sha256);
    AddFact(json, "tempBytes", facts.tempBytes);
    AddFact(json, "movedBytes", facts.movedBytes);
    return json;
}
