#include "kit/zip/package_check.h"

#include <algorithm>
#include <future>
#include <limits>
#include <thread>

#include "common/files.h"
#include "common/paths.h"
#include "common/shell_api.h"
#include "common/text.h"
#include "extract/archive_extraction.h"
#include "kit/content_digest.h"
#include "kit/errors.h"
#include "kit/utf8.h"
#include "kit/zip/entry_check.h"
#include "kit/zip/entry_name.h"
#include "kit/zip/name_rules.h"
#include "kit/zip/zip_format.h"
#include "package/package_hash.h"

namespace {

constexpr char kMakeAgain[] =
    "Make the package again, with repair_kit pack or another ZIP program, and upload it again.";
constexpr size_t kLongestSafePath = 190;
constexpr size_t kDigestDigits = 64;

uint64_t SumOrMost(uint64_t left, uint64_t right) {
    constexpr uint64_t kMost = std::numeric_limits<uint64_t>::max();
    return left > kMost - right ? kMost : left + right;
}

// Starting a thread takes longer than to judge a small package.
std::launch LaunchFor(uint64_t bytes) {
    constexpr uint64_t kSmallBytes = 0x100000;
    return bytes < kSmallBytes ? std::launch::deferred : std::launch::async;
}

std::string_view DamageText(EntryDamage damage) {
    switch (damage) {
        case EntryDamage::None:
            break;
        case EntryDamage::NoHeader:
            return "The directory says where this entry begins, but it does not begin there.";
        case EntryDamage::LeavesFile:
            return "The entry leaves the part of the file that entries can be in.";
        case EntryDamage::Overlaps:
            return "The entry shares bytes with another entry or with the directory.";
        case EntryDamage::OtherName:
            return "The entry's own header has another name than the directory.";
        case EntryDamage::OtherMethod:
            return "The entry's own header says another packing method than the directory.";
        case EntryDamage::OtherFlags:
            return "The entry's own header has other flags than the directory.";
        case EntryDamage::OtherSizes:
            return "The entry's own header has another size or checksum than the directory.";
        case EntryDamage::OtherDescriptor:
            return "The record behind the entry's data has another size or checksum than the "
                   "directory.";
        case EntryDamage::BadData:
            return "The entry's data is damaged and cannot be unpacked.";
        case EntryDamage::WrongSize:
            return "The entry's data does not have the size that the directory says.";
        case EntryDamage::WrongChecksum:
            return "The entry's data does not have the checksum that the directory says.";
        case EntryDamage::OtherDisk:
            return "The entry is on another disk of an archive on several disks.";
    }
    return {};
}

// One package while it is judged.
class PackageCheck {
public:
    PackageCheck(const std::wstring& path, const ToolConfig& config, Findings& findings,
                 PackageFacts& facts)
        : path_(path),
          name_(WideToUtf8(FileNamePart(path))),
          config_(config),
          findings_(findings),
          facts_(facts) {}

    void Run(Console& console) {
        const RandomAccessFile file(path_);
        facts_.packedBytes = file.Size();
        const PackageSignature kind = SniffPackageSignature(path_);
        auto digest = std::async(LaunchFor(file.Size()), [this] { return DigestOfFile(path_); });
        switch (kind) {
            case PackageSignature::Zip:
                facts_.kind = "zip";
                CheckZip(file, console);
                break;
            case PackageSignature::Rar:
                facts_.kind = "rar";
                Add("package.rar",
                    "RAR packages need WinRAR, UnRAR or 7-Zip on the player's machine. What is in "
                    "it is not checked.",
                    "Make a ZIP package, which Windows unpacks by itself.");
                break;
            case PackageSignature::Unknown:
                Add("package.kind",
                    "The file begins like neither a ZIP nor a RAR archive; the tool refuses it.",
                    "Give the package itself, not an installer, a page or a 7z archive.");
                break;
        }
        CheckType(kind);
        CheckDigest(digest.get());
    }

private:
    void Add(RuleName rule, std::string message, std::string hint) {
        findings_.Add(rule, PackageFile(name_), std::move(message), std::move(hint));
    }

    void CheckType(PackageSignature kind) {
        const std::wstring type = LowerCase(TrimWhitespace(config_.archiveType));
        const bool differs = (kind == PackageSignature::Zip && type == L"rar") ||
                             (kind == PackageSignature::Rar && type == L"zip");
        if (differs) {
            Add("package.type",
                "archiveType says " + WideToUtf8(type) + ", and the package is a " +
                    facts_.kind.value_or("") + " archive.",
                "Set archiveType=" + facts_.kind.value_or("") + " in config.txt.");
        }
    }

    void CheckDigest(const std::string& digest) {
        facts_.sha256 = digest;
        const std::wstring configured = NormalizeHexDigest(config_.archiveSha256);
        if (configured.size() == kDigestDigits && WideToUtf8(configured) != digest) {
            Add("package.digest",
                "archiveSha256 belongs to another file: the SHA-256 of this one is " + digest + ".",
                "Set archiveSha256=" + digest + " in config.txt if this is the file to ship.");
        }
    }

    void CheckZip(const RandomAccessFile& file, Console& console) {
        directory_ = ReadZipDirectory(file);
        if (!directory_.problem.empty()) {
            Add("package.damaged", directory_.problem, kMakeAgain);
            return;
        }
        // The names need no data, so they are judged meanwhile.
        auto names = std::async(LaunchFor(file.Size()), [this] { CheckNames(); });
        StrayBytes stray;
        {
            Progress progress(console, "Checking " + name_, file.Size());
            stray =
                CheckEntries(file, directory_, std::max(1U, std::thread::hardware_concurrency()),
                             [&](uint64_t bytes) { progress.Add(bytes); });
        }
        names.get();
        ReportStrayBytes(stray);
        CheckEachEntry();
        SetFacts();
    }

    void ReportStrayBytes(const StrayBytes& stray) {
        if (directory_.bytesBehindArchive > 0) {
            Add("package.extra-bytes",
                std::to_string(directory_.bytesBehindArchive) +
                    " bytes behind the archive belong to nothing.",
                kMakeAgain);
        }
        const uint64_t places = stray.plain.places + stray.unlisted.places;
        if (places > 0) {
            const uint64_t first = std::min(stray.plain.firstOffset, stray.unlisted.firstOffset);
            const std::string unlisted =
                stray.unlisted.places > 0
                    ? " Some of it is entries that the directory does not list."
                    : "";
            Add("package.extra-bytes",
                std::to_string(stray.plain.bytes + stray.unlisted.bytes) +
                    " bytes before the directory, in " + std::to_string(places) +
                    " places, belong to no entry; the first at offset " + std::to_string(first) +
                    "." + unlisted,
                kMakeAgain);
        }
    }

    void CheckEachEntry() {
        for (const ZipEntry& entry : directory_.entries) {
            CheckEncryption(entry);
            if (entry.damage != EntryDamage::None) {
                findings_.AddAtEntry("package.damaged", entry.name, [&] {
                    return FindingText{std::string(DamageText(entry.damage)), kMakeAgain};
                });
            }
            CheckAttributes(entry);
        }
    }

    void CheckEncryption(const ZipEntry& entry) {
        constexpr uint16_t kAnyEncryption =
            kEncryptedFlag | kStrongEncryptionFlag | kMaskedHeaderFlag;
        if ((entry.flags & kAnyEncryption) != 0 || entry.method == kAesMethod) {
            findings_.AddAtEntry("package.encrypted", entry.name, [] {
                return FindingText{
                    "The entry is encrypted, and players are not asked for a password.",
                    "Make the package without a password."};
            });
        } else if (entry.method != kStoredMethod && entry.method != kDeflateMethod) {
            findings_.AddAtEntry("package.method", entry.name, [&] {
                return FindingText{"The entry is packed with method " +
                                       std::to_string(entry.method) +
                                       ", which Windows cannot unpack everywhere.",
                                   "Make the package with the method Deflate."};
            });
        }
    }

    void CheckAttributes(const ZipEntry& entry) {
        constexpr uint32_t kTypeMask = 0170000;
        constexpr uint32_t kRegularType = 0100000;
        constexpr uint32_t kFolderType = 0040000;
        constexpr uint32_t kOwnerWrites = 0200;
        const bool hasMode = entry.host == kUnixHost || entry.host == kMacHost;
        const uint32_t mode = hasMode ? entry.externalAttributes >> 16 : 0;
        const uint32_t type = mode & kTypeMask;
        if (type != 0 && type != kRegularType && type != kFolderType) {
            findings_.AddAtEntry("package.link", entry.name, [] {
                return FindingText{"This is a symbolic link, a device or another special file.",
                                   "Replace it by the file or folder itself, or leave it out."};
            });
            return;
        }
        if ((entry.externalAttributes & (kReadOnlyAttribute | kHiddenAttribute)) != 0 ||
            (mode != 0 && (mode & kOwnerWrites) == 0)) {
            findings_.AddAtEntry("package.read-only", entry.name, [] {
                return FindingText{
                    "It becomes read-only or hidden on the player's machine, and the next update "
                    "or repair may fail to replace it.",
                    "Clear that attribute and make the package again."};
            });
        }
    }

    [[nodiscard]] bool HasReadableName(const ZipEntry& entry) {
        if (IsAscii(entry.name)) {
            return true;
        }
        const bool hasFlag = (entry.flags & kUtf8Flag) != 0;
        if (hasFlag && IsValidUtf8(entry.name)) {
            return true;
        }
        findings_.AddAtEntry("package.name-encoding", entry.name, [&] {
            return FindingText{
                hasFlag ? "The name says that it is UTF-8, and is not."
                        : "The name has letters beyond ASCII without the mark for UTF-8, so it "
                          "depends on the player's system what it becomes.",
                "Make the package with a program that writes UTF-8 names, such as repair_kit "
                "pack."};
        });
        return false;
    }

    void CheckNames() {
        PackagePaths paths;
        paths.Reserve(directory_.entries.size());
        const ZipEntry* longest = nullptr;
        size_t longestCharacters = 0;
        for (size_t i = 0; i < directory_.entries.size(); ++i) {
            const ZipEntry& entry = directory_.entries[i];
            if (!HasReadableName(entry)) {
                static_cast<void>(CheckBytesOfName(entry.name, findings_));  // Not to be added.
                continue;
            }
            CheckName(entry.name, i, paths, findings_);
            CheckPlayerFile(entry);
            const size_t characters = Utf16Length(entry.name) - (entry.IsFolder() ? 1 : 0);
            if (longest == nullptr || characters > longestCharacters ||
                (characters == longestCharacters && entry.name < longest->name)) {
                longest = &entry;
                longestCharacters = characters;
            }
        }
        paths.Sort();
        const auto nameOf = [this](size_t i) {
            return directory_.entries[i].name;
        };
        CheckNamesTogether(paths, nameOf, findings_);
        CheckTopLevel(paths);
        CheckStartup(paths);
        facts_.folders = paths.FolderCount();
        if (longest != nullptr) {
            facts_.longestPath = longest->name;
        }
        if (longestCharacters > kLongestSafePath) {
            findings_.Add("package.long-path", PackageEntry(longest->name),
                          "This path has " + std::to_string(longestCharacters) +
                              " characters, and the folder that the game is in comes before it. "
                              "Programs without support for long paths fail at 260.",
                          "Shorten the names of its folders.");
        }
    }

    void CheckPlayerFile(const ZipEntry& entry) {
        if (entry.IsFolder()) {
            return;
        }
        const std::string_view kind = PlayerFileKind(entry.name);
        if (!kind.empty()) {
            findings_.AddAtEntry("package.player-files", entry.name, [&] {
                return FindingText{"By its name this holds " + std::string(kind) +
                                       " of a player, which every repair replaces.",
                                   "Leave it out unless every player is to get this one."};
            });
        }
    }

    void CheckTopLevel(const PackagePaths& paths) {
        paths.ForEachTopName([&](size_t i) {
            const std::string_view name = directory_.entries[i].name;
            const std::string_view top = FirstComponent(name);
            if (!IsAscii(top)) {
                findings_.AddAtEntry("package.non-ascii", name, [&] {
                    return FindingText{"The top-level name " + std::string(top) +
                                           " has letters beyond ASCII, which some unpackers "
                                           "garble.",
                                       "Use only ASCII letters in names at the top level."};
                });
            }
        });
        if (const auto entry = paths.FindFile(WideToUtf8(config_.repairToolName))) {
            findings_.Add("package.holds-tool", PackageEntry(directory_.entries[*entry].name),
                          "The tool itself is in the package. It leaves its own file alone during "
                          "a repair, so players keep an old one.",
                          "Leave it out; repair_kit pack --brand does.");
        }
        if (const auto entry = paths.FindFile("Uninstall.exe")) {
            findings_.Add("package.holds-uninstaller",
                          PackageEntry(directory_.entries[*entry].name),
                          "The tool writes its own Uninstall.exe over this file.",
                          "Leave it out; repair_kit pack does.");
        }
    }

    void CheckStartup(const PackagePaths& paths) {
        const std::wstring& startup = config_.startupExe;
        if (startup.empty() || !::PathIsRelativeW(startup.c_str())) {
            return;
        }
        const std::optional<std::string> path = PathInClient(startup);
        // One that leads out of the client is another rule's.
        if (path && !paths.FindFile(*path)) {
            Add("package.no-startup",
                "The startupExe " + WideToUtf8(startup) + " is not in the package.",
                "Correct startupExe in config.txt, or pack the folder that the program is in.");
        }
    }

    // The relative path with slashes, as the system resolves it. None when it leads outside.
    [[nodiscard]] static std::optional<std::string> PathInClient(const std::wstring& relative) {
        std::string text = WideToUtf8(relative);
        std::replace(text.begin(), text.end(), '\\', '/');
        std::string path;
        for (std::string_view rest = text; !rest.empty(); rest = AfterFirstComponent(rest)) {
            const std::string_view component = FirstComponent(rest);
            if (component == "..") {
                if (path.empty()) {
                    return std::nullopt;
                }
                const size_t slash = path.rfind('/');
                path.resize(slash == std::string::npos ? 0 : slash);
            } else if (!component.empty() && component != ".") {
                path += (path.empty() ? "" : "/") + std::string(component);
            }
        }
        return path;
    }

    void SetFacts() {
        uint64_t files = 0;
        uint64_t unpacked = 0;
        const ZipEntry* largest = nullptr;
        for (const ZipEntry& entry : directory_.entries) {
            unpacked = SumOrMost(unpacked, entry.unpackedBytes);
            if (entry.IsFolder()) {
                continue;
            }
            ++files;
            if (largest == nullptr || entry.unpackedBytes > largest->unpackedBytes ||
                (entry.unpackedBytes == largest->unpackedBytes && entry.name < largest->name)) {
                largest = &entry;
            }
        }
        CheckFileCount(files, name_, findings_);
        if (largest != nullptr) {
            facts_.largestFile = largest->name;
        }
        facts_.files = files;
        facts_.unpackedBytes = unpacked;
        facts_.tempBytes = SumOrMost(facts_.packedBytes.value_or(0), unpacked);
        facts_.movedBytes =
            SumOrMost(SumOrMost(*facts_.tempBytes, *facts_.tempBytes), *facts_.tempBytes);
    }

    const std::wstring& path_;
    const std::string name_;
    const ToolConfig& config_;
    Findings& findings_;
    PackageFacts& facts_;
    ZipDirectory directory_;
};

}  // namespace

void CheckPackage(const std::wstring& path, const ToolConfig& config, Findings& findings,
                  PackageFacts& facts, Console& console) {
    switch (KindOf(path)) {
        case EntryKind::Missing:
            throw OutsideFailure("cannot read the package", path, ERROR_FILE_NOT_FOUND);
        case EntryKind::Folder:
            throw OutsideFailure("cannot read the package " + WideToUtf8(path) +
                                     ", which is a folder; give the package file",
                                 ERROR_ACCESS_DENIED);
        case EntryKind::RegularFile:
        case EntryKind::Unreadable:
            break;
    }
    PackageCheck(path, config, findings, facts).Run(console);
}
