#include <algorithm>
#include <optional>
#include <thread>

#include "common/byte_count_text.h"
#include "common/paths.h"
#include "common/text.h"
#include "config/tool_config.h"
#include "kit/brand.h"
#include "kit/check.h"
#include "kit/commands.h"
#include "kit/content_digest.h"
#include "kit/errors.h"
#include "kit/input_file.h"
#include "kit/output_file.h"
#include "kit/utf8.h"
#include "kit/zip/client_listing.h"
#include "kit/zip/entry_name.h"
#include "kit/zip/name_rules.h"
#include "kit/zip/package_completion.h"
#include "kit/zip/package_writer.h"

namespace {

std::wstring ConfigPathIn(const std::wstring& brand) {
    return JoinPaths(AsFolder(brand), kConfigFileName);
}

// Names for the findings, and the facts that are known before anything is packed.
PackageFacts CheckListing(const ClientListing& listing, const std::string& packageName,
                          Findings& findings) {
    PackagePaths paths;
    paths.Reserve(listing.entries.size());
    PackageFacts facts;
    uint64_t files = 0;
    uint64_t unpacked = 0;
    const ClientEntry* largest = nullptr;
    const ClientEntry* longest = nullptr;
    size_t longestCharacters = 0;
    for (size_t i = 0; i < listing.entries.size(); ++i) {
        const ClientEntry& entry = listing.entries[i];
        CheckName(entry.name, i, paths, findings);
        files += entry.IsFolder() ? 0 : 1;
        unpacked += entry.size;
        if (!entry.IsFolder() && (largest == nullptr || entry.size > largest->size)) {
            largest = &entry;
        }
        const size_t characters = Utf16Length(entry.name) - (entry.IsFolder() ? 1 : 0);
        if (longest == nullptr || characters > longestCharacters) {
            longest = &entry;
            longestCharacters = characters;
        }
    }
    paths.Sort();
    CheckNamesTogether(
        paths, [&](size_t i) { return std::string_view(listing.entries[i].name); }, findings);
    CheckFileCount(files, packageName, findings);
    facts.kind = "zip";
    facts.files = files;
    facts.folders = paths.FolderCount();
    facts.unpackedBytes = unpacked;
    if (largest != nullptr) {
        facts.largestFile = largest->name;
    }
    if (longest != nullptr) {
        facts.longestPath = longest->name;
    }
    return facts;
}

void PrintJsonResult(const Findings& findings, const PackageFacts& facts,
                     const std::vector<std::string>& leftOut, Console& console) {
    Json document;
    document["findings"] = FindingsJson(findings);
    document["facts"] = FactsJson(facts);
    document["leftOut"] = leftOut;
    console.PrintJson(JsonText(document));
}

void PrintResult(const PackArguments& arguments, const PackageFacts& facts,
                 const std::vector<std::string>& leftOut, Console& console) {
    for (const std::string& name : leftOut) {
        console.PrintSummary("left out             " + name);
    }
    PrintFacts(facts, console);
    const auto size = [](uint64_t bytes) {
        return WideToUtf8(FormatByteCount(static_cast<double>(bytes)));
    };
    console.PrintSummary({{"Wrote ", Color::Good}, {WideToUtf8(arguments.package)}});
    if (!arguments.brand.empty()) {
        console.PrintSummary("Set archiveSha256 in " + WideToUtf8(ConfigPathIn(arguments.brand)));
    }
    const uint64_t temporary = facts.tempBytes.value_or(0);
    const uint64_t client = facts.unpackedBytes.value_or(0);
    console.PrintSummary("A player needs " + size(temporary + client) + ": " + size(client) +
                         " for the client, and during a repair " + size(temporary) +
                         " in %TEMP% for the package and its unpacked files.");
}

bool HoldsBrand(const ClientListing& listing, const std::wstring& client,
                const std::wstring& brand) {
    const auto config = ComparableCanonical(ConfigPathIn(brand));
    return std::any_of(
        listing.entries.begin(), listing.entries.end(), [&](const ClientEntry& entry) {
            return FoldCase(LastComponent(entry.name)) == "CONFIG.TXT" &&
                   ComparableCanonical(JoinPaths(client, Utf8ToWide(entry.name))) == config;
        });
}

uint64_t SizeOf(const OutputFile& file) {
    LARGE_INTEGER size{};
    if (!::GetFileSizeEx(file.Handle(), &size)) {
        throw OutsideFailure("cannot read", file.Target(), ::GetLastError());
    }
    return static_cast<uint64_t>(size.QuadPart);
}

std::wstring ToolNameOf(const std::wstring& brand) {
    if (brand.empty()) {
        return std::wstring(kDefaultRepairToolName);
    }
    const Brand read = ReadBrand(brand, {.pictures = false, .icon = false});
    if (!read.configText) {
        throw OutsideFailure("cannot read", ConfigPathIn(brand), ERROR_FILE_NOT_FOUND);
    }
    return read.config.repairToolName;
}

}  // namespace

ExitCode RunPack(const PackArguments& arguments, Console& console) {
    RequireFolder(arguments.client);
    const std::wstring client = FullPath(arguments.client);
    const LeaveOut leaveOut{ToolNameOf(arguments.brand), arguments.excludes};
    Findings findings;
    const ClientListing listing = ListClient(client, leaveOut, findings);
    PackageFacts facts =
        CheckListing(listing, WideToUtf8(FileNamePart(arguments.package)), findings);
    if (IsRefused(findings, false)) {
        if (arguments.output.json) {
            PrintJsonResult(findings, facts, listing.leftOut, console);
        } else {
            PrintFindings(findings, console);
        }
        return ExitCode::Refused;
    }
    OutputFile package(arguments.package);
    {
        Progress progress(console, "Packing", facts.unpackedBytes.value_or(0));
        WritePackage(client, listing.entries, arguments.level.value_or(kDefaultPackLevel),
                     arguments.threads.value_or(std::max(1U, std::thread::hardware_concurrency())),
                     package, [&](uint64_t bytes) { progress.Add(bytes); });
    }
    // Through the file's own handle: another one would keep Ctrl+C from removing the file.
    facts.packedBytes = SizeOf(package);
    {
        Progress progress(console, "Computing the SHA-256", *facts.packedBytes);
        facts.sha256 = DigestOfOpenFile(package.Handle(), package.Target(),
                                        [&](uint64_t bytes) { progress.Add(bytes); });
    }
    facts.tempBytes = *facts.packedBytes + *facts.unpackedBytes;
    facts.movedBytes = 3 * *facts.tempBytes;
    CompletePackage(package, *facts.sha256,
                    arguments.brand.empty() ? L"" : ConfigPathIn(arguments.brand), console);
    if (arguments.output.json) {
        PrintJsonResult(findings, facts, listing.leftOut, console);
    } else {
        PrintResult(arguments, facts, listing.leftOut, console);
    }
    if (!arguments.brand.empty() && HoldsBrand(listing, client, arguments.brand)) {
        console.PrintError(
            {{"warning", Color::Warning},
             {": the brand is in the client folder and was packed with it; move it elsewhere, or "
              "leave it out with --exclude, then pack again"}});
    }
    return ExitCode::Done;
}
