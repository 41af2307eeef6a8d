#include <optional>
#include <utility>

#include "common/paths.h"
#include "common/text.h"
#include "kit/branded_exe.h"
#include "kit/check.h"
#include "kit/commands.h"
#include "kit/content_digest.h"
#include "kit/errors.h"
#include "kit/input_file.h"
#include "kit/output_file.h"
#include "kit/pe/pe_file.h"
#include "kit/signing.h"
#include "kit/utf8.h"
#include "system/uninstaller_file.h"

namespace {

constexpr uint64_t kMostSignedBytes = 0x8000'0000;

// A brand that no program can be made of, even with --force.
struct CannotBuild {
    std::string reason;
};

struct BuiltTool {
    std::wstring path;
    uint64_t size = 0;
    std::string sha256;
    bool isSigned = false;
};

ByteBuffer BytesOf(std::string_view content) {
    const auto bytes = std::as_bytes(std::span(content));
    return {bytes.begin(), bytes.end()};
}

ByteBuffer OrCannotBuild(std::optional<ByteBuffer> program, const std::string& reason) {
    if (!program) {
        throw CannotBuild{reason};
    }
    return std::move(*program);
}

// Runs the signing command on the complete file. Gives its content afterwards.
ByteBuffer Sign(const OutputFile& file, const std::wstring& command, Console& console) {
    const std::wstring& path = file.TemporaryPath();
    RunSigningCommand(SigningCommandLine(command, path), kSigningTimeLimitMs, console);
    ByteBuffer content = BytesOf(ReadInputFile(path, kMostSignedBytes).value_or(""));
    std::string reason;
    const auto pe = ReadPeFile(content, reason);
    if (!pe) {
        throw OutsideFailure("the signing command has damaged the program: " + reason);
    }
    if (!pe->HasCertificates()) {
        console.PrintError({{"warning", Color::Warning},
                            {": the signing command reports success, but has not signed "},
                            {WideToUtf8(FileNamePart(file.Target()))}});
    }
    return content;
}

// The file's path in the output folder. A name that is no plain file name would lead elsewhere.
std::wstring ToolPath(const std::wstring& folder, const std::wstring& name) {
    if (name != ReplaceFileNameCharacters(name) || name == L"." || name == L"..") {
        throw CannotBuild{"repairToolName is no file name"};
    }
    if (IsSameIgnoringCase(name, FileNamePart(UninstallerPath(folder)))) {
        throw CannotBuild{"repairToolName is the name of the uninstaller"};
    }
    return JoinPaths(folder, name);
}

BuiltTool BuildTool(const Brand& brand, const BuildArguments& arguments, Console& console) {
    if (!brand.configText) {
        throw CannotBuild{"the brand has no config.txt"};
    }
    const std::wstring path = ToolPath(arguments.folder, brand.config.repairToolName);
    std::string reason;
    ByteBuffer uninstaller = OrCannotBuild(BrandedUninstaller(brand, reason), reason);
    OutputFile file(path);
    // The uninstaller is signed in a file of its own, which does not stay. Without signing too:
    // this removes what killed runs have left.
    OutputFile uninstallerFile(UninstallerPath(arguments.folder));
    if (!arguments.sign.empty()) {
        uninstallerFile.Write(uninstaller);
        uninstallerFile.Close();
        uninstaller = Sign(uninstallerFile, arguments.sign, console);
    }
    ByteBuffer tool = OrCannotBuild(BrandedTool(brand, uninstaller, reason), reason);
    file.Write(tool);
    file.Close();
    if (!arguments.sign.empty()) {
        tool = Sign(file, arguments.sign, console);
    }
    BuiltTool built{path, tool.size(), DigestOfBytes(tool),
                    ReadPeFile(tool, reason)->HasCertificates()};
    file.Commit();
    return built;
}

Json ToolJson(const std::optional<BuiltTool>& tool) {
    if (!tool) {
        return nullptr;
    }
    return {{"file", WideToUtf8(tool->path)},
            {"size", tool->size},
            {"sha256", tool->sha256},
            {"signed", tool->isSigned}};
}

void PrintTool(const BuiltTool& tool, bool wasForced, Console& console) {
    console.PrintSummary({{wasForced ? "Built in spite of errors: " : "Built ",
                           wasForced ? Color::Warning : Color::Good},
                          {WideToUtf8(tool.path)}});
    console.PrintSummary("  size       " + std::to_string(tool.size) + " bytes");
    console.PrintSummary("  SHA-256    " + tool.sha256);
    console.PrintSummary(std::string("  signature  ") + (tool.isSigned ? "present" : "none"));
    console.PrintSummary("Put it into the client's folder: it repairs the folder that it is in.");
}

std::string WhyRefused(const Findings& findings) {
    const bool hasErrors = findings.Count(Severity::Error) > 0;
    return std::string("the check has found ") +
           (hasErrors ? "errors" : "warnings, which count as errors with --strict") +
           "; put them right, or give --force";
}

// Why nothing was built, for people.
void PrintRefusal(const std::string& reason, Console& console) {
    console.PrintError({{"repair_kit: ", Color::Error}, {"nothing was built: "}, {reason}});
}

}  // namespace

ExitCode RunBuild(const BuildArguments& arguments, Console& console) {
    const CheckResult checked =
        CheckBrand(arguments.brand, {arguments.package, false, false, arguments.noDigest}, console);
    const bool isRefused = IsRefused(checked.findings, arguments.strict);
    if (!arguments.output.json) {
        PrintFacts(checked.facts, console);
        PrintFindings(checked.findings, console);
    }
    std::string refusal;
    std::optional<BuiltTool> tool;
    if (isRefused && !arguments.force) {
        refusal = WhyRefused(checked.findings);
    } else {
        try {
            tool = BuildTool(checked.brand, arguments, console);
        } catch (const CannotBuild& error) {
            refusal = error.reason;
        }
    }
    if (arguments.output.json) {
        Json document;
        document["findings"] = FindingsJson(checked.findings);
        document["facts"] = FactsJson(checked.facts);
        document["tool"] = ToolJson(tool);
        console.PrintJson(JsonText(document));
    } else if (tool) {
        PrintTool(*tool, isRefused, console);
    }
    if (!tool) {
        PrintRefusal(refusal, console);
        return ExitCode::Refused;
    }
    return ExitCode::Done;
}
